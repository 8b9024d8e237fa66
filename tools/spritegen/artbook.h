#pragma once

#include <QColor>
#include <QHash>
#include <QImage>
#include <QList>
#include <QString>
#include <QStringList>

#include <array>
#include <optional>

/// Yuzuha's artwork as text: materials (a colour with its dark and light shades), named slots that point at
/// materials, and layers of simple shapes (rects, ovals, polygons, lines, dots, pixel grids) that are drawn in a
/// fixed slot order onto the 47 × 125 art grid. Each shape may be limited to some tiers (the day's wear), mirrored
/// about the centre column, outlined in ink and shaded with light from the upper left.
namespace Art
{
inline constexpr int gridWidth = 47;
inline constexpr int gridHeight = 125;
inline constexpr int scale = 4;
inline constexpr int spriteWidth = gridWidth * scale; // 188
inline constexpr int spriteHeight = gridHeight * scale; // 500
inline constexpr int tierCount = 7;

/// Layers are drawn in this order; a file may add to any of them.
const QStringList &slotOrder();

struct Book;

/// Reads every "*.art" file of `folder` (sorted) and the one of `outfit` from its "outfits" subfolder.
/// On a syntax error, returns nothing and puts "file:line: reason" into `error`.
std::optional<Book> load(const QString &folder, const QString &outfit, QString *error);
/// Reads exactly `files`, in order (for pictures that are not her full figure, such as the icons).
std::optional<Book> loadFiles(const QStringList &files, QString *error);

/// The art grid of one tier, unscaled (47 × 125, ARGB32, every pixel opaque or clear); null when a shape
/// names a colour the book does not define, with the reason in `error`.
QImage render(const Book &book, int tier, QString *error = nullptr);
/// The sprite: the art grid scaled ×4 without smoothing (188 × 500), so her medium size on a 1× screen (250 px)
/// and on a 2× one (500 px) shows every art pixel as a whole block of screen pixels.
QImage sprite(const QImage &grid);

struct Shape;
struct Layer {
    QString slot;
    bool head = false;
    bool fixed = false; // kept out of her figure's bend (see Book::figure)
    quint32 tiers = 0x7f;
    QList<Shape> shapes;
};

struct Book {
    QHash<QString, std::array<QColor, 3>> materials; // base, dark, light
    /// Slot → (tiers, material); an alias limited to some tiers beats one for all tiers, later beats earlier.
    QHash<QString, QList<QPair<quint32, QString>>> aliases;
    QList<Layer> layers;
    /// The art grid ("canvas W H"); her figure's unless a picture of another size says otherwise.
    QSize size { gridWidth, gridHeight };
    std::array<QPoint, tierCount> headShift {};
    /// Per tier: the head leans (columns per row) above a pivot row, the neck, to read as tilted.
    std::array<QPair<double, int>, tierCount> headTilt {};
    /// Per tier: her upper body leans the same way above a pivot row at the hips (head, arms and what she holds
    /// go with it; legs and fixed layers stay), so a tired day shows in her posture.
    std::array<QPair<double, int>, tierCount> slouch {};
    /// Per tier: (row, rows) her knees give: that many rows near `row` are dropped and all above sinks by `rows`,
    /// so she stands lower as the day wears on while her feet stay on the ground.
    std::array<QPair<int, int>, tierCount> sag {};
    /// Dark materials and the light colour that lines them just inside her outline where she meets the desktop.
    QList<QPair<QString, QColor>> rims;
    /// Her figure as (row, horizontal scale about the centre column) stations, linear in between: the torso,
    /// legs and clothes are drawn straight and bent here into shoulders, waist, hips, thighs and calves, so every
    /// outfit follows one body. Empty means no bend. Head layers, her arms and what she holds are not bent.
    QList<QPair<double, double>> figure;
};

/// The horizontal scale of `book`'s figure at `row` (1 without stations).
double figureScale(const Book &book, double row);

struct Primitive {
    enum Kind { Rect, Oval, Poly, Line, Dots, Grid } kind = Rect;
    QList<double> numbers;
    QStringList rows; // grid rows, one character per pixel
    int x = 0, y = 0;
    bool mirror = false; // "m" on a line inside { }: this part only is mirrored
};

struct Shape {
    QString colour; // material, material.d / .l, #rrggbb, "_" for clear
    QList<Primitive> parts;
    quint32 tiers = 0x7f;
    bool mirror = false;
    bool outline = false;
    QString outlineColour;
    int shade = 0; // 0 none, 1 dark edge, 2 dark and light edges
    QPoint offset;
    QHash<QChar, QString> key; // grid characters
};
} // namespace Art

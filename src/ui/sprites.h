#pragma once

#include "preferences.h"

#include <QDate>
#include <QHash>
#include <QIcon>
#include <QImage>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

/// Her art is drawn on a grid 47 pixels wide and 125 high, stored blown up by a whole factor; the panel and the
/// scaled bitmaps are sized from this ratio, and medium (250 px) shows every art pixel as a 2 × 2 block.
inline constexpr int spriteArtColumns = 47;
inline constexpr int spriteArtRows = 125;
inline constexpr double spriteAspect = double(spriteArtColumns) / spriteArtRows;

/// The character's pixel-art images: the file for an outfit and tier, scaled to the height the stage draws at.
/// Static operations over two process-wide caches (main thread only); failures are never cached.
class Sprites
{
public:
    Sprites() = delete;

    /// round(pixelHeight × spriteAspect), halves away from zero.
    static int widthFor(int pixelHeight);
    /// `full` at exactly `size`, kept sharp: back to its art grid, blown up to the next whole multiple without
    /// smoothing, then reduced smoothly to `size` (untouched at a whole multiple), premultiplied.
    static QImage sharpScaled(const QImage &full, QSize size);

    /// The full-size image of a tier (0–6) for an outfit (the chosen one when none is given), or a null image.
    static QImage original(int tier, std::optional<Preferences::Outfit> outfit = std::nullopt);
    /// The sprite of the chosen outfit scaled to exactly widthFor(pixelHeight) × pixelHeight, or a null image.
    static QImage image(int tier, int pixelHeight);
    /// The tray icon, read anew each time; null when the file is missing or unreadable.
    static QIcon menuBar();

    /// One pair of caches over one resource root. The program uses a single store over the compiled-in
    /// resources; tests build their own over a folder and a fixed day.
    class Store
    {
    public:
        /// `root` holds the "Sprites" folder (":/" for the compiled-in resources). `outfit` gives the chosen
        /// outfit and `today` the day that resolves the seasonal one.
        Store(QString root, std::function<Preferences::Outfit()> outfit, std::function<QDate()> today);

        QImage original(int tier, std::optional<Preferences::Outfit> outfit = std::nullopt);
        QImage image(int tier, int pixelHeight);
        /// The tray icon's pixels, 36 × 36 for an 18-point icon; null when missing.
        QImage menuBarImage() const;

        /// Cache keys, sorted, such as "Sprites/office/t3" and "Sprites/office/3@502".
        QStringList originalKeys() const;
        QStringList scaledKeys() const;

    private:
        QString folder(Preferences::Outfit resolved) const;

        QString m_root;
        std::function<Preferences::Outfit()> m_outfit;
        std::function<QDate()> m_today;
        QHash<QString, QImage> m_originals;
        QHash<QString, QImage> m_scaled;
    };

    /// The program's store: compiled-in resources, the shared preferences and the calendar.
    static Store &shared();
};

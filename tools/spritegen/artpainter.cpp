#include "artbook.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <vector>

using namespace Qt::StringLiterals;

// Drawing a Book onto the art grid; reading its text source is artparser.cpp's.
namespace Art
{
namespace
{
struct Mask {
    int width = 0, height = 0;
    std::vector<char> bits = std::vector<char>(size_t(width * height), 0);

    bool inside(int x, int y) const { return x >= 0 && y >= 0 && x < width && y < height; }
};

void set(Mask &m, int x, int y)
{
    if (m.inside(x, y))
        m.bits[size_t(y * m.width + x)] = 1;
}

bool has(const Mask &m, int x, int y)
{
    return m.inside(x, y) && m.bits[size_t(y * m.width + x)];
}

double segmentDistance(double px, double py, double ax, double ay, double bx, double by)
{
    const double dx = bx - ax, dy = by - ay;
    const double len = dx * dx + dy * dy;
    double t = len > 0 ? ((px - ax) * dx + (py - ay) * dy) / len : 0;
    t = std::clamp(t, 0.0, 1.0);
    const double qx = ax + t * dx - px, qy = ay + t * dy - py;
    return std::sqrt(qx * qx + qy * qy);
}

// Her figure bends columns toward or away from the centre, row by row, and a tilted head leans its rows over
// by whole pixels above the neck. Areas are sampled through the inverse (`unbend`), so outlines stay one pixel
// wide; lines and dots are moved pixel by pixel (`bendPixel`).
struct Bend {
    const Book *book = nullptr; // null: straight
    int centre = 0;
    double tilt = 0; // columns per row above `pivot`, to the right when positive
    int pivot = 0;
    QPair<double, int> slouch {}; // the same for her whole upper body above the hips

    int lean(int y) const
    {
        const auto over = [y](double slope, int from) { return y < from ? int(std::round((from - y) * slope)) : 0; };
        return over(tilt, pivot) + over(slouch.first, slouch.second);
    }
    bool symmetric() const { return tilt == 0 && slouch.first == 0; }
    double unbend(int x, int y) const
    {
        const double straight = x - lean(y);
        return book ? centre + (straight - centre) / figureScale(*book, y) : straight;
    }
    QPoint bendPixel(int x, int y) const
    {
        const int bent = book ? centre + int(std::round((x - centre) * figureScale(*book, y))) : x;
        return { bent + lean(y), y };
    }
};

void plotLine(QPoint a, QPoint b, Mask &mask, const std::function<void(int, int)> &plot)
{
    int x0 = a.x(), y0 = a.y();
    const int dx = std::abs(b.x() - x0), sx = x0 < b.x() ? 1 : -1;
    const int dy = -std::abs(b.y() - y0), sy = y0 < b.y() ? 1 : -1;
    int err = dx + dy;
    while (true) {
        if (plot)
            plot(x0, y0);
        else
            set(mask, x0, y0);
        if (x0 == b.x() && y0 == b.y())
            break;
        const int e2 = 2 * err;
        if (e2 >= dy) {
            err += dy;
            x0 += sx;
        }
        if (e2 <= dx) {
            err += dx;
            y0 += sy;
        }
    }
}

// Rasterises one primitive; `flip` mirrors it about the centre column, `bend` fits it to her figure.
void rasterise(const Primitive &p, bool flip, QPoint offset, const Bend &bend, Mask &mask)
{
    const int gridWidth = mask.width, gridHeight = mask.height;
    const auto X = [&](double x) { return (flip ? (gridWidth - 1) - x : x) + offset.x(); };
    const auto Y = [&](double y) { return y + offset.y(); };
    const QList<double> &n = p.numbers;
    switch (p.kind) {
    case Primitive::Rect: {
        const double x0 = std::min(X(n[0]), X(n[2])), x1 = std::max(X(n[0]), X(n[2]));
        const int y0 = int(std::min(Y(n[1]), Y(n[3]))), y1 = int(std::max(Y(n[1]), Y(n[3])));
        for (int y = y0; y <= y1; ++y)
            for (int x = 0; x < gridWidth; ++x) {
                const double u = bend.unbend(x, y);
                if (u >= int(x0) - 0.5 && u <= int(x1) + 0.5)
                    set(mask, x, y);
            }
        break;
    }
    case Primitive::Oval: {
        const double cx = X(n[0]), cy = Y(n[1]), rx = n[2] + 0.5, ry = n[3] + 0.5;
        for (int y = int(std::floor(cy - ry)); y <= int(std::ceil(cy + ry)); ++y)
            for (int x = 0; x < gridWidth; ++x) {
                const double u = (bend.unbend(x, y) - cx) / rx, v = (y - cy) / ry;
                if (u * u + v * v <= 1.0)
                    set(mask, x, y);
            }
        break;
    }
    case Primitive::Poly: {
        const qsizetype count = n.size() / 2;
        double left = gridWidth, right = 0, top = gridHeight, bottom = 0;
        for (qsizetype i = 0; i < count; ++i) {
            left = std::min(left, X(n[2 * i]));
            right = std::max(right, X(n[2 * i]));
            top = std::min(top, Y(n[2 * i + 1]));
            bottom = std::max(bottom, Y(n[2 * i + 1]));
        }
        for (int y = std::max(0, int(top) - 1); y <= std::min(gridHeight - 1, int(bottom) + 1); ++y)
            for (int column = 0; column < gridWidth; ++column) {
                const double x = bend.unbend(column, y);
                if (x < int(left) - 1 || x > int(right) + 1)
                    continue;
                bool inside = false;
                bool onEdge = false;
                for (qsizetype i = 0, j = count - 1; i < count; j = i++) {
                    const double xi = X(n[2 * i]), yi = Y(n[2 * i + 1]), xj = X(n[2 * j]), yj = Y(n[2 * j + 1]);
                    if ((yi > y) != (yj > y) && x < (xj - xi) * (y - yi) / (yj - yi) + xi)
                        inside = !inside;
                    if (segmentDistance(x, y, xi, yi, xj, yj) <= 0.5)
                        onEdge = true;
                }
                if (inside || onEdge)
                    set(mask, column, y);
            }
        break;
    }
    case Primitive::Line:
    case Primitive::Dots: {
        if (p.kind == Primitive::Dots) {
            for (qsizetype i = 0; i + 1 < n.size(); i += 2) {
                const QPoint at = bend.bendPixel(int(X(n[i])), int(Y(n[i + 1])));
                set(mask, at.x(), at.y());
            }
            break;
        }
        // The straight line's pixels, each moved onto the figure and joined up again so no gap opens.
        std::optional<QPoint> previous;
        plotLine(QPoint(int(X(n[0])), int(Y(n[1]))), QPoint(int(X(n[2])), int(Y(n[3]))), mask, [&](int x, int y) {
            const QPoint at = bend.bendPixel(x, y);
            if (previous)
                plotLine(*previous, at, mask, {});
            else
                set(mask, at.x(), at.y());
            previous = at;
        });
        break;
    }
    case Primitive::Grid:
        break;
    }
}

struct Painter {
    const Book &book;
    QImage &canvas;
    int tier = 0;

    std::optional<QString> alias(const QString &name) const
    {
        const auto found = book.aliases.constFind(name);
        if (found == book.aliases.cend())
            return std::nullopt;
        std::optional<QString> general, specific;
        for (const auto &[bits, target] : *found) {
            if (!(bits & (1u << tier)))
                continue;
            (bits == 0x7f ? general : specific) = target;
        }
        return specific ? specific : general;
    }

    std::optional<QColor> colour(const QString &token) const
    {
        if (token == u"_")
            return QColor(Qt::transparent);
        if (token.startsWith(u'='))
            return QColor(u'#' + token.mid(1));
        QString name = token;
        int shade = 0;
        if (name.endsWith(u".d")) {
            shade = 1;
            name.chop(2);
        } else if (name.endsWith(u".l")) {
            shade = 2;
            name.chop(2);
        }
        for (int hops = 0; hops < 8; ++hops) {
            const auto next = alias(name);
            if (!next)
                break;
            name = *next;
        }
        const auto found = book.materials.constFind(name);
        if (found == book.materials.cend())
            return std::nullopt;
        return (*found)[size_t(shade)];
    }

    void put(int x, int y, const QColor &c)
    {
        if (canvas.rect().contains(x, y))
            canvas.setPixelColor(x, y, c);
    }

    bool draw(const Shape &shape, QPoint offset, const Bend &bend, QString *error)
    {
        const QPoint at = offset + shape.offset;
        if (!shape.parts.isEmpty() && shape.parts.first().kind == Primitive::Grid) {
            const Primitive &g = shape.parts.first();
            // A grid is a drawn badge or glyph: it moves with the figure as a whole and keeps its pixels.
            const int anchorX = g.x + at.x(), anchorY = g.y + at.y();
            const int drift = bend.bendPixel(anchorX, anchorY).x() - anchorX;
            for (int pass = 0; pass < (shape.mirror ? 2 : 1); ++pass)
                for (qsizetype r = 0; r < g.rows.size(); ++r)
                    for (qsizetype c = 0; c < g.rows[r].size(); ++c) {
                        const QChar ch = g.rows[r][c];
                        if (ch == u'.')
                            continue;
                        const auto col = colour(shape.key.value(ch));
                        if (!col) {
                            *error = u"no colour for grid character "_s + ch;
                            return false;
                        }
                        const int x = g.x + int(c);
                        put((pass ? (canvas.width() - 1) - x - drift : x + drift) + at.x(), g.y + int(r) + at.y(), *col);
                    }
            return true;
        }

        const auto base = colour(shape.colour);
        const auto dark = colour(shape.colour.contains(u'.') ? shape.colour : shape.colour + u".d"_s);
        const auto light = colour(shape.colour.contains(u'.') ? shape.colour : shape.colour + u".l"_s);
        const auto ink = colour(shape.outlineColour.isEmpty() ? u"K"_s : shape.outlineColour);
        if (!base || !dark || !light || !ink) {
            *error = u"unknown colour "_s + shape.colour + u' ' + shape.outlineColour;
            return false;
        }
        const int gridWidth = canvas.width(), gridHeight = canvas.height();
        Mask mask { gridWidth, gridHeight };
        for (const Primitive &p : shape.parts) {
            if (!(shape.mirror || p.mirror)) {
                rasterise(p, false, at, bend, mask);
            } else if (bend.book && bend.symmetric() && at.x() == 0) {
                // Bent sampling is floating point: mirror the drawn pixels so both sides match exactly.
                Mask half { gridWidth, gridHeight };
                rasterise(p, false, at, bend, half);
                for (int y = 0; y < gridHeight; ++y)
                    for (int x = 0; x < gridWidth; ++x)
                        if (has(half, x, y)) {
                            set(mask, x, y);
                            set(mask, (gridWidth - 1) - x, y);
                        }
            } else {
                rasterise(p, false, at, bend, mask);
                rasterise(p, true, at, bend, mask);
            }
        }
        const int e = shape.outline ? 1 : 0;
        for (int y = 0; y < gridHeight; ++y)
            for (int x = 0; x < gridWidth; ++x) {
                if (!has(mask, x, y))
                    continue;
                const bool edge = !has(mask, x - 1, y) || !has(mask, x + 1, y) || !has(mask, x, y - 1) || !has(mask, x, y + 1);
                if (shape.outline && edge) {
                    put(x, y, *ink);
                } else if (shape.shade >= 1 && (!has(mask, x + 1 + e, y) || !has(mask, x, y + 1 + e))) {
                    put(x, y, *dark);
                } else if (shape.shade >= 2 && (!has(mask, x - 1 - e, y) || !has(mask, x, y - 1 - e))) {
                    put(x, y, *light);
                } else {
                    put(x, y, *base);
                }
            }
        return true;
    }
};
} // namespace

double figureScale(const Book &book, double row)
{
    const auto &f = book.figure;
    if (f.isEmpty())
        return 1.0;
    if (row <= f.first().first)
        return f.first().second;
    for (qsizetype i = 1; i < f.size(); ++i)
        if (row <= f[i].first) {
            const double t = (row - f[i - 1].first) / (f[i].first - f[i - 1].first);
            return f[i - 1].second + t * (f[i].second - f[i - 1].second);
        }
    return f.last().second;
}

namespace
{
// Her arms are drawn in place for each pose, and what she holds goes with her hands; the head keeps its shape.
bool followsFigure(const Layer &layer)
{
    static const QStringList free { u"arms"_s, u"sleeves"_s, u"hands"_s, u"held"_s, u"carried"_s, u"props"_s };
    return !layer.head && !layer.fixed && !free.contains(layer.slot);
}
} // namespace

namespace
{
// Dark materials named by "rim" get a light line just inside her ink outline, where it meets the desktop, so
// she keeps her shape on a dark wallpaper and her ink on a light one.
void rim(const Book &book, QImage &canvas)
{
    if (book.rims.isEmpty())
        return;
    const int w = canvas.width(), h = canvas.height();
    std::vector<char> outside(size_t(w * h), 0);
    std::vector<QPoint> todo;
    for (int x = 0; x < w; ++x)
        todo.insert(todo.end(), { QPoint(x, 0), QPoint(x, h - 1) });
    for (int y = 0; y < h; ++y)
        todo.insert(todo.end(), { QPoint(0, y), QPoint(w - 1, y) });
    while (!todo.empty()) {
        const QPoint p = todo.back();
        todo.pop_back();
        if (!canvas.rect().contains(p) || outside[size_t(p.y() * w + p.x())] || qAlpha(canvas.pixel(p)))
            continue;
        outside[size_t(p.y() * w + p.x())] = 1;
        todo.insert(todo.end(), { p + QPoint(1, 0), p - QPoint(1, 0), p + QPoint(0, 1), p - QPoint(0, 1) });
    }
    const auto isOutside = [&](QPoint p) { return !canvas.rect().contains(p) || outside[size_t(p.y() * w + p.x())]; };
    const QList<QPoint> steps { { 1, 0 }, { -1, 0 }, { 0, 1 }, { 0, -1 } };
    QHash<QRgb, QRgb> recolour;
    for (const auto &[name, colour] : book.rims)
        for (const QColor &shade : book.materials.value(name))
            recolour.insert(shade.rgba(), colour.rgba());
    const QImage drawn = canvas.copy();
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const QPoint p(x, y);
            const QRgb here = drawn.pixel(p);
            if (!recolour.contains(here) || std::any_of(steps.begin(), steps.end(), [&](QPoint d) { return isOutside(p + d); }))
                continue;
            // One step in from the outline pixel that borders the desktop.
            const bool behindOutline = std::any_of(steps.begin(), steps.end(),
                [&](QPoint d) { return !isOutside(p + d) && std::any_of(steps.begin(), steps.end(), [&](QPoint e) { return isOutside(p + d + e); }); });
            if (behindOutline)
                canvas.setPixel(p, recolour.value(here));
        }
}
} // namespace

namespace
{
// Her knees give by `rows` rows near `row`: rows that only repeat the one above are dropped first, nearest
// first, so no hem, stripe or boot top across her legs is lost; everything above sinks into their place.
void sag(QImage &canvas, int row, int rows)
{
    const auto repeats = [&](int y) {
        return y > 0 && y < canvas.height() && std::memcmp(canvas.constScanLine(y), canvas.constScanLine(y - 1), size_t(canvas.bytesPerLine())) == 0;
    };
    constexpr int reach = 12;
    QList<int> dropped;
    for (bool any : { false, true })
        for (int d = 0; d <= reach && dropped.size() < rows; ++d)
            for (int y : { row + d, row - d })
                if (dropped.size() < rows && y > 0 && y < canvas.height() && !dropped.contains(y) && (any || repeats(y)))
                    dropped.append(y);
    const QImage drawn = canvas.copy();
    canvas.fill(Qt::transparent);
    for (int from = drawn.height() - 1, to = from; from >= 0; --from)
        if (!dropped.contains(from))
            std::memcpy(canvas.scanLine(to--), drawn.constScanLine(from), size_t(drawn.bytesPerLine()));
}
} // namespace

QImage render(const Book &book, int tier, QString *error)
{
    QImage canvas(book.size, QImage::Format_ARGB32);
    canvas.fill(Qt::transparent);
    Painter painter { book, canvas, tier };
    for (const QString &slot : slotOrder()) {
        for (const Layer &layer : book.layers) {
            if (layer.slot != slot || !(layer.tiers & (1u << tier)))
                continue;
            const QPoint offset = layer.head ? book.headShift[size_t(tier)] : QPoint();
            const int centre = (book.size.width() - 1) / 2;
            const auto slouch = layer.fixed ? QPair<double, int>() : book.slouch[size_t(tier)];
            const Bend bend = layer.head ? Bend { nullptr, centre, book.headTilt[size_t(tier)].first, book.headTilt[size_t(tier)].second + offset.y(), slouch }
                                         : Bend { followsFigure(layer) ? &book : nullptr, centre, 0, 0, slouch };
            for (const Shape &shape : layer.shapes) {
                if (!(shape.tiers & (1u << tier)))
                    continue;
                QString why;
                if (!painter.draw(shape, offset, bend, &why)) {
                    if (error)
                        *error = why + u" (layer "_s + slot + u')';
                    return {};
                }
            }
        }
    }
    if (const auto [row, rows] = book.sag[size_t(tier)]; rows > 0)
        sag(canvas, row, rows);
    rim(book, canvas);
    return canvas;
}

QImage sprite(const QImage &grid)
{
    return grid.scaled(grid.width() * scale, grid.height() * scale, Qt::IgnoreAspectRatio, Qt::FastTransformation);
}
} // namespace Art

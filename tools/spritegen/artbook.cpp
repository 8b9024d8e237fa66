#include "artbook.h"

#include <QDir>
#include <QFile>
#include <QPainter>
#include <QTextStream>

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

using namespace Qt::StringLiterals;

namespace Art
{
const QStringList &slotOrder()
{
    // Back to front: what hangs behind her, her body, clothes from the skin out, arms over the torso, then the
    // head with its face, hair and hat, and last whatever she holds.
    static const QStringList order {
        u"hairback"_s,
        u"back"_s,
        u"legs"_s,
        u"shoes"_s,
        u"body"_s,
        u"lower"_s,
        u"upper"_s,
        u"outer"_s,
        u"neck"_s,
        u"front"_s,
        u"carried"_s,
        u"arms"_s,
        u"sleeves"_s,
        u"hands"_s,
        u"held"_s,
        u"head"_s,
        u"face"_s,
        u"hair"_s,
        u"clip"_s,
        u"hat"_s,
        u"props"_s,
    };
    return order;
}

namespace
{
struct Parser {
    Book book;
    QHash<QChar, QString> key;
    Layer *layer = nullptr;
    Shape *group = nullptr;
    QPoint shift;
    QString file;
    int lineNumber = 0;
    QString error;

    bool fail(const QString &why)
    {
        error = u"%1:%2: %3"_s.arg(file).arg(lineNumber).arg(why);
        return false;
    }

    static std::optional<quint32> tiers(QStringView list)
    {
        quint32 bits = 0;
        for (QStringView part : list.split(u',')) {
            bool ok = false;
            if (part.endsWith(u'+')) {
                const int from = part.chopped(1).toInt(&ok);
                if (!ok || from < 0 || from >= tierCount)
                    return std::nullopt;
                for (int t = from; t < tierCount; ++t)
                    bits |= 1u << t;
            } else if (const qsizetype dash = part.indexOf(u'-'); dash > 0) {
                bool ok2 = false;
                const int from = part.left(dash).toInt(&ok);
                const int to = part.mid(dash + 1).toInt(&ok2);
                if (!ok || !ok2 || from < 0 || to >= tierCount || from > to)
                    return std::nullopt;
                for (int t = from; t <= to; ++t)
                    bits |= 1u << t;
            } else {
                const int t = part.toInt(&ok);
                if (!ok || t < 0 || t >= tierCount)
                    return std::nullopt;
                bits |= 1u << t;
            }
        }
        return bits;
    }

    // Splits trailing flags (@tiers, m, o, o=colour, s, S) from the numbers of a primitive.
    bool flags(const QStringList &tokens, qsizetype from, Shape &shape, QList<double> &numbers)
    {
        for (qsizetype i = from; i < tokens.size(); ++i) {
            const QString &t = tokens[i];
            bool ok = false;
            const double n = t.toDouble(&ok);
            if (ok) {
                numbers.append(n);
            } else if (t.startsWith(u'@')) {
                const auto bits = tiers(QStringView(t).mid(1));
                if (!bits)
                    return fail(u"bad tiers "_s + t);
                shape.tiers = *bits;
            } else if (t == u"m") {
                shape.mirror = true;
            } else if (t == u"o") {
                shape.outline = true;
            } else if (t.startsWith(u"o=")) {
                shape.outline = true;
                shape.outlineColour = t.mid(2);
            } else if (t == u"s") {
                shape.shade = 1;
            } else if (t == u"S") {
                shape.shade = 2;
            } else {
                return fail(u"unknown word "_s + t);
            }
        }
        return true;
    }

    static std::optional<Primitive::Kind> kind(const QString &word)
    {
        if (word == u"rect")
            return Primitive::Rect;
        if (word == u"oval")
            return Primitive::Oval;
        if (word == u"poly")
            return Primitive::Poly;
        if (word == u"line")
            return Primitive::Line;
        if (word == u"dots")
            return Primitive::Dots;
        return std::nullopt;
    }

    bool checkCount(Primitive::Kind k, qsizetype n)
    {
        const bool ok = (k == Primitive::Rect || k == Primitive::Oval || k == Primitive::Line) ? n == 4 : (n >= 2 && n % 2 == 0);
        return ok ? true : fail(u"wrong number of coordinates"_s);
    }

    bool line(const QString &raw, QTextStream &in)
    {
        QString text = raw;
        if (const qsizetype hash = text.indexOf(u'#'); hash >= 0)
            text.truncate(hash);
        const QStringList tokens = text.split(u' ', Qt::SkipEmptyParts);
        if (tokens.isEmpty())
            return true;
        const QString &word = tokens.first();

        if (group) {
            if (word == u"}") {
                group = nullptr;
                return true;
            }
            const auto k = kind(word);
            if (!k)
                return fail(u"only shapes inside { }"_s);
            Primitive p;
            p.kind = *k;
            Shape scratch;
            if (!flags(tokens, 1, scratch, p.numbers) || !checkCount(p.kind, p.numbers.size()))
                return false;
            if (scratch.outline || scratch.shade || scratch.tiers != 0x7f)
                return fail(u"inside { } a shape takes only m"_s);
            p.mirror = scratch.mirror;
            group->parts.append(p);
            return true;
        }

        if (word == u"material") {
            if (tokens.size() < 3 || tokens.size() > 5)
                return fail(u"material NAME base [dark [light]]"_s);
            std::array<QColor, 3> c;
            for (int i = 0; i < 3; ++i) {
                const QString hex = i + 2 < tokens.size() ? tokens[i + 2] : QString();
                if (!hex.isEmpty()) {
                    c[i] = QColor(u'#' + hex);
                    if (!c[i].isValid())
                        return fail(u"bad colour "_s + hex);
                }
            }
            // Shades not drawn by hand follow the base: darker toward the shadow side, lighter toward the light.
            if (!c[1].isValid())
                c[1] = c[0].darker(128);
            if (!c[2].isValid())
                c[2] = c[0].lighter(112);
            book.materials.insert(tokens[1], c);
            return true;
        }
        if (word == u"alias") {
            quint32 bits = 0x7f;
            if (tokens.size() == 4 && tokens[3].startsWith(u'@')) {
                const auto parsed = tiers(QStringView(tokens[3]).mid(1));
                if (!parsed)
                    return fail(u"bad tiers"_s);
                bits = *parsed;
            } else if (tokens.size() != 3) {
                return fail(u"alias SLOT MATERIAL [@tiers]"_s);
            }
            book.aliases[tokens[1]].append({ bits, tokens[2] });
            return true;
        }
        if (word == u"key") {
            if (tokens.size() != 3 || tokens[1].size() != 1)
                return fail(u"key CHAR COLOUR"_s);
            key.insert(tokens[1].front(), tokens[2]);
            return true;
        }
        if (word == u"headshift") {
            bool a = false, b = false, c = false;
            if (tokens.size() != 4)
                return fail(u"headshift TIER DX DY"_s);
            const int t = tokens[1].toInt(&a);
            const int dx = tokens[2].toInt(&b);
            const int dy = tokens[3].toInt(&c);
            if (!a || !b || !c || t < 0 || t >= tierCount)
                return fail(u"headshift TIER DX DY"_s);
            book.headShift[t] = QPoint(dx, dy);
            return true;
        }
        if (word == u"headtilt" || word == u"slouch") {
            bool a = false, b = false, c = false;
            const int t = tokens.size() == 4 ? tokens[1].toInt(&a) : -1;
            const double slope = tokens.size() == 4 ? tokens[2].toDouble(&b) : 0;
            const int pivot = tokens.size() == 4 ? tokens[3].toInt(&c) : 0;
            if (!a || !b || !c || t < 0 || t >= tierCount || std::abs(slope) > 0.5)
                return fail(word + u" TIER SLOPE PIVOTROW"_s);
            (word == u"slouch" ? book.slouch : book.headTilt)[size_t(t)] = { slope, pivot };
            return true;
        }
        if (word == u"rim") {
            const QColor c = tokens.size() == 3 ? QColor(u'#' + tokens[2]) : QColor();
            if (!c.isValid())
                return fail(u"rim MATERIAL COLOUR"_s);
            book.rims.append({ tokens[1], c });
            return true;
        }
        if (word == u"canvas") {
            bool a = false, b = false;
            const int w = tokens.size() == 3 ? tokens[1].toInt(&a) : 0;
            const int h = tokens.size() == 3 ? tokens[2].toInt(&b) : 0;
            if (!a || !b || w < 1 || h < 1 || w > 1024 || h > 1024)
                return fail(u"canvas WIDTH HEIGHT"_s);
            book.size = QSize(w, h);
            return true;
        }
        if (word == u"figure") {
            bool a = false, b = false;
            const double row = tokens.size() == 3 ? tokens[1].toDouble(&a) : 0;
            const double k = tokens.size() == 3 ? tokens[2].toDouble(&b) : 0;
            if (!a || !b || k <= 0.5 || k >= 2)
                return fail(u"figure ROW SCALE (0.5 < scale < 2)"_s);
            if (!book.figure.isEmpty() && row <= book.figure.last().first)
                return fail(u"figure rows must go down the body"_s);
            book.figure.append({ row, k });
            return true;
        }
        if (word == u"layer") {
            if (tokens.size() < 2 || !slotOrder().contains(tokens[1]))
                return fail(u"layer needs a known slot"_s);
            book.layers.append(Layer { tokens[1], false, false, 0x7f, {} });
            layer = &book.layers.last();
            shift = {};
            for (qsizetype i = 2; i < tokens.size(); ++i) {
                if (tokens[i] == u"head") {
                    layer->head = true;
                } else if (tokens[i] == u"fixed") {
                    layer->fixed = true;
                } else if (tokens[i].startsWith(u'@')) {
                    const auto bits = tiers(QStringView(tokens[i]).mid(1));
                    if (!bits)
                        return fail(u"bad tiers"_s);
                    layer->tiers = *bits;
                } else {
                    return fail(u"unknown word "_s + tokens[i]);
                }
            }
            return true;
        }
        if (!layer)
            return fail(u"shape outside a layer"_s);
        if (word == u"shift") {
            bool a = false, b = false;
            if (tokens.size() != 3)
                return fail(u"shift DX DY"_s);
            shift = QPoint(tokens[1].toInt(&a), tokens[2].toInt(&b));
            return a && b ? true : fail(u"shift DX DY"_s);
        }
        if (word == u"{") {
            if (tokens.size() < 2)
                return fail(u"{ COLOUR flags"_s);
            Shape shape;
            shape.colour = tokens[1];
            shape.offset = shift;
            QList<double> none;
            if (!flags(tokens, 2, shape, none) || !none.isEmpty())
                return fail(error.isEmpty() ? u"no numbers after {"_s : error);
            layer->shapes.append(shape);
            group = &layer->shapes.last();
            return true;
        }
        if (word == u"grid") {
            Shape shape;
            shape.offset = shift;
            shape.key = key;
            Primitive p;
            p.kind = Primitive::Grid;
            if (!flags(tokens, 1, shape, p.numbers) || p.numbers.size() != 2)
                return fail(u"grid X Y flags"_s);
            p.x = int(p.numbers[0]);
            p.y = int(p.numbers[1]);
            while (true) {
                if (in.atEnd())
                    return fail(u"grid without end"_s);
                const QString row = in.readLine();
                ++lineNumber;
                if (row.trimmed() == u"end")
                    break;
                p.rows.append(row.trimmed());
            }
            shape.parts.append(p);
            layer->shapes.append(shape);
            return true;
        }
        const auto k = kind(word);
        if (!k)
            return fail(u"unknown command "_s + word);
        if (tokens.size() < 2)
            return fail(u"missing colour"_s);
        Shape shape;
        shape.colour = tokens[1];
        shape.offset = shift;
        Primitive p;
        p.kind = *k;
        if (!flags(tokens, 2, shape, p.numbers) || !checkCount(p.kind, p.numbers.size()))
            return false;
        shape.parts.append(p);
        layer->shapes.append(shape);
        return true;
    }

    bool read(const QString &path)
    {
        QFile f(path);
        file = QFileInfo(path).fileName();
        lineNumber = 0;
        if (!f.open(QIODevice::ReadOnly | QIODevice::Text))
            return fail(u"cannot open"_s);
        layer = nullptr;
        group = nullptr;
        key.clear();
        QTextStream in(&f);
        while (!in.atEnd()) {
            const QString l = in.readLine();
            ++lineNumber;
            if (!line(l, in))
                return false;
        }
        if (group)
            return fail(u"unclosed {"_s);
        return true;
    }
};

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

std::optional<Book> load(const QString &folder, const QString &outfit, QString *error)
{
    QDir dir(folder);
    QStringList files;
    for (const QString &name : dir.entryList({ u"*.art"_s }, QDir::Files, QDir::Name))
        files.append(dir.filePath(name));
    files.append(dir.filePath(u"outfits/"_s + outfit + u".art"_s));
    return loadFiles(files, error);
}

std::optional<Book> loadFiles(const QStringList &files, QString *error)
{
    Parser parser;
    for (const QString &path : files) {
        if (!parser.read(path)) {
            if (error)
                *error = parser.error;
            return std::nullopt;
        }
    }
    return parser.book;
}

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
    rim(book, canvas);
    return canvas;
}

QImage sprite(const QImage &grid)
{
    return grid.scaled(grid.width() * scale, grid.height() * scale, Qt::IgnoreAspectRatio, Qt::FastTransformation);
}
} // namespace Art

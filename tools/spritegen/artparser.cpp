#include "artbook.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTextStream>

#include <cmath>

using namespace Qt::StringLiterals;

// Reading the art's text source into a Book; drawing it is artpainter.cpp's.
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

    QTextStream *in = nullptr;

    using Handler = bool (Parser::*)(const QStringList &tokens);
    /// One handler per command word; anything else is a shape of a layer.
    static const QHash<QString, Handler> &commands()
    {
        static const QHash<QString, Handler> table {
            { u"material"_s, &Parser::material },
            { u"alias"_s, &Parser::alias },
            { u"key"_s, &Parser::keyCommand },
            { u"headshift"_s, &Parser::headshift },
            { u"headtilt"_s, &Parser::lean },
            { u"slouch"_s, &Parser::lean },
            { u"sag"_s, &Parser::sag },
            { u"rim"_s, &Parser::rim },
            { u"canvas"_s, &Parser::canvas },
            { u"figure"_s, &Parser::figure },
            { u"layer"_s, &Parser::layerCommand },
        };
        return table;
    }
    /// Commands that add to the current layer.
    static const QHash<QString, Handler> &layerCommands()
    {
        static const QHash<QString, Handler> table {
            { u"shift"_s, &Parser::shiftCommand },
            { u"{"_s, &Parser::openGroup },
            { u"grid"_s, &Parser::grid },
        };
        return table;
    }

    bool line(const QString &raw)
    {
        QString text = raw;
        if (const qsizetype hash = text.indexOf(u'#'); hash >= 0)
            text.truncate(hash);
        const QStringList tokens = text.split(u' ', Qt::SkipEmptyParts);
        if (tokens.isEmpty())
            return true;
        const QString &word = tokens.first();
        if (group)
            return groupPart(tokens);
        if (const Handler handler = commands().value(word))
            return (this->*handler)(tokens);
        if (!layer)
            return fail(u"shape outside a layer"_s);
        if (const Handler handler = layerCommands().value(word))
            return (this->*handler)(tokens);
        return shapeCommand(tokens);
    }

    bool groupPart(const QStringList &tokens)
    {
        const QString &word = tokens.first();
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

    bool material(const QStringList &tokens)
    {
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

    bool alias(const QStringList &tokens)
    {
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

    bool keyCommand(const QStringList &tokens)
    {
        if (tokens.size() != 3 || tokens[1].size() != 1)
            return fail(u"key CHAR COLOUR"_s);
        key.insert(tokens[1].front(), tokens[2]);
        return true;
    }

    bool headshift(const QStringList &tokens)
    {
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

    bool lean(const QStringList &tokens)
    {
        const QString &word = tokens.first();
        bool a = false, b = false, c = false;
        const int t = tokens.size() == 4 ? tokens[1].toInt(&a) : -1;
        const double slope = tokens.size() == 4 ? tokens[2].toDouble(&b) : 0;
        const int pivot = tokens.size() == 4 ? tokens[3].toInt(&c) : 0;
        if (!a || !b || !c || t < 0 || t >= tierCount || std::abs(slope) > 0.5)
            return fail(word + u" TIER SLOPE PIVOTROW"_s);
        (word == u"slouch" ? book.slouch : book.headTilt)[size_t(t)] = { slope, pivot };
        return true;
    }

    bool sag(const QStringList &tokens)
    {
        bool a = false, b = false, c = false;
        const int t = tokens.size() == 4 ? tokens[1].toInt(&a) : -1;
        const int row = tokens.size() == 4 ? tokens[2].toInt(&b) : 0;
        const int rows = tokens.size() == 4 ? tokens[3].toInt(&c) : 0;
        if (!a || !b || !c || t < 0 || t >= tierCount || row < 0 || rows < 0 || rows > 16)
            return fail(u"sag TIER ROW ROWS"_s);
        book.sag[size_t(t)] = { row, rows };
        return true;
    }

    bool rim(const QStringList &tokens)
    {
        const QColor c = tokens.size() == 3 ? QColor(u'#' + tokens[2]) : QColor();
        if (!c.isValid())
            return fail(u"rim MATERIAL COLOUR"_s);
        book.rims.append({ tokens[1], c });
        return true;
    }

    bool canvas(const QStringList &tokens)
    {
        bool a = false, b = false;
        const int w = tokens.size() == 3 ? tokens[1].toInt(&a) : 0;
        const int h = tokens.size() == 3 ? tokens[2].toInt(&b) : 0;
        if (!a || !b || w < 1 || h < 1 || w > 1024 || h > 1024)
            return fail(u"canvas WIDTH HEIGHT"_s);
        book.size = QSize(w, h);
        return true;
    }

    bool figure(const QStringList &tokens)
    {
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

    bool layerCommand(const QStringList &tokens)
    {
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

    bool shiftCommand(const QStringList &tokens)
    {
        bool a = false, b = false;
        if (tokens.size() != 3)
            return fail(u"shift DX DY"_s);
        shift = QPoint(tokens[1].toInt(&a), tokens[2].toInt(&b));
        return a && b ? true : fail(u"shift DX DY"_s);
    }

    bool openGroup(const QStringList &tokens)
    {
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

    bool grid(const QStringList &tokens)
    {
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
            if (in->atEnd())
                return fail(u"grid without end"_s);
            const QString row = in->readLine();
            ++lineNumber;
            if (row.trimmed() == u"end")
                break;
            p.rows.append(row.trimmed());
        }
        shape.parts.append(p);
        layer->shapes.append(shape);
        return true;
    }

    bool shapeCommand(const QStringList &tokens)
    {
        const QString &word = tokens.first();
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
        QTextStream stream(&f);
        in = &stream;
        while (!stream.atEnd()) {
            const QString l = stream.readLine();
            ++lineNumber;
            if (!line(l))
                return false;
        }
        if (group)
            return fail(u"unclosed {"_s);
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
} // namespace Art

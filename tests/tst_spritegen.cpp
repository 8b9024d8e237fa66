#include "artbook.h"
#include "generate.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{
/// Tier 0 of an office outfit drawn from `source`, written to a scratch art folder.
QImage render(const QByteArray &source)
{
    QTemporaryDir dir;
    QDir().mkpath(dir.filePath(u"outfits"_s));
    QFile file(dir.filePath(u"outfits/office.art"_s));
    if (!file.open(QIODevice::WriteOnly) || file.write(source) != source.size())
        return QImage();
    file.close();
    QString error;
    const auto book = Art::load(dir.path(), u"office"_s, &error);
    const QImage grid = book ? Art::render(*book, 0, &error) : QImage();
    if (grid.isNull())
        qWarning("%s", qPrintable(error));
    return grid;
}

/// Her own figure: the book without her arms and what she holds or what floats by her (the zzz, a sweat drop).
Art::Book figureOnly(Art::Book book)
{
    static const QStringList loose { u"arms"_s, u"sleeves"_s, u"hands"_s, u"held"_s, u"carried"_s, u"props"_s };
    book.layers.removeIf([](const Art::Layer &layer) { return loose.contains(layer.slot); });
    return book;
}

/// Where `grid` shows the desktop through her: a clear pixel that no clear path (4-neighbours) joins to the
/// border, or a clear row between her top and her feet. Null when she is whole.
std::optional<QPoint> seeThrough(const QImage &grid)
{
    const int w = grid.width(), h = grid.height();
    const auto clear = [&](int x, int y) { return qAlpha(grid.pixel(x, y)) == 0; };
    std::vector<char> outside(size_t(w * h), 0);
    QList<QPoint> todo;
    for (int x = 0; x < w; ++x)
        todo << QPoint(x, 0) << QPoint(x, h - 1);
    for (int y = 0; y < h; ++y)
        todo << QPoint(0, y) << QPoint(w - 1, y);
    while (!todo.isEmpty()) {
        const QPoint p = todo.takeLast();
        if (p.x() < 0 || p.y() < 0 || p.x() >= w || p.y() >= h || outside[size_t(p.y() * w + p.x())] || !clear(p.x(), p.y()))
            continue;
        outside[size_t(p.y() * w + p.x())] = 1;
        todo << p + QPoint(1, 0) << p - QPoint(1, 0) << p + QPoint(0, 1) << p - QPoint(0, 1);
    }
    int top = -1;
    for (int y = 0; y < h; ++y) {
        int drawn = 0;
        for (int x = 0; x < w; ++x) {
            drawn += !clear(x, y);
            if (clear(x, y) && !outside[size_t(y * w + x)])
                return QPoint(x, y);
        }
        if (drawn && top < 0)
            top = y;
        else if (!drawn && top >= 0)
            return QPoint(-1, y);
    }
    // Down her centre line she is solid from her neck to where her legs part, then clear to the bottom (the
    // crown above may be cut by a hat brim or tufts).
    const int centre = w / 2;
    int y = top + (h - top) / 4;
    while (y < h && !clear(centre, y))
        ++y;
    for (const int parted = y; y < h; ++y)
        if (!clear(centre, y))
            return QPoint(centre, parted);
    return std::nullopt;
}

/// Opaque pixels (8-neighbours) not joined to her largest part, beyond a few for the zzz and a sweat drop.
int loosePixels(const QImage &grid)
{
    const int w = grid.width(), h = grid.height();
    std::vector<int> part(size_t(w * h), -1);
    QList<int> sizes;
    for (int y0 = 0; y0 < h; ++y0)
        for (int x0 = 0; x0 < w; ++x0) {
            if (part[size_t(y0 * w + x0)] >= 0 || !qAlpha(grid.pixel(x0, y0)))
                continue;
            int size = 0;
            QList<QPoint> todo { QPoint(x0, y0) };
            while (!todo.isEmpty()) {
                const QPoint p = todo.takeLast();
                if (p.x() < 0 || p.y() < 0 || p.x() >= w || p.y() >= h || part[size_t(p.y() * w + p.x())] >= 0 || !qAlpha(grid.pixel(p)))
                    continue;
                part[size_t(p.y() * w + p.x())] = int(sizes.size());
                ++size;
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx)
                        todo << p + QPoint(dx, dy);
            }
            sizes.append(size);
        }
    std::sort(sizes.begin(), sizes.end());
    int loose = 0;
    for (qsizetype i = 0; i + 1 < sizes.size(); ++i)
        loose += sizes[i] > 24 ? sizes[i] : 0;
    return loose;
}
} // namespace

// The committed sprites and icons are what the generator makes from the committed art sources, byte for byte.
class TestSpriteGen : public QObject
{
    Q_OBJECT

    QTemporaryDir m_out;

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_out.isValid());
        QString error;
        QVERIFY2(SpriteGen::writeAll(QStringLiteral(YUZUHA_ART_DIR), m_out.path(), &error), qPrintable(error));
    }

    void committedFilesMatch_data()
    {
        QTest::addColumn<QString>("file");
        for (const QString &file : SpriteGen::outputFiles())
            QTest::addRow("%s", qPrintable(file)) << file;
    }
    void committedFilesMatch()
    {
        QFETCH(QString, file);
        QFile made(m_out.filePath(file));
        QFile committed(QStringLiteral(YUZUHA_RESOURCE_DIR) + u'/' + file);
        QVERIFY2(made.open(QIODevice::ReadOnly), "the generator did not write it");
        QVERIFY2(committed.open(QIODevice::ReadOnly), "not committed; run spritegen");
        QVERIFY2(made.readAll() == committed.readAll(), "differs from the art sources; run spritegen and commit");
    }

    // Every outfit at every tier: no desktop showing through her, nothing of her floating free.
    void sheIsWhole_data()
    {
        QTest::addColumn<QString>("outfit");
        QTest::addColumn<int>("tier");
        for (const QString &outfit : SpriteGen::outfits())
            for (int t = 0; t < Art::tierCount; ++t)
                QTest::addRow("%s t%d", qPrintable(outfit), t) << outfit << t;
    }
    void sheIsWhole()
    {
        QFETCH(QString, outfit);
        QFETCH(int, tier);
        QString error;
        const auto book = Art::load(QStringLiteral(YUZUHA_ART_DIR), outfit, &error);
        QVERIFY2(book, qPrintable(error));
        const QImage figure = Art::render(figureOnly(*book), tier, &error);
        const QImage all = Art::render(*book, tier, &error);
        QVERIFY2(!figure.isNull() && !all.isNull(), qPrintable(error));
        const auto gap = seeThrough(figure);
        QVERIFY2(!gap, qPrintable(gap && gap->x() < 0 ? u"clear row %1"_s.arg(gap->y()) : gap ? u"hole at %1,%2"_s.arg(gap->x()).arg(gap->y()) : QString()));
        QCOMPARE(loosePixels(all), 0);
    }

    // Bending must not break the mirror: mirrored shapes, lines and dots come out exactly symmetric.
    void figureKeepsMirroredShapesSymmetric()
    {
        const QImage grid = render("material K 000000\nfigure 0 1\nfigure 30 1.37\nfigure 60 0.83\nlayer body\n{ K o m\n"
                                   "poly 21 0 29 0 27.5 60 23 60 19.3 33\n}\nline K 22 3 26 58 m\ndots K 24 10 25 40 m\n");
        QVERIFY(!grid.isNull());
        for (int y = 0; y <= 60; ++y)
            for (int x = 0; x < Art::gridWidth / 2; ++x)
                QVERIFY2(grid.pixel(x, y) == grid.pixel(Art::gridWidth - 1 - x, y), qPrintable(u"row %1 column %2"_s.arg(y).arg(x)));
    }
};

QTEST_MAIN(TestSpriteGen)
#include "tst_spritegen.moc"

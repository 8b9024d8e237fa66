#include "sprites.h"

#include <QColorSpace>
#include <QDir>
#include <QImageWriter>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using Outfit = Preferences::Outfit;

namespace
{
// A sprite-sized image whose top-left pixel names where it came from, so a test can tell files apart.
void writeSprite(const QString &path, QRgb marker)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QImage image(188, 500, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    image.setPixel(0, 0, marker);
    QImageWriter writer(path, "webp");
    writer.setQuality(100);
    QVERIFY2(writer.write(image), qPrintable(writer.errorString()));
}

QRgb marker(const QImage &image)
{
    return image.convertToFormat(QImage::Format_ARGB32).pixel(0, 0);
}

constexpr QRgb officeMark = 0xff'10'20'30;
constexpr QRgb halloweenMark = 0xff'40'50'60;
constexpr QRgb christmasMark = 0xff'70'80'90;
} // namespace

class TestSprites : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir m_root;
    Outfit m_outfit = Outfit::office;
    QDate m_today { 2025, 3, 14 };

    Sprites::Store store()
    {
        return Sprites::Store(
            m_root.path(), [this] { return m_outfit; }, [this] { return m_today; });
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_root.isValid());
        for (int t = 0; t < 7; ++t)
            writeSprite(m_root.filePath(u"Sprites/office/t%1.webp"_s.arg(t)), officeMark + t);
        // Halloween lacks tier 4; Christmas has only tier 0.
        for (int t : { 0, 1, 2, 3, 5, 6 })
            writeSprite(m_root.filePath(u"Sprites/halloween/t%1.webp"_s.arg(t)), halloweenMark + t);
        writeSprite(m_root.filePath(u"Sprites/christmas/t0.webp"_s), christmasMark);
        QFile broken(m_root.filePath(u"Sprites/christmas/t1.webp"_s));
        QVERIFY(broken.open(QIODevice::WriteOnly));
        broken.write("RIFF not really a picture");
    }

    // The date decides the folder, and both caches are keyed by what was resolved.
    void seasonalResolvesByDate_data()
    {
        QTest::addColumn<QDate>("today");
        QTest::addColumn<QRgb>("expected");
        QTest::addColumn<QString>("folder");
        QTest::addRow("October dresses her as a witch") << QDate(2025, 10, 1) << QRgb(halloweenMark) << u"halloween"_s;
        QTest::addRow("December is Christmas") << QDate(2025, 12, 31) << QRgb(christmasMark) << u"christmas"_s;
        QTest::addRow("the last day of November is office") << QDate(2025, 11, 30) << QRgb(officeMark) << u"office"_s;
    }
    void seasonalResolvesByDate()
    {
        QFETCH(QDate, today);
        QFETCH(QString, folder);
        m_outfit = Outfit::seasonal;
        m_today = today;
        Sprites::Store sprites = store();
        QTEST(marker(sprites.original(0)), "expected");
        QVERIFY(!sprites.image(0, 502).isNull());
        QCOMPARE(sprites.originalKeys(), QStringList { u"Sprites/%1/t0"_s.arg(folder) });
        QCOMPARE(sprites.scaledKeys(), QStringList { u"Sprites/%1/0@502"_s.arg(folder) });
    }

    void missingTierFallsBackToOffice_data()
    {
        QTest::addColumn<int>("outfit");
        QTest::addColumn<int>("tier");
        QTest::addColumn<QRgb>("expected");
        QTest::addColumn<QString>("key");
        QTest::addRow("a folder without tier 4 lends the office tier 4") << int(Outfit::halloween) << 4 << QRgb(officeMark + 4) << u"Sprites/halloween/t4"_s;
        QTest::addRow("a present tier is the outfit's own") << int(Outfit::halloween) << 5 << QRgb(halloweenMark + 5) << u"Sprites/halloween/t5"_s;
        QTest::addRow("an outfit without a folder wears office") << int(Outfit::frieren) << 6 << QRgb(officeMark + 6) << u"Sprites/frieren/t6"_s;
    }
    void missingTierFallsBackToOffice()
    {
        QFETCH(int, outfit);
        QFETCH(int, tier);
        QFETCH(QString, key);
        Sprites::Store sprites = store();
        QTEST(marker(sprites.original(tier, Outfit(outfit))), "expected");
        QCOMPARE(sprites.originalKeys(), QStringList { key });
    }

    void scaledSize_data()
    {
        QTest::addColumn<int>("height");
        QTest::addColumn<int>("width");
        QTest::addRow("502 is 188.75 wide, rounded up") << 502 << 189;
        QTest::addRow("360 is 135.36 wide") << 360 << 135;
        QTest::addRow("250 is 94 wide, two screen pixels per art pixel") << 250 << 94;
        QTest::addRow("one pixel high rounds to no width and yields nothing") << 1 << 0;
    }
    void scaledSize()
    {
        QFETCH(int, height);
        QFETCH(int, width);
        m_outfit = Outfit::office;
        const QImage image = store().image(2, height);
        QCOMPARE(image.size(), width ? QSize(width, height) : QSize(0, 0));
        QVERIFY(width == 0 || (image.format() == QImage::Format_ARGB32_Premultiplied && image.colorSpace().isValid()));
    }

    // At a whole multiple of her art grid every art pixel is a solid block of screen pixels, whatever whole
    // factor the file was stored at; a checkerboard shows any averaging at once.
    void wholeMultiplesAreBlocks_data()
    {
        QTest::addColumn<int>("stored");
        QTest::addColumn<int>("height");
        QTest::addRow("medium on a 1x screen") << 4 << 250;
        QTest::addRow("medium on a 2x screen") << 4 << 500;
        QTest::addRow("three times from a file stored at twice") << 2 << 375;
    }
    void wholeMultiplesAreBlocks()
    {
        QFETCH(int, stored);
        QFETCH(int, height);
        QImage grid(Dimensions::spriteArtColumns, Dimensions::spriteArtRows, QImage::Format_ARGB32);
        for (int y = 0; y < grid.height(); ++y)
            for (int x = 0; x < grid.width(); ++x)
                grid.setPixel(x, y, (x + y) % 2 ? qRgb(200, 40, 40) : qRgb(40, 40, 200));
        const QImage full = grid.scaled(grid.size() * stored, Qt::IgnoreAspectRatio, Qt::FastTransformation);
        const QImage shown = Sprites::sharpScaled(full, QSize(Sprites::widthFor(height), height)).convertToFormat(QImage::Format_ARGB32);
        QCOMPARE(shown.size(), grid.size() * (height / Dimensions::spriteArtRows));
        const int block = height / Dimensions::spriteArtRows;
        for (int y = 0; y < shown.height(); ++y)
            for (int x = 0; x < shown.width(); ++x)
                if (shown.pixel(x, y) != grid.pixel(x / block, y / block))
                    QFAIL(qPrintable(u"pixel %1,%2 is not its art pixel's colour"_s.arg(x).arg(y)));
    }

    void failuresAreNotCached_data()
    {
        QTest::addColumn<int>("tier");
        QTest::addRow("an undecodable file") << 1;
        QTest::addRow("a tier no folder has") << 9;
    }
    void failuresAreNotCached()
    {
        QFETCH(int, tier);
        m_outfit = Outfit::christmas;
        m_today = QDate(2025, 3, 14);
        Sprites::Store sprites = store();
        QVERIFY(sprites.original(tier).isNull() && sprites.image(tier, 502).isNull());
        QVERIFY(sprites.originalKeys().isEmpty() && sprites.scaledKeys().isEmpty());
    }

    void repairedFileIsPickedUp()
    {
        // Nothing was remembered about the failure, so a file that appears later is read.
        QTemporaryDir root;
        Sprites::Store sprites(
            root.path(), [] { return Outfit::office; }, [] { return QDate(2025, 3, 14); });
        QVERIFY(sprites.original(3).isNull());
        writeSprite(root.filePath(u"Sprites/office/t3.webp"_s), officeMark);
        QCOMPARE(marker(sprites.original(3)), officeMark);
    }

    void cachesServeRepeatedCalls()
    {
        m_outfit = Outfit::office;
        Sprites::Store sprites = store();
        const QImage first = sprites.image(0, 360);
        QCOMPARE(sprites.image(0, 360).cacheKey(), first.cacheKey());
        QVERIFY(sprites.image(0, 361).cacheKey() != first.cacheKey());
        QCOMPARE(sprites.scaledKeys(), (QStringList { u"Sprites/office/0@360"_s, u"Sprites/office/0@361"_s }));
        QCOMPARE(sprites.originalKeys(), QStringList { u"Sprites/office/t0"_s });
    }

    // The shipped artwork, as compiled into the program.
    void shippedSprites()
    {
        QSet<QByteArray> seen;
        int count = 0;
        for (const QString &outfit : QDir(u":/Sprites"_s).entryList(QDir::Dirs)) {
            for (const QString &name : QDir(u":/Sprites/"_s + outfit).entryList({ u"t*.webp"_s })) {
                const QString path = u":/Sprites/%1/%2"_s.arg(outfit, name);
                ++count;
                const QImage image = QImage(path).convertToFormat(QImage::Format_ARGB32);
                QVERIFY2(!image.isNull(), qPrintable(path));
                QCOMPARE(image.size(), QSize(Dimensions::spriteArtColumns * 4, Dimensions::spriteArtRows * 4));
                QVERIFY(image.hasAlphaChannel());
                bool feet = false;
                for (int y = 0; y < image.height(); ++y) {
                    const auto *line = reinterpret_cast<const QRgb *>(image.constScanLine(y));
                    for (int x = 0; x < image.width(); ++x) {
                        const int alpha = qAlpha(line[x]);
                        if (alpha != 0 && alpha != 255)
                            QFAIL(qPrintable(u"%1 has a soft pixel at %2,%3"_s.arg(path).arg(x).arg(y)));
                        if (y == image.height() - 1 && alpha == 255)
                            feet = true;
                    }
                }
                QVERIFY2(feet, qPrintable(path + u" floats above the bottom row"_s));
                const QByteArray pixels(reinterpret_cast<const char *>(image.constBits()), image.sizeInBytes());
                QVERIFY2(!seen.contains(pixels), qPrintable(path + u" repeats another sprite"_s));
                seen.insert(pixels);
            }
        }
        QCOMPARE(count, 105);
        QVERIFY(!QImage(u":/Sprites/menubar.png"_s).isNull());
    }
};

QTEST_MAIN(TestSprites)
#include "tst_sprites.moc"

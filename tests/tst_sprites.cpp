#include "sprites.h"

#include <QColorSpace>
#include <QDir>
#include <QImageWriter>
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

    // The date decides the seasonal folder and a tier an outfit lacks comes from the office folder; both
    // caches are keyed by what was resolved.
    void resolvesTheFolder_data()
    {
        QTest::addColumn<int>("outfit");
        QTest::addColumn<QDate>("today");
        QTest::addColumn<int>("tier");
        QTest::addColumn<QRgb>("expected");
        QTest::addColumn<QString>("folder");
        const int seasonal = int(Outfit::seasonal), halloween = int(Outfit::halloween);
        const QDate march(2025, 3, 14);
        QTest::addRow("October dresses her as a witch") << seasonal << QDate(2025, 10, 1) << 0 << QRgb(halloweenMark) << u"halloween"_s;
        QTest::addRow("December is Christmas") << seasonal << QDate(2025, 12, 31) << 0 << QRgb(christmasMark) << u"christmas"_s;
        QTest::addRow("the last day of November is office") << seasonal << QDate(2025, 11, 30) << 0 << QRgb(officeMark) << u"office"_s;
        QTest::addRow("a folder without tier 4 lends the office tier 4") << halloween << march << 4 << QRgb(officeMark + 4) << u"halloween"_s;
        QTest::addRow("a present tier is the outfit's own") << halloween << march << 5 << QRgb(halloweenMark + 5) << u"halloween"_s;
        QTest::addRow("an outfit without a folder wears office") << int(Outfit::frieren) << march << 6 << QRgb(officeMark + 6) << u"frieren"_s;
    }
    void resolvesTheFolder()
    {
        QFETCH(int, outfit);
        QFETCH(QDate, today);
        QFETCH(int, tier);
        QFETCH(QString, folder);
        m_outfit = Outfit(outfit);
        m_today = today;
        Sprites::Store sprites = store();
        QTEST(marker(sprites.original(tier)), "expected");
        QCOMPARE(sprites.image(tier, 502).size(), QSize(189, 502)); // 188.75 wide, rounded up
        QCOMPARE(sprites.originalKeys(), QStringList { u"Sprites/%1/t%2"_s.arg(folder).arg(tier) });
        QCOMPARE(sprites.scaledKeys(), QStringList { u"Sprites/%1/%2@502"_s.arg(folder).arg(tier) });
    }

    // At a whole multiple of her art grid every art pixel is a solid block of screen pixels, whatever whole
    // factor the file was stored at; a checkerboard shows any averaging at once.
    void wholeMultiplesAreBlocks_data()
    {
        QTest::addColumn<int>("stored");
        QTest::addColumn<int>("height");
        QTest::addRow("medium on a 1x screen") << 4 << 250;
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
        const int block = height / Dimensions::spriteArtRows;
        QCOMPARE(shown.size(), grid.size() * block);
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

    // The shipped artwork, as compiled into the program.
    void shippedSprites()
    {
        int count = 0;
        for (const QString &outfit : QDir(u":/Sprites"_s).entryList(QDir::Dirs)) {
            for (const QString &name : QDir(u":/Sprites/"_s + outfit).entryList({ u"t*.webp"_s })) {
                const QString path = u":/Sprites/%1/%2"_s.arg(outfit, name);
                ++count;
                const QImage image = QImage(path).convertToFormat(QImage::Format_ARGB32);
                QVERIFY2(!image.isNull(), qPrintable(path));
                QCOMPARE(image.size(), QSize(Dimensions::spriteArtColumns * 4, Dimensions::spriteArtRows * 4));
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
            }
        }
        QCOMPARE(count, 105);
        QVERIFY(!QImage(u":/Sprites/menubar.png"_s).isNull());
    }
};

QTEST_MAIN(TestSprites)
#include "tst_sprites.moc"

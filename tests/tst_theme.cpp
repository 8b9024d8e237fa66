#include "fonts.h"
#include "theme.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QRawFont>
#include <QTest>

using namespace Qt::StringLiterals;

class TestTheme : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(Fonts::registerAll()); }

    // The views ask for a face by family and weight; each must resolve to the bundled file, not a look-alike.
    void facesLoad_data()
    {
        QTest::addColumn<int>("which");
        QTest::addColumn<QFont>("font");
        QTest::addRow("display") << 0 << Theme::displayFont(17);
        QTest::addRow("heavy") << 1 << Theme::heavyFont(12);
        QTest::addRow("body") << 2 << Theme::bodyFont(12.5);
    }
    void facesLoad()
    {
        QFETCH(int, which);
        QFETCH(QFont, font);
        const Fonts::Face &face = *Fonts::all()[size_t(which)];
        const QFontInfo info(font);
        QCOMPARE(info.family(), face.family);
        QCOMPARE(info.weight(), int(face.weight));
        // The file itself has that weight, rather than Qt thickening a lighter one.
        QCOMPARE(QFontDatabase::weight(face.family, QFontDatabase::styles(face.family).value(0)), int(face.weight));
        // Every glyph the views write, in each face.
        const QRawFont raw = QRawFont::fromFont(font);
        for (const QChar c : u"0123456789% ·…—“”‘’ Makasete! Yare yare"_s)
            QVERIFY2(raw.supportsCharacter(c), qPrintable(raw.familyName() + u" lacks "_s + c));
    }
};

QTEST_MAIN(TestTheme)
#include "tst_theme.moc"

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
    // The views ask for a face by family and weight; each must resolve to the bundled file, not a look-alike.
    void facesLoad_data()
    {
        QTest::addColumn<int>("which");
        QTest::addColumn<QString>("postScript");
        QTest::addColumn<int>("weight");
        QTest::addRow("display") << 0 << u"DotGothic16-Regular"_s << int(QFont::Normal);
        QTest::addRow("heavy") << 1 << u"RoundedMplus1c-ExtraBold"_s << int(QFont::ExtraBold);
        QTest::addRow("body") << 2 << u"RoundedMplus1c-Medium"_s << int(QFont::Medium);
    }
    void facesLoad()
    {
        QFETCH(int, which);
        QFETCH(int, weight);
        QVERIFY(Fonts::registerAll());
        const Fonts::Face &face = *Fonts::all()[size_t(which)];
        QTEST(face.postScriptName, "postScript");
        QVERIFY2(QFontDatabase::families().contains(face.family), qPrintable(face.family));

        const QFont font = which == 0 ? Theme::displayFont(17) : which == 1 ? Theme::heavyFont(12) : Theme::bodyFont(12.5);
        const QFontInfo info(font);
        QCOMPARE(info.family(), face.family);
        QCOMPARE(int(info.weight()), weight);
        QCOMPARE(QFontDatabase::weight(face.family, QFontDatabase::styles(face.family).value(0)), weight);
        // Every glyph the views write, in each face.
        const QRawFont raw = QRawFont::fromFont(font);
        for (const QChar c : u"0123456789% ·…—“”‘’ Makasete! Yare yare"_s)
            QVERIFY2(raw.supportsCharacter(c), qPrintable(raw.familyName() + u" lacks "_s + c));
    }
};

QTEST_MAIN(TestTheme)
#include "tst_theme.moc"

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
    void colours_data()
    {
        QTest::addColumn<QColor>("colour");
        QTest::addColumn<QString>("hex");
        QTest::addRow("partition") << Theme::partition() << u"#cfd6de"_s;
        QTest::addRow("machine") << Theme::machine() << u"#e7e1d2"_s;
        QTest::addRow("lcd") << Theme::lcd() << u"#dfe4cd"_s;
        QTest::addRow("manila") << Theme::manila() << u"#ecd7a4"_s;
        QTest::addRow("sticky") << Theme::sticky() << u"#f7e39a"_s;
        QTest::addRow("coral") << Theme::coral() << u"#ff8f9c"_s;
        QTest::addRow("coralDeep") << Theme::coralDeep() << u"#e86677"_s;
        QTest::addRow("mint") << Theme::mint() << u"#a8e6cf"_s;
        QTest::addRow("ink") << Theme::ink() << u"#34344a"_s;
        QTest::addRow("inkSoft") << Theme::inkSoft() << u"#4d4d66"_s;
        QTest::addRow("paper") << Theme::paper() << u"#fffaf0"_s;
        QTest::addRow("segmentOff") << Theme::segmentOff() << u"#c4cab0"_s;
        QTest::addRow("sitePaper") << Theme::sitePaper() << u"#fafbfc"_s;
        QTest::addRow("nsSitePaper renders as sitePaper") << Theme::nsSitePaper() << u"#fafbfc"_s;
        QTest::addRow("nsMachine renders as machine") << Theme::nsMachine() << u"#e7e1d2"_s;
    }
    void colours()
    {
        QFETCH(QColor, colour);
        QFETCH(QString, hex);
        QCOMPARE(colour.name(), hex);
        QCOMPARE(colour.alpha(), 255);
        QCOMPARE(colour.spec(), QColor::Rgb);
    }

    void hairlineIsFaintInk()
    {
        const QColor hairline = Theme::hairline();
        QCOMPARE(hairline.name(), Theme::ink().name());
        QVERIFY(qAbs(hairline.alphaF() - 0.16f) < 1.0f / 512);
    }

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
        QFETCH(QString, postScript);
        QFETCH(int, weight);
        QVERIFY(Fonts::registerAll());
        QVERIFY(Fonts::registerAll()); // a second call is harmless
        const Fonts::Face &face = *Fonts::all()[size_t(which)];
        QCOMPARE(face.postScriptName, postScript);
        QVERIFY2(QFontDatabase::families().contains(face.family), qPrintable(face.family));

        const QFont font = which == 0 ? Theme::displayFont(17) : which == 1 ? Theme::heavyFont(12) : Theme::bodyFont(12.5);
        const QFontInfo info(font);
        QCOMPARE(info.family(), face.family);
        QCOMPARE(int(info.weight()), weight);
        QCOMPARE(QRawFont::fromFont(font).familyName(), face.family);
        QCOMPARE(QFontDatabase::weight(face.family, QFontDatabase::styles(face.family).value(0)), weight);
    }

    void sizesAreDeviceIndependentPixels_data()
    {
        QTest::addColumn<qreal>("size");
        QTest::addRow("whole") << 17.0;
        QTest::addRow("a half keeps its half") << 12.5;
    }
    void sizesAreDeviceIndependentPixels()
    {
        QFETCH(qreal, size);
        const QFont font = Theme::bodyFont(size);
        QCOMPARE(font.pointSizeF() * 96.0 / 72.0, size);
    }

    void glyphsTheViewsWrite()
    {
        QVERIFY(Fonts::registerAll());
        const QString text = u"0123456789% ·…—“”‘’ Makasete! Yare yare"_s;
        for (const QFont &font : { Theme::displayFont(15), Theme::heavyFont(13), Theme::bodyFont(11) }) {
            const QRawFont raw = QRawFont::fromFont(font);
            for (const QChar c : text)
                QVERIFY2(raw.supportsCharacter(c), qPrintable(raw.familyName() + u" lacks "_s + c));
        }
    }
};

QTEST_MAIN(TestTheme)
#include "tst_theme.moc"

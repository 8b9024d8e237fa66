#include "theme.h"
#include "trayimage.h"

#include <QPainter>
#include <QTest>

using namespace Qt::StringLiterals;

// Her tray picture at the sizes panels ask for, from stand-in faces of one flat colour.
class TestTrayImage : public QObject
{
    Q_OBJECT

    QMap<int, QImage> m_faces;
    static constexpr QRgb face = 0xff'0a'c8'1e;

private Q_SLOTS:
    void initTestCase()
    {
        for (int size : { 16, 24, 32, 36 }) {
            QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
            image.fill(face);
            m_faces.insert(size, image);
        }
    }

    void faceAndPercentage_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<std::optional<int>>("percent");
        QTest::addColumn<QColor>("tag");
        QTest::addColumn<qreal>("ratio");
        // Device pixels: 44 is a 22-point tray on a 2× screen, between the drawn faces.
        for (auto [size, ratio] : { std::pair { 16, 1.0 }, { 22, 1.0 }, { 24, 1.0 }, { 32, 1.0 }, { 44, 2.0 }, { 48, 1.0 } }) {
            QTest::addRow("no session at %d", size) << size << std::optional<int> {} << QColor() << ratio;
            QTest::addRow("79%% at %d", size) << size << std::optional<int> { 79 } << Theme::ink() << ratio;
            QTest::addRow("100%% turns coral at %d", size) << size << std::optional<int> { 100 } << Theme::coralDeep() << ratio;
        }
    }
    void faceAndPercentage()
    {
        QFETCH(int, size);
        QFETCH(std::optional<int>, percent);
        QFETCH(QColor, tag);
        QFETCH(qreal, ratio);
        // Painted as a tray paints its icon into `size` device pixels: the drawing for that many, not one blown up.
        QImage image(size, size, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        image.setDevicePixelRatio(ratio);
        QPainter painter(&image);
        TrayImage::icon(m_faces, percent).paint(&painter, QRect(0, 0, qRound(size / ratio), qRound(size / ratio)));
        painter.end();
        image.setDevicePixelRatio(1);
        QCOMPARE(image, TrayImage::draw(m_faces, percent, size).convertToFormat(QImage::Format_ARGB32));
        int tagPixels = 0, textPixels = 0, textColumns = 0, faceBottom = -1, tagTop = size;
        for (int x = 0; x < size; ++x) {
            bool inColumn = false;
            for (int y = 0; y < size; ++y) {
                const QRgb c = image.pixel(x, y);
                // Pixel art all through: no blended colour, no half-clear pixel.
                QVERIFY2(c == face || c == tag.rgba() || c == Theme::paper().rgba() || qAlpha(c) == 0, qPrintable(u"blended at %1,%2"_s.arg(x).arg(y)));
                tagPixels += c == tag.rgba();
                faceBottom = c == face ? std::max(faceBottom, y) : faceBottom;
                tagTop = c == tag.rgba() ? std::min(tagTop, y) : tagTop;
                textPixels += c == Theme::paper().rgba();
                inColumn = inColumn || c == Theme::paper().rgba();
            }
            textColumns += inColumn;
        }
        // Her face is up top at every size.
        QCOMPARE(image.pixel(size / 2, size / 4), face);
        if (!percent) {
            QCOMPARE(tagPixels + textPixels, 0);
            return;
        }
        QVERIFY2(tagPixels > size, "the tag is drawn in its colour");
        // The number sits below her face, never over it.
        QVERIFY2(faceBottom < tagTop, qPrintable(u"face down to row %1, tag from row %2"_s.arg(faceBottom).arg(tagTop)));
        // Every digit is written: three type pixels wide each, with a gap between them.
        const int scale = size >= 32 ? 2 : 1;
        QVERIFY2(textColumns >= int(QString::number(*percent).size()) * 3 * scale, "a digit is missing");
        QVERIFY(image.pixel(0, size / 2) != Theme::paper().rgba() && image.pixel(size - 1, size / 2) != Theme::paper().rgba());
    }
};

QTEST_MAIN(TestTrayImage)
#include "tst_trayimage.moc"

#include "passthrough.h"
#include "petstageview.h"

#include <QTest>

using namespace Qt::StringLiterals;
using PassThrough::Decision;
using PassThrough::State;

namespace
{
// A medium panel: 270 × 372, bubble band y < 92, tag band y > 342.
const QSizeF panel(270, 372);

// A 90 × 250 sprite at `dpr`, opaque but for a transparent left `clearShare` of every row.
PassThrough::AlphaMask spriteMask(qreal dpr, int clearShare)
{
    PassThrough::AlphaMask mask { int(90 * dpr), int(250 * dpr), QByteArray(qsizetype(int(90 * dpr)) * int(250 * dpr), char(255)) };
    for (int row = 0; row < mask.height; ++row)
        std::memset(mask.alpha.data() + qsizetype(row) * mask.width, 0, size_t(mask.width / clearShare));
    return mask;
}
} // namespace

class TestPassThrough : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void alphaThreshold_data()
    {
        QTest::addColumn<int>("alpha");
        QTest::addColumn<bool>("onHer");
        QTest::addRow("alpha 40 is not her") << 40 << false;
        QTest::addRow("alpha 41 is her") << 41 << true;
    }
    void alphaThreshold()
    {
        QFETCH(int, alpha);
        QImage image(4, 4, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        image.setPixel(2, 1, qRgba(0, 0, 0, alpha));
        const auto mask = PassThrough::alphaMask(image);
        QVERIFY(mask);
        // Sprite drawn 8 × 8 at (100, 50): each bitmap pixel covers 2 × 2.
        const QRectF sprite(100, 50, 8, 8);
        QTEST(PassThrough::isOnHer(mask, sprite, QPointF(105.5, 52.5)), "onHer");
        // The neighbour row is transparent whatever the pixel holds.
        QVERIFY(!PassThrough::isOnHer(mask, sprite, QPointF(105.5, 55)));
    }

    void decide_data()
    {
        QTest::addColumn<State>("state");
        QTest::addColumn<QPointF>("point");
        QTest::addColumn<bool>("onHer");
        QTest::addColumn<Decision>("expected");
        const State quiet { panel, false, false, true };
        const State hovering { panel, false, true, true };
        const State announcing { panel, true, false, true };
        const State noTag { panel, false, false, false };
        QTest::addRow("on her") << quiet << QPointF(135, 200) << true << Decision { true, true };
        QTest::addRow("from her up into the bubble keeps hovering") << hovering << QPointF(135, 40) << false << Decision { true, true };
        QTest::addRow("sideways off her below the bubble band") << hovering << QPointF(20, 200) << false << Decision { false, false };
        QTest::addRow("bubble band without bubble is dead") << quiet << QPointF(135, 40) << false << Decision { false, false };
        QTest::addRow("announcing: band edge 91.9 is live, not hovering") << announcing << QPointF(20, 91.9) << false << Decision { true, false };
        QTest::addRow("band edge 92 is not") << announcing << QPointF(20, 92) << false << Decision { false, false };
        QTest::addRow("tag hot spot 69 left of centre") << quiet << QPointF(135 - 69, 362) << false << Decision { true, false };
        QTest::addRow("70 left of centre is not") << quiet << QPointF(135 - 70, 362) << false << Decision { false, false };
        QTest::addRow("tag off: tag band only on her") << noTag << QPointF(135, 362) << false << Decision { false, false };
    }
    void decide()
    {
        QFETCH(State, state);
        QFETCH(QPointF, point);
        QFETCH(bool, onHer);
        QTEST(PassThrough::decide(state, point, onHer), "expected");
    }

    void inputRegionFollowsZones_data()
    {
        QTest::addColumn<State>("state");
        QTest::addColumn<qreal>("dpr");
        QTest::addColumn<QPoint>("devicePoint");
        QTest::addColumn<bool>("live");
        const State quiet { panel, false, false, true };
        const State up { panel, true, false, true };
        const State noTag { panel, false, false, false };
        QTest::addRow("opaque row of her") << quiet << 1.0 << QPoint(120, 150) << true;
        QTest::addRow("transparent column beside her") << quiet << 1.0 << QPoint(95, 150) << false;
        QTest::addRow("bubble band up") << up << 1.0 << QPoint(10, 10) << true;
        QTest::addRow("tag hot spot") << quiet << 1.0 << QPoint(66, 360) << true;
        QTest::addRow("tag off") << noTag << 1.0 << QPoint(135, 360) << false;
        QTest::addRow("her at scale 2") << quiet << 2.0 << QPoint(240, 300) << true;
        QTest::addRow("hot spot at scale 2") << quiet << 2.0 << QPoint(132, 720) << true;
    }
    void inputRegionFollowsZones()
    {
        QFETCH(State, state);
        QFETCH(qreal, dpr);
        // The sprite at (90, 92), its left third transparent.
        const QRegion region = PassThrough::inputRegion(state, spriteMask(dpr, 3), QRectF(90, 92, 90, 250), dpr);
        QFETCH(QPoint, devicePoint);
        QTEST(region.contains(devicePoint), "live");
        // Identical rows collapse into one band: the region stays small enough to send to the X server.
        QVERIFY(region.rectCount() <= 3);
    }

    // The window a Wayland compositor hands clicks to is cut to this part; what lies outside it is never drawn.
    void drawnPartCoversWhatIsDrawn_data()
    {
        QTest::addColumn<State>("state");
        QTest::addColumn<QRect>("part");
        // Her figure: a 93 × 263 sprite with its headroom, centred, feet 30 above the bottom.
        QTest::addRow("quiet: figure and tag") << State { panel, false, false, true } << QRect(65, 79, 140, 293);
        QTest::addRow("no tag: figure down to the bottom edge") << State { panel, false, false, false } << QRect(88, 79, 94, 293);
        QTest::addRow("bubble up: the whole panel") << State { panel, true, false, true } << QRect(0, 0, 270, 372);
    }
    void drawnPartCoversWhatIsDrawn()
    {
        QFETCH(State, state);
        const QRectF figure(88.5, 79, 93, 263);
        const QRect part = PassThrough::drawnPart(state, figure);
        QTEST(part, "part");
        QVERIFY(QRectF(part).contains(figure));
        // Her bottom centre stays where the panel has it, so cutting the window moves nothing on screen.
        QCOMPARE(part.bottom() + 1, int(panel.height()));
        QCOMPARE(part.left() + part.right() + 1, int(panel.width()));
    }

    void silhouetteKeepsOnlyDrawnPixels_data()
    {
        QTest::addColumn<qreal>("dpr");
        QTest::addColumn<QPointF>("point");
        QTest::addColumn<bool>("shown");
        QTest::addRow("opaque half of her") << 1.0 << QPointF(150, 200) << true;
        QTest::addRow("transparent half of her") << 1.0 << QPointF(100, 200) << false;
        QTest::addRow("tag's rounded corner") << 1.0 << QPointF(85.5, 344.5) << false;
        QTest::addRow("bubble's rounded corner") << 1.0 << QPointF(11, 11) << false;
        QTest::addRow("tail under the body's centre") << 1.0 << QPointF(135, 84) << true;
        QTest::addRow("beside the tail") << 1.0 << QPointF(120, 84) << false;
        QTest::addRow("opaque half at scale 2") << 2.0 << QPointF(150, 200) << true;
        QTest::addRow("bubble corner at scale 2") << 2.0 << QPointF(11, 11) << false;
    }
    void silhouetteKeepsOnlyDrawnPixels()
    {
        QFETCH(qreal, dpr);
        // A sprite whose left half is transparent, a 100 × 22 tag with radius 7, a bubble over the band.
        QList<PassThrough::RoundedRect> rounded { { QRectF(85, 344, 100, 22), 7 } };
        rounded += PassThrough::bubbleOutline(QRectF(10, 10, 250, 78), 14, 9);
        const QRegion region = PassThrough::silhouette(spriteMask(dpr, 2), QRectF(90, 92, 90, 250), rounded, dpr);
        QFETCH(QPointF, point);
        QTEST(region.contains((point * dpr).toPoint()), "shown");
    }
};

QTEST_GUILESS_MAIN(TestPassThrough)
#include "tst_passthrough.moc"

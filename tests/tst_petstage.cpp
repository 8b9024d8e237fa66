#include "petstageview.h"
#include "sprites.h"

#include <QQuickWindow>
#include <QSignalSpy>
#include <QTest>

namespace
{
QImage opaque(int, int pixelHeight)
{
    QImage image(Sprites::widthFor(pixelHeight), pixelHeight, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::black);
    return image;
}
} // namespace

class TestPetStage : public QObject
{
    Q_OBJECT

    struct Scene {
        QQuickWindow window;
        PetStageView *stage = new PetStageView(window.contentItem());
        Scene()
        {
            window.setGeometry(200, 100, 270, 372);
            stage->setSize(QSizeF(270, 372));
            stage->setImageSource(opaque);
            stage->layoutSprite(QSizeF(94, 250), 0);
            window.show();
        }
        // Sends the pointer to a screen position, whatever the window has moved to meanwhile.
        QPoint local(QPoint global) const { return global - window.position(); }
    };

private Q_SLOTS:
    void clickOrDrag_data()
    {
        QTest::addColumn<QList<QPoint>>("path");
        QTest::addColumn<bool>("isMove");
        QTest::addRow("2 px jitter is a click") << QList<QPoint> { { 2, 0 }, { 0, 2 }, { -1, -1 } } << false;
        QTest::addRow("3 px is a move") << QList<QPoint> { { 3, 0 } } << true;
        QTest::addRow("out and back is still a move") << QList<QPoint> { { 10, 5 }, { 0, 0 } } << true;
    }
    void clickOrDrag()
    {
        QFETCH(QList<QPoint>, path);
        Scene scene;
        QVERIFY(QTest::qWaitForWindowExposed(&scene.window));
        QSignalSpy clicked(scene.stage, &PetStageView::clicked);
        QSignalSpy moved(scene.stage, &PetStageView::moved);
        const QPoint origin = scene.window.position(), start = origin + QPoint(135, 200);
        QTest::mousePress(&scene.window, Qt::LeftButton, {}, scene.local(start));
        for (const QPoint &step : path)
            QTest::mouseMove(&scene.window, scene.local(start + step));
        QTest::mouseRelease(&scene.window, Qt::LeftButton, {}, scene.local(start + path.last()));
        QFETCH(bool, isMove);
        QCOMPARE(moved.count(), isMove ? 1 : 0);
        QCOMPARE(clicked.count(), isMove ? 0 : 1);
        // Hovering is heard again once the press is over.
        QVERIFY(!scene.stage->isDragging());
        // A move takes the window exactly where the pointer went; a click leaves it.
        QCOMPARE(scene.window.position() - origin, isMove ? path.last() : QPoint());
    }

    void missingBitmapKeepsThePrevious()
    {
        Scene scene;
        const QRectF before = scene.stage->spriteRect();
        // Centred in the panel (135 − 94 / 2), between the bubble band above and the tag band below.
        QCOMPARE(before, QRectF(88, 92, 94, 250));
        scene.stage->setImageSource([](int, int) { return QImage(); });
        scene.stage->setTier(4);
        QSignalSpy changed(scene.stage, &PetStageView::contentsChanged);
        scene.stage->applyContents(true);
        QCOMPARE(changed.count(), 0);
        QVERIFY(scene.stage->mask() && !scene.stage->isFading() && scene.stage->isOnHer(before.center()));
    }
};

QTEST_MAIN(TestPetStage)
#include "tst_petstage.moc"

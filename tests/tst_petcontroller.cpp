#include "petcontroller.h"
#include "petmodel.h"
#include "petpanel.h"
#include "petstageview.h"
#include "popupdismissal.h"
#include "qmlregistration.h"

#include <QApplication>
#include <QMenu>
#include <QQuickItem>
#include <QScreen>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include "testsupport.h"

using namespace Qt::StringLiterals;

namespace
{
using TestSupport::session;

// One controller over a scratch settings file, shown as at start, with the session she shows and the grants in
// the test's hands.
struct Fixture {
    QTemporaryDir dir;
    Preferences prefs { std::make_unique<QSettings>(dir.filePath(u"Yuzuha.conf"_s), QSettings::IniFormat) };
    Sprites::Store sprites { u":/"_s, [this] { return prefs.outfit(); }, [] { return QDate::currentDate(); } };
    ViewEngine engine { &prefs, nullptr, &sprites };
    std::optional<Session> focused;
    bool outOfReach = false;
    std::unique_ptr<PetController> controller;

    explicit Fixture(bool reduceMotion = false, std::function<void(Preferences &)> before = {})
    {
        if (before)
            before(prefs);
        PetController::Inputs inputs;
        inputs.preferences = &prefs;
        inputs.focused = [this] { return focused; };
        inputs.outOfReach = [this] { return outOfReach; };
        inputs.reduceMotion = reduceMotion;
        inputs.sprites = &sprites;
        controller = std::make_unique<PetController>(std::move(inputs), &engine);
        controller->showOnLaunch();
    }
    QString storedOrigin() const { return prefs.defaults().value(u"petOrigin"_s).toString(); }
};
} // namespace

class TestPetController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    // A stored origin is her panel's lower-left corner, measured up from the primary screen's bottom.
    void launchPlacement_data()
    {
        QTest::addColumn<QString>("stored"); // null for none
        QTest::addColumn<std::optional<QPoint>>("origin"); // where she stands; none for the bottom-right corner
        QTest::addRow("first launch: the bottom-right corner") << QString() << std::optional<QPoint>();
        QTest::addRow("stored, fractional and unspaced") << u"{10.4,20.6}"_s << std::optional(QPoint(10, 21));
        QTest::addRow("unreadable is (0, 0)") << u"somewhere"_s << std::optional(QPoint(0, 0));
        QTest::addRow("an origin off every screen is corrected and stored") << u"{99999, 99999}"_s << std::optional<QPoint>();
        // The panel's centre is still on screen there, but of her only the top of her hair.
        QTest::addRow("an origin showing only her hair is corrected") << u"{300, -250}"_s << std::optional<QPoint>();
    }
    void launchPlacement()
    {
        QFETCH(QString, stored);
        QFETCH(std::optional<QPoint>, origin);
        Fixture f(false, [stored](Preferences &p) {
            if (!stored.isNull())
                p.defaults().setValue(u"petOrigin"_s, stored);
        });
        const QRect frame = f.controller->panel()->geometry();
        const int primaryBottom = QGuiApplication::primaryScreen()->geometry().bottom() + 1;
        QCOMPARE(frame.size(), QSize(270, 372));
        QVERIFY(f.controller->panel()->isVisible() && f.controller->model()->announcing());
        if (origin) {
            QCOMPARE(frame.topLeft(), QPoint(origin->x(), primaryBottom - origin->y() - 372));
            QCOMPARE(f.storedOrigin(), stored);
            return;
        }
        QCOMPARE(frame.bottomRight(), QGuiApplication::primaryScreen()->availableGeometry().bottomRight() - QPoint(12, 8));
        // A corrected origin is written down in the form the next start reads back.
        if (stored.isNull())
            QVERIFY(f.storedOrigin().isNull());
        else
            QCOMPARE(PetController::parseOrigin(f.storedOrigin(), 372, primaryBottom), frame.topLeft());
    }

    void updateDecides_data()
    {
        QTest::addColumn<bool>("reduceMotion");
        QTest::addColumn<bool>("bubbles");
        QTest::addColumn<qint64>("secondTokens");
        QTest::addColumn<QString>("secondId");
        QTest::addColumn<bool>("animated"); // fades to the new outfit and hops
        QTest::addColumn<bool>("announces");
        // The first update shows tier 3 (92K of 200K) quietly; these are what the second one does.
        QTest::addRow("same session, same tier: nothing") << false << true << qint64(93'000) << u"a"_s << false << false;
        QTest::addRow("other session, same tier: announce only") << false << true << qint64(93'000) << u"b"_s << false << true;
        QTest::addRow("tier 3 to 4: fade, hop, announce") << false << true << qint64(124'000) << u"a"_s << true << true;
        QTest::addRow("bubbles off: no announcement") << false << false << qint64(124'000) << u"a"_s << true << false;
        QTest::addRow("reduce motion: no fade, no hop") << true << true << qint64(124'000) << u"a"_s << false << true;
    }
    void updateDecides()
    {
        QFETCH(bool, reduceMotion);
        QFETCH(bool, bubbles);
        Fixture f(reduceMotion, [bubbles](Preferences &p) { p.setSpeechBubbles(bubbles); });
        f.controller->model()->setAnnouncing(false);
        PetStageView *stage = f.controller->stage();

        f.focused = session(u"a"_s, 92'000);
        f.controller->update();
        QVERIFY(f.controller->shownTier() == 3 && stage->tier() == 3);
        QVERIFY(!stage->isFading() && !stage->isHopping() && !f.controller->model()->announcing());

        QFETCH(QString, secondId);
        QFETCH(qint64, secondTokens);
        f.focused = session(secondId, secondTokens);
        f.controller->update();
        QCOMPARE(stage->tier(), secondTokens > 93'000 ? 4 : 3);
        QTEST(stage->isFading(), "animated");
        QTEST(stage->isHopping(), "animated");
        QTEST(f.controller->model()->announcing(), "announces");
    }

    void moodAndClick_data()
    {
        QTest::addColumn<bool>("outOfReach");
        QTest::addColumn<bool>("withSession");
        QTest::addColumn<PetModel::Mood>("mood");
        QTest::addRow("a folder out of reach and nothing to show") << true << false << PetModel::Mood::blind;
        QTest::addRow("a folder out of reach, sessions elsewhere") << true << true << PetModel::Mood::working;
        QTest::addRow("nothing to show") << false << false << PetModel::Mood::empty;
    }
    void moodAndClick()
    {
        Fixture f;
        QFETCH(bool, outOfReach);
        f.outOfReach = outOfReach;
        QFETCH(bool, withSession);
        if (withSession)
            f.focused = session(u"a"_s, 50'000);
        f.controller->update();
        QTEST(f.controller->model()->mood(), "mood");

        // Whatever her mood, a click makes way for the sessions list beside her sprite.
        QSignalSpy sessions(f.controller.get(), &PetController::sessionsRequested);
        QVERIFY(f.controller->model()->announcing());
        f.controller->clicked();
        QCOMPARE(sessions.count(), 1);
        const QRect sprite = f.controller->stage()->spriteRect().translated(f.controller->panel()->position()).toAlignedRect();
        QCOMPARE(sessions.first().first().toRect(), sprite);
        QVERIFY(!f.controller->model()->announcing());
    }

    // On a Wayland session her menu opens beside the pointer, never under it, and stays on the screen.
    void menuBesidePointer_data()
    {
        QTest::addColumn<QPoint>("pointer");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QPoint>("corner");
        const QSize menu(120, 200);
        QTest::addRow("room right and below") << QPoint(100, 100) << menu << QPoint(101, 101);
        QTest::addRow("at the right edge: left of it") << QPoint(1200, 100) << menu << QPoint(1080, 101);
        QTest::addRow("at the bottom: above it") << QPoint(100, 700) << menu << QPoint(101, 500);
        QTest::addRow("in the bottom-right corner") << QPoint(1279, 799) << menu << QPoint(1159, 599);
        QTest::addRow("taller than the screen: from its top") << QPoint(100, 150) << QSize(120, 900) << QPoint(101, 0);
    }
    void menuBesidePointer()
    {
        QFETCH(QPoint, pointer);
        QFETCH(QSize, size);
        QFETCH(QPoint, corner);
        QCOMPARE(PopupDismissal::besidePointer(pointer, size, QRect(0, 0, 1280, 800)), corner);
    }

    void contextMenu()
    {
        Fixture f(false, [](Preferences &p) {
            p.setSize(Preferences::Size::large);
            p.setOutfit(Preferences::Outfit::frieren);
            p.setKeepOnTop(false);
        });
        std::unique_ptr<QMenu> menu(f.controller->contextMenu());
        const QList<QAction *> items = menu->actions();
        // Only the stored choice is checked, and picking another moves the one check there.
        const auto checked = [](const QAction *submenu) {
            QList<int> tags;
            for (const QAction *a : submenu->menu()->actions())
                if (a->isChecked())
                    tags << a->data().toInt();
            return tags;
        };
        QCOMPARE(checked(items.at(0)), QList<int> { int(Preferences::Size::large) });
        QCOMPARE(checked(items.at(1)), QList<int> { int(Preferences::Outfit::frieren) });
        QVERIFY(!items.at(2)->isChecked());
        items.at(1)->menu()->actions().at(3)->trigger();
        QCOMPARE(f.prefs.outfit(), Preferences::Outfit::halloween);
        QCOMPARE(checked(items.at(1)), QList<int> { int(Preferences::Outfit::halloween) });
        items.at(2)->trigger();
        QVERIFY(f.prefs.keepOnTop());
        QVERIFY(f.controller->panel()->flags().testFlag(Qt::WindowStaysOnTopHint));
    }

    // What she draws follows changes while she runs: the desktop's reduced motion stops her breathing and the
    // bubble's fade, the bubble is up while she announces, the percent tag goes when its setting is off.
    void followsChangesLive()
    {
        Fixture f;
        QQuickItem *overlay = f.controller->panel()->overlay();
        QVERIFY(overlay && overlay->property("animated").toBool() && f.controller->stage()->isBreathing());
        f.controller->setReduceMotion(true);
        QVERIFY(!f.controller->stage()->isBreathing() && !overlay->property("animated").toBool());
        f.controller->setReduceMotion(false);
        QVERIFY(f.controller->stage()->isBreathing() && overlay->property("animated").toBool());

        const auto shown = [overlay](const QString &name) {
            const QQuickItem *item = overlay->findChild<QQuickItem *>(name);
            return item && item->isVisible();
        };
        QTRY_VERIFY(shown(u"bubble"_s) && shown(u"tag"_s));
        f.controller->model()->setAnnouncing(false);
        f.prefs.setPercentTag(false);
        QTRY_VERIFY(!shown(u"bubble"_s) && !shown(u"tag"_s));
    }

    // Where her window's rectangle takes every click (Wayland sessions): it stays on the screens, or a window manager
    // moves it and her with it, and while the bubble is up only the bubble takes the pointer above her.
    void croppedWindow()
    {
        Fixture f;
        PetPanel *panel = f.controller->panel();
        panel->setCropToDrawn(true);
        panel->moveFrame(panel->screen()->virtualGeometry().topLeft() - QPoint(40, 10));
        QVERIFY(f.controller->model()->announcing());
        QCOMPARE(panel->coveredPart().topLeft(), QPoint(40, 10));
        const QQuickItem *bubble = panel->overlay()->findChild<QQuickItem *>(u"bubble"_s);
        QVERIFY(panel->inputRegion().contains(bubble->mapToItem(panel->overlay(), QPointF(bubble->width() / 2, 4)).toPoint()));
        QVERIFY(!panel->inputRegion().contains(QPoint(3, 3)));
    }
};

QTEST_MAIN(TestPetController)
#include "tst_petcontroller.moc"

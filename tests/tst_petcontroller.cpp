#include "dimensions.h"
#include "petcontroller.h"
#include "petmodel.h"
#include "petpanel.h"
#include "petstageview.h"
#include "qmlregistration.h"

#include <QActionGroup>
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

// A sprite-shaped bitmap: opaque except a transparent left third.
QImage fakeSprite(int, int pixelHeight)
{
    QImage image(Dimensions::spriteWidth(pixelHeight), pixelHeight, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::black);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width() / 3; ++x)
            image.setPixel(x, y, 0);
    return image;
}

// One controller over a scratch settings file, with the session she shows and the grants in the test's hands.
struct Fixture {
    QTemporaryDir dir;
    Preferences prefs { std::make_unique<QSettings>(dir.filePath(u"Yuzuha.conf"_s), QSettings::IniFormat) };
    ViewEngine engine { &prefs, nullptr, nullptr };
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
        controller = std::make_unique<PetController>(std::move(inputs), &engine);
        controller->stage()->setImageSource(fakeSprite);
    }
    QString storedOrigin() const { return prefs.defaults().value(u"petOrigin"_s).toString(); }
};

int primaryBottom()
{
    const QRect g = QGuiApplication::primaryScreen()->geometry();
    return g.y() + g.height();
}
} // namespace

class TestPetController : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void origin_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QPoint>("topLeft");
        // A 372-high panel on an 800-high primary screen.
        QTest::addRow("bottom-left 8 up") << u"{998, 8}"_s << QPoint(998, 420);
        QTest::addRow("fractional and unspaced") << u"{10.4,20.6}"_s << QPoint(10, 800 - 21 - 372);
        QTest::addRow("unreadable is (0, 0)") << u"somewhere"_s << QPoint(0, 428);
    }
    void origin()
    {
        QFETCH(QString, text);
        QFETCH(QPoint, topLeft);
        QCOMPARE(PetController::parseOrigin(text, 372, 800), topLeft);
        if (QTest::currentDataTag() == QByteArrayView("bottom-left 8 up"))
            QCOMPARE(PetController::formatOrigin(QRect(topLeft, QSize(270, 372)), 800), text);
    }

    void launchPlacement_data()
    {
        QTest::addColumn<QString>("stored"); // null for none
        QTest::addRow("first launch: the bottom-right corner") << QString();
        QTest::addRow("an origin off every screen is corrected and stored") << u"{99999, 99999}"_s;
        // The panel's centre is still on screen there, but of her only the top of her hair.
        QTest::addRow("an origin showing only her hair is corrected") << u"{300, -250}"_s;
    }
    void launchPlacement()
    {
        QFETCH(QString, stored);
        Fixture f(false, [stored](Preferences &p) {
            if (!stored.isNull())
                p.defaults().setValue(u"petOrigin"_s, stored);
        });
        f.controller->showOnLaunch();
        const QRect frame = f.controller->panel()->geometry();
        QCOMPARE(frame.size(), QSize(270, 372));
        QCOMPARE(frame.bottomRight(), QGuiApplication::primaryScreen()->availableGeometry().bottomRight() - QPoint(12, 8));
        QCOMPARE(f.storedOrigin(), stored.isNull() ? QString() : PetController::formatOrigin(frame, primaryBottom()));
        QVERIFY(f.controller->panel()->isVisible() && f.controller->model()->announcing());
        // Shown as she was stored (visible by default), without writing that down again.
        QVERIFY(!f.prefs.defaults().contains(u"petVisible"_s));
    }

    void updateDecides_data()
    {
        QTest::addColumn<bool>("reduceMotion");
        QTest::addColumn<bool>("bubbles");
        QTest::addColumn<qint64>("secondTokens");
        QTest::addColumn<QString>("secondId");
        QTest::addColumn<bool>("animated");
        QTest::addColumn<bool>("hops");
        QTest::addColumn<bool>("announces");
        // The first update shows tier 3 (92K of 200K) quietly; these are what the second one does.
        QTest::addRow("same session, same tier: nothing") << false << true << qint64(93'000) << u"a"_s << false << false << false;
        QTest::addRow("other session, same tier: announce only") << false << true << qint64(93'000) << u"b"_s << false << false << true;
        QTest::addRow("tier 3 to 4: fade, hop, announce") << false << true << qint64(124'000) << u"a"_s << true << true << true;
        QTest::addRow("bubbles off: no announcement") << false << false << qint64(124'000) << u"a"_s << true << true << false;
        QTest::addRow("reduce motion: no fade, no hop") << true << true << qint64(124'000) << u"a"_s << false << false << true;
    }
    void updateDecides()
    {
        QFETCH(bool, reduceMotion);
        QFETCH(bool, bubbles);
        Fixture f(reduceMotion, [bubbles](Preferences &p) { p.setSpeechBubbles(bubbles); });
        f.controller->showOnLaunch();
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
        QTEST(stage->isHopping(), "hops");
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
        f.controller->showOnLaunch();
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

    void contextMenu()
    {
        Fixture f(false, [](Preferences &p) {
            p.setSize(Preferences::Size::large);
            p.setOutfit(Preferences::Outfit::frieren);
            p.setKeepOnTop(false);
        });
        std::unique_ptr<QMenu> menu(f.controller->contextMenu());
        QVERIFY(!menu->actions().at(2)->isChecked());

        // Each choice carries its tag, and only the stored one is checked; Seasonal stands apart from the costumes.
        const auto checked = [](QMenu *sub) {
            QList<int> tags;
            for (const QAction *a : sub->actions())
                tags << (a->isSeparator() ? -1 : a->isChecked() ? a->data().toInt() + 100 : a->data().toInt());
            return tags;
        };
        QCOMPARE(checked(menu->actions().at(0)->menu()), (QList<int> { 0, 1, 102 }));
        QCOMPARE(checked(menu->actions().at(1)->menu()), (QList<int> { 0, -1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 114, 15 }));
        // One choice each: every item of a submenu in one exclusive group, drawn as radio items.
        for (const int sub : { 0, 1 }) {
            QSet<const QActionGroup *> groups;
            for (const QAction *a : menu->actions().at(sub)->menu()->actions())
                if (!a->isSeparator())
                    groups << a->actionGroup();
            QCOMPARE(groups.size(), 1);
            QVERIFY(*groups.begin() && (*groups.begin())->isExclusive());
        }
        menu->actions().at(1)->menu()->actions().at(3)->trigger();
        QCOMPARE(f.prefs.outfit(), Preferences::Outfit::halloween);
        menu->actions().at(2)->trigger();
        QVERIFY(f.prefs.keepOnTop());
        QVERIFY(f.controller->panel()->flags().testFlag(Qt::WindowStaysOnTopHint));
    }

    // The desktop's setting changes while she runs: breathing, hops and the bubble's fade follow it.
    void reduceMotionFollowsTheDesktop()
    {
        Fixture f;
        f.controller->showOnLaunch();
        QVERIFY(f.controller->stage()->isBreathing());
        QQuickItem *overlay = f.controller->panel()->overlay();
        QVERIFY(overlay && overlay->property("animated").toBool());

        f.controller->setReduceMotion(true);
        QVERIFY(!f.controller->stage()->isBreathing() && !overlay->property("animated").toBool());

        f.controller->setReduceMotion(false);
        QVERIFY(f.controller->stage()->isBreathing() && overlay->property("animated").toBool());
    }

    void overlayShowsTheTag()
    {
        Fixture f;
        f.focused = session(u"a"_s, 92'000);
        f.controller->showOnLaunch();
        f.controller->update();
        QQuickItem *overlay = f.controller->panel()->overlay();
        QVERIFY(overlay);
        const auto texts = [overlay] {
            QStringList found;
            for (const QQuickItem *item : overlay->findChildren<QQuickItem *>())
                if (item->isVisible() && item->property("text").isValid())
                    found << item->property("text").toString();
            return found;
        };
        QVERIFY(texts().contains(u"46%"_s));
        QTRY_VERIFY(texts().contains(u"Kata ga koru..."_s));
        f.prefs.setPercentTag(false);
        QVERIFY(!texts().contains(u"46%"_s));
    }
};

QTEST_MAIN(TestPetController)
#include "tst_petcontroller.moc"

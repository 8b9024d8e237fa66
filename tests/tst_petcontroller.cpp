#include "petcontroller.h"
#include "petmodel.h"
#include "petpanel.h"
#include "petstageview.h"

#include <QApplication>
#include <QMenu>
#include <QQuickItem>
#include <QScreen>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
Session session(QString id, qint64 tokens, qint64 window = 200'000)
{
    Session s;
    s.id = std::move(id);
    s.project = u"billing-api"_s;
    s.tokens = tokens;
    s.window = window;
    s.lastActivity = QDateTime::currentDateTimeUtc();
    return s;
}

// A sprite-shaped bitmap: opaque except a transparent left third.
QImage fakeSprite(int, int pixelHeight)
{
    QImage image(int(std::lround(pixelHeight * 427.0 / 1151.0)), pixelHeight, QImage::Format_ARGB32_Premultiplied);
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
    std::optional<Session> focused;
    bool granted = true;
    std::unique_ptr<PetController> controller;

    explicit Fixture(bool reduceMotion = false, std::function<void(Preferences &)> before = {})
    {
        if (before)
            before(prefs);
        PetController::Inputs inputs;
        inputs.preferences = &prefs;
        inputs.focused = [this] { return focused; };
        inputs.anyGranted = [this] { return granted; };
        inputs.reduceMotion = reduceMotion;
        controller = std::make_unique<PetController>(std::move(inputs));
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

    void geometryTable_data()
    {
        QTest::addColumn<Preferences::Size>("size");
        QTest::addColumn<QSizeF>("sprite");
        QTest::addColumn<QSizeF>("panel");
        QTest::addRow("small") << Preferences::Size::small << QSizeF(67, 180) << QSizeF(270, 302);
        QTest::addRow("medium") << Preferences::Size::medium << QSizeF(93, 250) << QSizeF(270, 372);
        QTest::addRow("large") << Preferences::Size::large << QSizeF(126, 340) << QSizeF(270, 462);
    }
    void geometryTable()
    {
        QFETCH(Preferences::Size, size);
        const auto g = PetController::geometry(size);
        QFETCH(QSizeF, sprite);
        QCOMPARE(g.sprite, sprite);
        QFETCH(QSizeF, panel);
        QCOMPARE(g.panel, panel);
    }

    void origin_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QPoint>("topLeft");
        // A 372-high panel on an 800-high primary screen.
        QTest::addRow("bottom-left 8 up") << u"{998, 8}"_s << QPoint(998, 420);
        QTest::addRow("fractional and unspaced") << u"{10.4,20.6}"_s << QPoint(10, 800 - 21 - 372);
        QTest::addRow("negative") << u"{-50, -10}"_s << QPoint(-50, 438);
        QTest::addRow("unreadable is (0, 0)") << u"somewhere"_s << QPoint(0, 428);
        QTest::addRow("empty is (0, 0)") << QString() << QPoint(0, 428);
    }
    void origin()
    {
        QFETCH(QString, text);
        QFETCH(QPoint, topLeft);
        QCOMPARE(PetController::parseOrigin(text, 372, 800), topLeft);
    }

    void originRoundTrips()
    {
        const QRect frame(998, 420, 270, 372);
        const QString text = PetController::formatOrigin(frame, 800);
        QCOMPARE(text, u"{998, 8}"_s);
        QCOMPARE(PetController::parseOrigin(text, 372, 800), frame.topLeft());
    }

    void visibleEnough_data()
    {
        QTest::addColumn<QRect>("frame");
        QTest::addColumn<bool>("visible");
        const QRect screen(0, 0, 1000, 800);
        QTest::addRow("inside") << QRect(100, 100, 270, 372) << true;
        QTest::addRow("60 percent off to the right still shows the centre") << QRect(1000 - 109, 100, 270, 372) << true;
        QTest::addRow("70 percent off hides the centre") << QRect(1000 - 81, 100, 270, 372) << false;
        QTest::addRow("far away") << QRect(5000, 5000, 270, 372) << false;
        Q_UNUSED(screen)
    }
    void visibleEnough()
    {
        QFETCH(QRect, frame);
        QFETCH(bool, visible);
        QCOMPARE(PetController::visibleEnough(frame, { QRect(0, 0, 1000, 800) }), visible);
    }

    void launchPlacesHerInTheCorner()
    {
        Fixture f;
        f.controller->showOnLaunch();
        const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
        const QRect frame = f.controller->panel()->geometry();
        QCOMPARE(frame.size(), QSize(270, 372));
        QCOMPARE(frame.right() + 1, available.right() + 1 - 12);
        QCOMPARE(frame.bottom() + 1, available.bottom() + 1 - 8);
        QVERIFY(f.controller->panel()->isVisible());
        QVERIFY(f.controller->model()->announcing());
        QVERIFY(f.prefs.defaults().value(u"petVisible"_s).toBool());
    }

    void unreadableOriginIsCorrected()
    {
        // (0, 0) in stored coordinates is the primary screen's bottom-left, which is on screen; far away is not.
        Fixture f(false, [](Preferences &p) { p.defaults().setValue(u"petOrigin"_s, u"{99999, 99999}"_s); });
        f.controller->showOnLaunch();
        const QRect available = QGuiApplication::primaryScreen()->availableGeometry();
        QCOMPARE(f.controller->panel()->geometry().right() + 1, available.right() + 1 - 12);
        QCOMPARE(f.storedOrigin(), PetController::formatOrigin(f.controller->panel()->geometry(), primaryBottom()));

        Fixture g(false, [](Preferences &p) { p.defaults().setValue(u"petOrigin"_s, u"garbage"_s); });
        g.controller->showOnLaunch();
        QCOMPARE(g.controller->panel()->geometry().topLeft(), QPoint(0, primaryBottom() - 372));
    }

    void resizeKeepsBottomCentre()
    {
        Fixture f(false, [](Preferences &p) { p.setSize(Preferences::Size::large); });
        f.controller->showOnLaunch();
        const QRect before = f.controller->panel()->geometry();
        f.controller->pickSize(0);
        QTRY_COMPARE(f.controller->panel()->geometry().height(), 302);
        const QRect after = f.controller->panel()->geometry();
        QCOMPARE(after.width(), 270);
        QCOMPARE(after.bottom(), before.bottom());
        QCOMPARE(after.center().x(), before.center().x());
    }

    void dragEndStoresOrigin()
    {
        Fixture f;
        f.controller->showOnLaunch();
        f.controller->panel()->setPosition(100, 200);
        f.controller->moved();
        QCOMPARE(f.storedOrigin(), u"{100, %1}"_s.arg(primaryBottom() - 200 - 372));
    }

    void updateDecides_data()
    {
        QTest::addColumn<bool>("reduceMotion");
        QTest::addColumn<bool>("bubbles");
        QTest::addColumn<qint64>("secondTokens");
        QTest::addColumn<QString>("secondId");
        QTest::addColumn<bool>("rerenders");
        QTest::addColumn<bool>("animated");
        QTest::addColumn<bool>("hops");
        QTest::addColumn<bool>("announces");
        // The first update shows tier 3 (92K of 200K) quietly; these are what the second one does.
        QTest::addRow("same session, same tier: nothing") << false << true << qint64(93'000) << u"a"_s << false << false << false << false;
        QTest::addRow("other session, same tier: announce only") << false << true << qint64(93'000) << u"b"_s << false << false << false << true;
        QTest::addRow("tier 3 to 4: fade, hop, announce") << false << true << qint64(124'000) << u"a"_s << true << true << true << true;
        QTest::addRow("bubbles off: no announcement") << false << false << qint64(124'000) << u"a"_s << true << true << true << false;
        QTest::addRow("reduce motion: no fade, no hop") << true << true << qint64(124'000) << u"a"_s << true << false << false << true;
    }
    void updateDecides()
    {
        QFETCH(bool, reduceMotion);
        QFETCH(bool, bubbles);
        Fixture f(reduceMotion, [bubbles](Preferences &p) { p.setSpeechBubbles(bubbles); });
        f.controller->showOnLaunch();
        QSignalSpy applied(f.controller.get(), &PetController::contentsApplied);
        QSignalSpy hopped(f.controller.get(), &PetController::hopped);
        QSignalSpy announced(f.controller.get(), &PetController::announced);

        f.focused = session(u"a"_s, 92'000);
        f.controller->update();
        QCOMPARE(applied.count(), 1);
        QCOMPARE(applied.takeFirst(), (QVariantList { 3, false }));
        QCOMPARE(hopped.count(), 0);
        QCOMPARE(announced.count(), 0);
        QCOMPARE(f.controller->shownTier(), 3);

        QFETCH(QString, secondId);
        QFETCH(qint64, secondTokens);
        f.focused = session(secondId, secondTokens);
        f.controller->update();
        QFETCH(bool, rerenders);
        QFETCH(bool, animated);
        QCOMPARE(applied.count(), rerenders ? 1 : 0);
        if (rerenders)
            QCOMPARE(applied.first().at(1).toBool(), animated);
        QFETCH(bool, hops);
        QCOMPARE(hopped.count(), hops ? 1 : 0);
        QFETCH(bool, announces);
        QCOMPARE(announced.count(), announces ? 1 : 0);
        if (announces)
            QCOMPARE(announced.first().first().toInt(), 7);
        QCOMPARE(f.controller->stage()->isFading(), animated);
    }

    void moodAndClick_data()
    {
        QTest::addColumn<bool>("granted");
        QTest::addColumn<bool>("withSession");
        QTest::addColumn<PetModel::Mood>("mood");
        QTest::addRow("no grant is blind even with sessions") << false << true << PetModel::Mood::blind;
        QTest::addRow("granted, nothing to show") << true << false << PetModel::Mood::empty;
        QTest::addRow("granted with a session") << true << true << PetModel::Mood::working;
    }
    void moodAndClick()
    {
        QFETCH(bool, granted);
        Fixture f;
        f.granted = granted;
        QFETCH(bool, withSession);
        if (withSession)
            f.focused = session(u"a"_s, 50'000);
        f.controller->showOnLaunch();
        f.controller->update();
        QFETCH(PetModel::Mood, mood);
        QCOMPARE(f.controller->model()->mood(), mood);

        QSignalSpy welcome(f.controller.get(), &PetController::welcomeRequested);
        QSignalSpy sessions(f.controller.get(), &PetController::sessionsRequested);
        QVERIFY(f.controller->model()->announcing());
        f.controller->clicked();
        QCOMPARE(welcome.count(), mood == PetModel::Mood::blind ? 1 : 0);
        QCOMPARE(sessions.count(), mood == PetModel::Mood::blind ? 0 : 1);
        // The bubble makes way for the sessions list, but not for the welcome window.
        QCOMPARE(f.controller->model()->announcing(), mood == PetModel::Mood::blind);
    }

    void popoverSide()
    {
        Fixture f;
        f.controller->showOnLaunch();
        const QRect available = f.controller->panel()->screen()->availableGeometry();
        f.controller->panel()->setPosition(available.right() - 400, 100);
        QCOMPARE(f.controller->popoverEdge(), Qt::LeftEdge);
        f.controller->panel()->setPosition(available.center().x() - 135, 100);
        QCOMPARE(f.controller->popoverEdge(), Qt::RightEdge);
        f.controller->panel()->setPosition(10, 100);
        QCOMPARE(f.controller->popoverEdge(), Qt::RightEdge);
    }

    void contextMenu()
    {
        Fixture f(false, [](Preferences &p) {
            p.setSize(Preferences::Size::large);
            p.setOutfit(Preferences::Outfit::frieren);
            p.setKeepOnTop(false);
        });
        std::unique_ptr<QMenu> menu(f.controller->contextMenu());
        QStringList titles;
        for (const QAction *a : menu->actions())
            titles << (a->isSeparator() ? u"-"_s : a->text());
        QCOMPARE(titles, (QStringList { u"Size"_s, u"Outfit"_s, u"Keep on Top"_s, u"-"_s, u"Hide Yuzuha"_s, u"Settings\u2026"_s, u"-"_s, u"Quit Yuzuha"_s }));
        QVERIFY(!menu->actions().at(2)->isChecked());

        const QList<QAction *> sizes = menu->actions().at(0)->menu()->actions();
        QCOMPARE(sizes.size(), 3);
        for (int i = 0; i < 3; ++i) {
            QCOMPARE(sizes.at(i)->data().toInt(), i);
            QCOMPARE(sizes.at(i)->isChecked(), i == 2);
        }

        QList<QAction *> outfits = menu->actions().at(1)->menu()->actions();
        QCOMPARE(outfits.size(), 17);
        QVERIFY(outfits.at(1)->isSeparator());
        QCOMPARE(outfits.at(0)->text(), u"Seasonal"_s);
        outfits.removeAt(1);
        for (int i = 0; i < 16; ++i) {
            QCOMPARE(outfits.at(i)->data().toInt(), i);
            QCOMPARE(outfits.at(i)->text(), Preferences::label(Preferences::allOutfits[size_t(i)]));
            QCOMPARE(outfits.at(i)->isChecked(), Preferences::allOutfits[size_t(i)] == Preferences::Outfit::frieren);
        }

        outfits.at(2)->trigger();
        QCOMPARE(f.prefs.outfit(), Preferences::Outfit::halloween);
        menu->actions().at(2)->trigger();
        QVERIFY(f.prefs.keepOnTop());
        QVERIFY(f.controller->panel()->flags().testFlag(Qt::WindowStaysOnTopHint));
    }

    void pickTags_data()
    {
        QTest::addColumn<int>("tag");
        QTest::addColumn<Preferences::Size>("size");
        QTest::addRow("0 small") << 0 << Preferences::Size::small;
        QTest::addRow("1 medium") << 1 << Preferences::Size::medium;
        QTest::addRow("2 large") << 2 << Preferences::Size::large;
        QTest::addRow("unknown tag medium") << 7 << Preferences::Size::medium;
    }
    void pickTags()
    {
        QFETCH(int, tag);
        Fixture f(false, [](Preferences &p) { p.setSize(Preferences::Size::small); });
        f.controller->pickSize(tag == 0 ? 2 : 0);
        f.controller->pickSize(tag);
        QFETCH(Preferences::Size, size);
        QCOMPARE(f.prefs.size(), size);
        f.controller->pickOutfit(15);
        f.controller->pickOutfit(16);
        f.controller->pickOutfit(-1);
        QCOMPARE(f.prefs.outfit(), Preferences::Outfit::seifuku);
    }

    void hoveringAndInputRegion()
    {
        Fixture f;
        f.controller->showOnLaunch();
        f.controller->model()->setAnnouncing(false);
        const QRectF sprite = f.controller->stage()->spriteRect();
        QCOMPARE(sprite.size(), QSizeF(93, 250));
        QCOMPARE(sprite.bottom(), 372.0 - 30);
        const QPointF onHer(sprite.right() - 5, sprite.center().y());
        const QPointF beside(sprite.left() + 5, sprite.center().y());
        const QPoint bandPoint(20, 40);
        QVERIFY(!f.controller->panel()->inputRegion().contains(bandPoint));

        f.controller->pointerMoved(beside);
        QVERIFY(!f.controller->model()->hovering());
        f.controller->pointerMoved(onHer);
        QVERIFY(f.controller->model()->hovering());
        QVERIFY(f.controller->panel()->inputRegion().contains(bandPoint));
        f.controller->pointerMoved(QPointF(onHer.x(), 40));
        QVERIFY(f.controller->model()->hovering());
        f.controller->pointerLeft();
        QVERIFY(!f.controller->model()->hovering());
        QVERIFY(!f.controller->panel()->inputRegion().contains(bandPoint));
        QVERIFY(f.controller->panel()->inputRegion().contains(onHer.toPoint()));
        QVERIFY(!f.controller->panel()->inputRegion().contains(beside.toPoint()));

        f.prefs.setPercentTag(false);
        QVERIFY(!f.controller->panel()->inputRegion().contains(QPoint(135, 360)));
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

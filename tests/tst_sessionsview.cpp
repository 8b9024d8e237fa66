#include "dimensions.h"
#include "qmlregistration.h"
#include "quickdriver.h"
#include "sessionlistmodel.h"
#include "sessionspopover.h"
#include "testsupport.h"

#include <QQmlEngine>
#include <QQuickView>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using QuickDriver::click;
using QuickDriver::find;
using TestSupport::session;

namespace
{
Session numbered(int n, std::optional<qint64> tokens = 84'000)
{
    return session(u"project-%1"_s.arg(n), tokens, 200'000, QDateTime::currentDateTime().addSecs(-60 * n));
}

// The view as the popover hosts it, over a model the test feeds and folders the test opens or shuts.
struct Hosted {
    bool codexShut = false;
    FleetAccess access { u"/h"_s,
        [this](const QString &path) { return codexShut && path == u"/h/.codex/sessions"_s ? FleetAccess::State::unreadable : FleetAccess::State::readable; } };
    ViewEngine engine { nullptr, &access, nullptr };
    SessionListModel model;
    QQuickView view { &engine, nullptr };

    Hosted()
    {
        view.setResizeMode(QQuickView::SizeViewToRootObject);
        view.setInitialProperties({ { u"sessions"_s, QVariant::fromValue(&model) }, { u"popover"_s, QVariant::fromValue<SessionsPopover *>(nullptr) } });
        view.setSource(QUrl(u"qrc:/qt/qml/Yuzuha/SessionsView.qml"_s));
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));
    }
    QQuickItem *find(const QString &name) const { return QuickDriver::find(view.rootObject(), name); }
};
} // namespace

class SessionsViewTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QStandardPaths::setTestModeEnabled(true); }

    void row_data()
    {
        QTest::addColumn<Session>("session");
        QTest::addColumn<bool>("pinned");
        QTest::addColumn<QString>("percent");
        QTest::addColumn<QString>("badge");
        Session codex = numbered(3, std::nullopt);
        codex.provider = Provider::codex;
        QTest::addRow("a Claude session") << numbered(3) << false << u"42%"_s << u"CLAUDE"_s;
        QTest::addRow("a Codex session without a reply") << codex << false << u"0%"_s << u"CODEX"_s;
        QTest::addRow("pinned and followed") << numbered(3) << true << u"42%"_s << u"CLAUDE"_s;
    }
    void row()
    {
        QFETCH(Session, session);
        QFETCH(bool, pinned);
        Hosted hosted;
        const std::optional<QString> pin = pinned ? std::optional(session.id) : std::nullopt;
        hosted.model.update({ session }, pin, pin);

        QTRY_VERIFY(hosted.find(u"project"_s));
        QCOMPARE(hosted.find(u"project"_s)->property("text").toString(), session.project);
        QTEST(hosted.find(u"meterPercent"_s)->property("text").toString(), "percent");
        QTEST(hosted.find(u"providerBadge"_s)->childItems().first()->property("text").toString(), "badge");
        QCOMPARE(hosted.find(u"pinMark"_s) != nullptr, pinned);
        QQuickItem *row = hosted.find(u"sessionRow"_s);
        QCOMPARE(row->property("followed").toBool(), pinned);
        QCOMPARE(row->property("toolTipText").toString(), pinned ? u"Click to stop following this session"_s : u"Click to make her follow this session"_s);
    }

    void namesTheFolderSheCannotRead()
    {
        Hosted hosted;
        QVERIFY(!hosted.find(u"unreadableText"_s));
        hosted.codexShut = true;
        hosted.access.check();
        const QQuickItem *notice = hosted.find(u"unreadableText"_s);
        QVERIFY(notice && notice->property("text").toString().startsWith(u"She cannot read ~/.codex/sessions:"_s));
    }

    void edge_data()
    {
        QTest::addColumn<QRect>("panel");
        QTest::addColumn<Qt::Edge>("edge");
        QTest::addRow("right half opens to her left") << QRect(1000, 400, 270, 372) << Qt::LeftEdge;
        QTest::addRow("exactly centred opens to her right") << QRect(505, 400, 270, 372) << Qt::RightEdge;
        QTest::addRow("half a pixel right of centre opens to her left") << QRect(505, 400, 271, 372) << Qt::LeftEdge;
    }
    void edge()
    {
        QFETCH(QRect, panel);
        QTEST(Dimensions::popoverEdge(panel, QRect(0, 0, 1280, 800)), "edge");
    }

    void placement_data()
    {
        QTest::addColumn<QRect>("sprite");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<Qt::Edge>("edge");
        QTest::addColumn<QRect>("expected");
        const int g = Dimensions::popoverGap;
        // Her panel is 270 wide with the 92-high bubble band on top of the sprite; the screen 1280 × 800.
        QTest::addRow("left of her, centred on her") << QRect(1100, 300, 93, 250) << QSize(339, 200) << Qt::LeftEdge << QRect(1100 - g - 339, 325, 339, 200);
        QTest::addRow("right of her") << QRect(100, 92, 93, 250) << QSize(339, 200) << Qt::RightEdge << QRect(193 + g, 117, 339, 200);
        QTest::addRow("taller than her: below the bubble band")
            << QRect(1100, 300, 93, 250) << QSize(339, 400) << Qt::LeftEdge << QRect(1100 - g - 339, 300 + g, 339, 400);
        QTest::addRow("no room below the band: beside the whole band")
            << QRect(1100, 450, 93, 250) << QSize(339, 500) << Qt::LeftEdge << QRect(1012 - g - 339, 300, 339, 500);
        QTest::addRow("kept inside the left edge") << QRect(200, 300, 93, 250) << QSize(339, 200) << Qt::LeftEdge << QRect(0, 325, 339, 200);
    }
    void placement()
    {
        QFETCH(QRect, sprite);
        QFETCH(QSize, size);
        QFETCH(Qt::Edge, edge);
        const QRect band(sprite.center().x() - 135 + 1, sprite.top() - 92, 270, 92);
        QTEST(SessionsPopover::placement(sprite, band, size, edge, QRect(0, 0, 1280, 800)), "expected");
    }

    void popoverPinsThroughTheWatcher()
    {
        // Over a real watcher: a click on a row follows it, a second click lets go, and so does the pill.
        QTemporaryDir dir;
        const QString shopLog = dir.filePath(u".claude/projects/-home-u/one.jsonl"_s);
        TestSupport::writeFile(shopLog, TestSupport::claudeTokens(60'000, "m", "/home/u/shop") + '\n');
        TestSupport::writeFile(dir.filePath(u".claude/projects/-home-u/two.jsonl"_s), TestSupport::claudeTokens(150'000, "m", "/home/u/web") + '\n');
        SessionWatcher watcher(TestSupport::watcherConfig(dir.path()));
        QSignalSpy published(&watcher, &SessionWatcher::sessionsChanged);
        watcher.start();
        QVERIFY(published.wait(5'000));

        FleetAccess access(dir.path());
        ViewEngine engine(nullptr, &access, nullptr);
        SessionsPopover popover(&watcher, &engine);
        popover.toggle(nullptr, QRect(900, 300, 93, 250));
        QQuickView *window = popover.window();
        QPointer<QQuickView> guard(window);
        QVERIFY(QTest::qWaitForWindowExposed(window));
        QCOMPARE(popover.model()->rowCount(), 2);
        const auto rowOf = [&](const QString &project) -> QQuickItem * {
            for (QQuickItem *row : QuickDriver::findAll(window->rootObject(), u"sessionRow"_s))
                if (row->property("project").toString() == project)
                    return row;
            return nullptr;
        };
        QQuickItem *shop = rowOf(u"shop"_s);
        QVERIFY(shop);
        // The fullest session is followed without a pin.
        QVERIFY(rowOf(u"web"_s)->property("followed").toBool() && !shop->property("followed").toBool());

        click(shop);
        QCOMPARE(watcher.pinnedID(), std::optional(shopLog));
        QTRY_VERIFY(shop->property("pinned").toBool());
        QVERIFY(shop->property("followed").toBool() && !rowOf(u"web"_s)->property("followed").toBool());
        click(shop);
        QCOMPARE(watcher.pinnedID(), std::nullopt);
        QVERIFY(!shop->property("pinned").toBool());
        click(shop);
        QVERIFY(watcher.pinnedID());
        click(find(window->rootObject(), u"followPill"_s));
        QCOMPARE(watcher.pinnedID(), std::nullopt);

        // Escape closes it at once, and its window goes once it has faded out.
        QSignalSpy closed(&popover, &SessionsPopover::closed);
        QTest::keyClick(window, Qt::Key_Escape);
        QCOMPARE(closed.size(), 1);
        QVERIFY(!popover.isShown());
        QTRY_VERIFY(guard.isNull());
    }
};

QTEST_MAIN(SessionsViewTest)
#include "tst_sessionsview.moc"

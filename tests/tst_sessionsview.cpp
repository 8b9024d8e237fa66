#include "dimensions.h"
#include "qmlregistration.h"
#include "quickdriver.h"
#include "sessionspopover.h"
#include "testsupport.h"

#include <QQuickView>
#include <QSignalSpy>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using QuickDriver::click;
using QuickDriver::find;

class SessionsViewTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void edge_data()
    {
        QTest::addColumn<QRect>("panel");
        QTest::addColumn<Qt::Edge>("edge");
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

    // Over a real watcher: each row shows its own session, a click on a row follows it, a second click lets
    // go, and so does the pill; a folder she cannot read is named; Escape closes it.
    void popoverOverTheWatcher()
    {
        QTemporaryDir dir;
        const QString shopLog = dir.filePath(u".claude/projects/-home-u/one.jsonl"_s);
        TestSupport::writeFile(shopLog, TestSupport::claudeTokens(60'000, "m", "/home/u/shop") + '\n');
        TestSupport::writeFile(dir.filePath(u".claude/projects/-home-u/two.jsonl"_s), TestSupport::claudeTokens(150'000, "m", "/home/u/web") + '\n');
        const QByteArray codex = TestSupport::lines({ TestSupport::codexMeta("/home/u/cli"), TestSupport::codexTokens(25'840) });
        TestSupport::writeFile(dir.filePath(u".codex/sessions/2026/11/22/r.jsonl"_s), codex);
        SessionWatcher watcher(TestSupport::watcherConfig(dir.path()));
        QSignalSpy published(&watcher, &SessionWatcher::sessionsChanged);
        watcher.start();
        QVERIFY(published.wait(5'000));

        bool codexShut = false;
        FleetAccess access(dir.path(), [&](const QString &path) {
            return codexShut && path.endsWith(u"/.codex/sessions"_s) ? FleetAccess::State::unreadable : FleetAccess::State::readable;
        });
        ViewEngine engine(nullptr, &access, nullptr);
        SessionsPopover popover(&watcher, &engine);
        popover.toggle(nullptr, QRect(900, 300, 93, 250));
        QQuickView *window = popover.window();
        QPointer<QQuickView> guard(window);
        QVERIFY(QTest::qWaitForWindowExposed(window));
        const auto rowOf = [&](const QString &project) -> QQuickItem * {
            for (QQuickItem *row : QuickDriver::findAll(window->rootObject(), u"sessionRow"_s))
                if (row->property("project").toString() == project)
                    return row;
            return nullptr;
        };
        for (const auto &[project, badge, percent] :
            { std::tuple { u"shop"_s, u"CLAUDE"_s, u"30%"_s }, { u"web"_s, u"CLAUDE"_s, u"75%"_s }, { u"cli"_s, u"CODEX"_s, u"10%"_s } }) {
            QQuickItem *row = rowOf(project);
            QVERIFY(row && find(row, u"project"_s)->property("text") == project);
            QCOMPARE(find(row, u"providerBadge"_s)->childItems().first()->property("text").toString(), badge);
            QCOMPARE(find(row, u"meterPercent"_s)->property("text").toString(), percent);
        }

        // The fullest session is followed without a pin.
        QQuickItem *shop = rowOf(u"shop"_s);
        QVERIFY(rowOf(u"web"_s)->property("followed").toBool() && !shop->property("followed").toBool());
        click(shop);
        QCOMPARE(watcher.pinnedID(), std::optional(shopLog));
        QTRY_VERIFY(find(shop, u"pinMark"_s));
        QVERIFY(shop->property("followed").toBool() && !rowOf(u"web"_s)->property("followed").toBool());
        click(shop);
        QCOMPARE(watcher.pinnedID(), std::nullopt);
        QVERIFY(!find(shop, u"pinMark"_s));
        click(shop);
        QVERIFY(watcher.pinnedID());
        click(find(window->rootObject(), u"followPill"_s));
        QCOMPARE(watcher.pinnedID(), std::nullopt);

        QVERIFY(!find(window->rootObject(), u"unreadableText"_s));
        codexShut = true;
        access.check();
        const QQuickItem *notice = find(window->rootObject(), u"unreadableText"_s);
        QVERIFY(notice && notice->property("text").toString().startsWith(u"She cannot read ~/.codex/sessions:"_s));

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

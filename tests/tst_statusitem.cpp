#include "statusitemcontroller.h"
#include "testsupport.h"

#include <QMenu>
#include <QSignalSpy>
#include <QSystemTrayIcon>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using State = StatusItemController::State;
using TestSupport::session;

namespace
{
// One line per item: its text, then [x] or [ ] when checkable, (off) when disabled and the shortcut.
QStringList describe(const QMenu &menu)
{
    QStringList lines;
    for (const QAction *action : menu.actions()) {
        QString line = action->isSeparator() ? u"-"_s : action->text();
        if (action->isCheckable())
            line += action->isChecked() ? u" [x]"_s : u" [ ]"_s;
        if (!action->isEnabled() && !action->isSeparator())
            line += u" (off)"_s;
        if (!action->shortcut().isEmpty())
            line += u" "_s + action->shortcut().toString(QKeySequence::PortableText);
        lines.append(line);
    }
    return lines;
}

/// The whole menu: the focused session's line, the session items, and the fixed items below them.
QStringList menuOf(const QString &line, const QStringList &items)
{
    return QStringList { line + u" (off)"_s, u"-"_s } + items
        + QStringList { u"-"_s, u"Hide Yuzuha"_s, u"Settings\u2026 Ctrl+,"_s, u"-"_s, u"Quit Yuzuha Ctrl+Q"_s };
}

QAction *itemFor(const QMenu &menu, const QString &id)
{
    for (QAction *action : menu.actions())
        if (action->data() == id)
            return action;
    return nullptr;
}
} // namespace

class StatusItemTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void menu_data()
    {
        QTest::addColumn<State>("state");
        QTest::addColumn<QStringList>("expected");
        const Session api = session(u"api-server"_s, 84'000);
        const Session scratch = session(u"scratch"_s, std::nullopt);
        const Session full = session(u"web"_s, 190'000);
        const QString calm = u"Makasete!  Leave it to me!"_s, tired = u"Chotto tsukareta kamo.  I might be a little tired."_s;
        const QString indent = u"\u2003\u2003"_s;
        const QString apiItem = indent + u"api-server  42%  (84K)"_s, webItem = indent + u"web  95%  (190K) [ ]"_s;

        QTest::addRow("no sessions, a folder she cannot read") << State { std::nullopt, {}, std::nullopt, { u"~/.codex/sessions"_s }, true }
                                                               << menuOf(calm, { u"No sessions today (off)"_s, u"Cannot read ~/.codex/sessions (off)"_s });
        QTest::addRow("following the fullest") << State { full, { full, api, scratch }, std::nullopt, {}, true }
                                               << menuOf(u"Kyou wa koko made. Oyasumi!  That's it for today. Good night!"_s,
                                                      { u"Follow the Fullest [x]"_s, webItem, apiItem + u" [ ]"_s, indent + u"scratch  0%  (fresh) [ ]"_s });
        // A project name is the folder's name; an ampersand in it must print, not underline the next letter.
        const Session rnd = session(u"R&D"_s, 84'000);
        QTest::addRow("a pinned session, an ampersand in its project")
            << State { rnd, { full, rnd }, rnd.id, {}, true } << menuOf(tired, { u"Follow the Fullest [ ]"_s, webItem, indent + u"R&&D  42%  (84K) [x]"_s });
    }

    void menu()
    {
        QFETCH(State, state);
        QMenu menu;
        menu.addAction(u"left over from the last opening"_s);
        StatusItemController::populate(&menu, state);
        QTEST(describe(menu), "expected");
    }

    // A long project name is cut in the middle, so one session does not stretch the menu.
    void longProjectIsCutInTheMiddle()
    {
        const QString name = u"quarterly-reporting-pipeline-migration-for-the-finance-team-2026-edition"_s;
        const QFontMetrics metrics = QMenu().fontMetrics();
        const QString cut = StatusItemController::sessionText(session(name, 84'000), metrics);
        const QString project = cut.section(u"  "_s, 0, 0);
        QVERIFY(project.contains(u'\u2026') && project.startsWith(u"quarterly"_s) && project.endsWith(u"edition"_s));
        QVERIFY(metrics.horizontalAdvance(project) <= StatusItemController::menuProjectWidth);
        QVERIFY(cut.endsWith(u"  42%  (84K)"_s));
    }

    // Over a real watcher: the tooltip and icon show the focused session; in the menu a session's item follows
    // it, choosing it again lets go, and Follow the Fullest drops any pin.
    void followsTheWatcher()
    {
        QTemporaryDir dir;
        const QString api = dir.filePath(u".claude/projects/-home-u-api-server/one.jsonl"_s);
        const QString web = dir.filePath(u".claude/projects/-home-u-web/two.jsonl"_s);
        QVERIFY(!TestSupport::writeFile(api, TestSupport::claudeTokens(150'000, "m", "/home/u/api-server") + '\n').isEmpty());
        QVERIFY(!TestSupport::writeFile(web, TestSupport::claudeTokens(20'000, "m", "/home/u/web") + '\n').isEmpty());

        SessionWatcher watcher(TestSupport::watcherConfig(dir.path()));
        StatusItemController controller(&watcher, nullptr, nullptr, {});
        QCOMPARE(controller.trayIcon()->toolTip(), u"Yuzuha"_s);
        const qint64 emptyIcon = controller.trayIcon()->icon().cacheKey();
        QSignalSpy published(&watcher, &SessionWatcher::sessionsChanged);
        watcher.start();
        QVERIFY(published.wait(5'000));
        controller.refresh();
        QCOMPARE(controller.trayIcon()->toolTip(), u"Yuzuha: api-server, 75% of the context window"_s);
        QVERIFY(controller.trayIcon()->icon().cacheKey() != emptyIcon);

        // Each pick (none: Follow the Fullest) on a freshly opened menu, and the pin it leaves.
        using Step = std::pair<QString, std::optional<QString>>;
        for (const auto &[pick, pinned] : { Step { web, web }, Step { web, std::nullopt }, Step { api, api }, Step { {}, std::nullopt } }) {
            Q_EMIT controller.menu()->aboutToShow();
            (pick.isEmpty() ? controller.menu()->actions().at(2) : itemFor(*controller.menu(), pick))->trigger();
            QCOMPARE(watcher.pinnedID(), pinned);
        }
    }
};

QTEST_MAIN(StatusItemTest)
#include "tst_statusitem.moc"

#include "logfile.h"
#include "sessionscan.h"
#include "testsupport.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <sched.h>

#include <atomic>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace TestSupport;

Q_DECLARE_METATYPE(Journal::Reading)

namespace
{
const QDateTime epoch = QDateTime(QDate(2026, 11, 22), QTime(10, 0), Qt::UTC);

constexpr qint64 minute = 60'000;
constexpr qint64 hour = 60 * minute;
} // namespace

class TestSessionWatcher : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QString home() const { return m_dir->path(); }
    /// A clock the test moves by hand; the worker thread reads it.
    std::shared_ptr<std::atomic<qint64>> m_now;
    SessionScan::Clock clock() const
    {
        return [now = m_now] { return QDateTime::fromMSecsSinceEpoch(now->load(), Qt::UTC); };
    }
    SessionScan scan()
    {
        return SessionScan(watcherConfig(home()).snapshots, clock(), [](qsizetype, qsizetype) {});
    }
    /// Writes a log below the home folder, dated `ageMs` before the epoch.
    QString writeLog(const QString &relative, const QByteArray &bytes, qint64 ageMs)
    {
        return writeFile(home() + u'/' + relative, bytes, epoch.addMSecs(-ageMs));
    }

private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_now = std::make_shared<std::atomic<qint64>>(epoch.toMSecsSinceEpoch());
    }

    void discovery_data()
    {
        QTest::addColumn<QString>("relative");
        QTest::addColumn<QString>("kind");
        QTest::addColumn<qint64>("ageMs");
        QTest::addColumn<bool>("candidate");
        const QString p = u".claude/projects/-Users-a-shop/"_s;
        QTest::addRow("a Codex log deep below its folder") << u".codex/sessions/2026/11/22/r.jsonl"_s << u"file"_s << 5 * minute << true;
        QTest::addRow("modified 24 h 1 s ago") << p + u"a.jsonl"_s << u"file"_s << 24 * hour + 1'000 << false;
        QTest::addRow("extension json") << p + u"a.json"_s << u"file"_s << minute << false;
        QTest::addRow("below a subagents folder") << p + u"subagents/a.jsonl"_s << u"file"_s << minute << false;
        QTest::addRow("a hidden file") << p + u".a.jsonl"_s << u"file"_s << minute << false;
        QTest::addRow("a FIFO named like a log") << p + u"x.jsonl"_s << u"fifo"_s << minute << false;
        QTest::addRow("a symbolic link to a log") << p + u"x.jsonl"_s << u"symlink"_s << minute << false;
        QTest::addRow("a log behind a symbolic link to a folder") << p + u"linked/a.jsonl"_s << u"dirlink"_s << minute << false;
        QTest::addRow("a log outside the agent folders") << u".claude/a.jsonl"_s << u"file"_s << minute << false;
    }
    void discovery()
    {
        QFETCH(QString, relative);
        QFETCH(QString, kind);
        QFETCH(qint64, ageMs);
        QFETCH(bool, candidate);
        const QString path = home() + u'/' + relative;
        const QString parent = QFileInfo(path).path();
        QVERIFY(QDir().mkpath(kind == u"dirlink" ? QFileInfo(parent).path() : parent));
        const QString elsewhere = writeLog(u"elsewhere/a.jsonl"_s, claudeTokens(1'000), ageMs);
        if (kind == u"file")
            QVERIFY(!writeLog(relative, claudeTokens(1'000), ageMs).isEmpty());
        else if (kind == u"fifo")
            QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        else
            QVERIFY(QFile::link(kind == u"symlink" ? elsewhere : QFileInfo(elsewhere).path(), kind == u"symlink" ? path : parent));
        SessionScan s = scan();
        const QList<Session> sessions = s.pass(0);
        QCOMPARE(s.candidates().size(), int(candidate));
        QCOMPARE(sessions.size() == 1 ? sessions.first().id : QString(), candidate ? path : QString());
    }

    void sweepTiming()
    {
        SessionScan s = scan();
        QCOMPARE(s.pass(0).size(), 0);
        writeLog(u".claude/projects/-a-b/new.jsonl"_s, claudeTokens(500), 0);
        *m_now += 59'000;
        QCOMPARE(s.pass(0).size(), 0); // no sweep within the minute
        s.forceSweep();
        QCOMPARE(s.pass(0).size(), 1);
        writeLog(u".claude/projects/-a-b/other.jsonl"_s, claudeTokens(500), 0);
        *m_now += 61'000;
        QCOMPARE(s.pass(0).size(), 2); // more than a minute since the last sweep
    }

    // A log leaves the list 24 h after its last write, one without a count yet after 20 min,
    // even between sweeps.
    void windowsCloseBetweenSweeps()
    {
        writeLog(u".claude/projects/-a-b/old.jsonl"_s, claudeTokens(500), 24 * hour - 20'000);
        writeLog(u".claude/projects/-a-b/fresh.jsonl"_s, "{\"type\":\"user\"}\n", 20 * minute - 40'000);
        SessionScan s = scan();
        QCOMPARE(s.pass(0).size(), 2);
        *m_now += 30'000;
        const QList<Session> left = s.pass(0);
        QCOMPARE(s.candidates().size(), 2);
        QCOMPARE(left.size(), 1);
        QCOMPARE(left.first().tokens, std::nullopt);
        *m_now += 20'000;
        QCOMPARE(s.pass(0).size(), 0);
    }

    // Named against their age, so that the 12 most recent are not simply the first 12 found.
    void listLimitKeepsTheMostRecent()
    {
        for (int i = 0; i < 15; ++i)
            writeLog(u".claude/projects/-a-b/s%1.jsonl"_s.arg(i, 2, 10, QChar(u'0')), claudeTokens(1'000), (14 - i) * minute);
        const QList<Session> sessions = scan().pass(0);
        QCOMPARE(sessions.size(), 12);
        for (int i = 0; i < 12; ++i)
            QCOMPARE(QFileInfo(sessions[i].id).fileName(), u"s%1.jsonl"_s.arg(14 - i, 2, 10, QChar(u'0')));
    }

    // The window a session is counted against: the model's, raised or replaced by a bedtime.
    void windowRules_data()
    {
        QTest::addColumn<bool>("codex");
        QTest::addColumn<Journal::Reading>("reading");
        QTest::addColumn<qint64>("bedtime");
        QTest::addColumn<qint64>("window");
        const QString sonnet = u"claude-sonnet-4-5"_s;
        const auto claude = [](qint64 tokens, std::optional<QString> model) { return Journal::Reading { tokens, {}, std::move(model), {} }; };
        QTest::addRow("Claude without a model") << false << claude(1'000, std::nullopt) << qint64(0) << qint64(1'000'000);
        QTest::addRow("opus 4.7") << false << claude(1'000, u"claude-opus-4-7"_s) << qint64(0) << qint64(1'000'000);
        QTest::addRow("a 1M marker") << false << claude(1'000, u"claude-sonnet-4-5[1m]"_s) << qint64(0) << qint64(1'000'000);
        QTest::addRow("an upper-case marker is not the 1M marker") << false << claude(1'000, u"claude-sonnet-4-5[1M]"_s) << qint64(0) << qint64(200'000);
        QTest::addRow("tokens past the model window raise it to one million") << false << claude(250'000, sonnet) << qint64(0) << qint64(1'000'000);
        QTest::addRow("a negative bedtime is none, and raises nothing") << false << claude(250'000, sonnet) << qint64(-5) << qint64(200'000);
        QTest::addRow("a bedtime is never raised") << false << claude(450'000, u"claude-opus-4-7"_s) << qint64(400'000) << qint64(400'000);
        QTest::addRow("Codex without a stated window") << true << Journal::Reading { 129'200, {}, {}, {} } << qint64(0) << qint64(258'400);
        QTest::addRow("Codex past its stated window is raised") << true << Journal::Reading { 300'000, 272'000, {}, {} } << qint64(0) << qint64(1'000'000);
    }
    void windowRules()
    {
        QFETCH(bool, codex);
        QFETCH(Journal::Reading, reading);
        QFETCH(qint64, bedtime);
        QTEST(SessionScan::effectiveWindow(codex ? Provider::codex : Provider::claude, reading, bedtime), "window");
    }

    void project_data()
    {
        QTest::addColumn<QString>("cwd"); // a null string for none
        QTest::addColumn<QString>("folder");
        QTest::addColumn<bool>("codex");
        QTest::addColumn<QString>("project");
        QTest::addRow("the last component of the cwd") << u"/Users/a/shop"_s << u"-Users-a-x"_s << false << u"shop"_s;
        QTest::addRow("a trailing slash on the cwd") << u"/Users/a/shop/"_s << u"-x"_s << false << u"shop"_s;
        QTest::addRow("a cwd of / falls back to the folder name") << u"/"_s << u"-Users-a-web"_s << false << u"web"_s;
        QTest::addRow("a one-letter folder piece gives the agent name") << QString() << u"-x"_s << false << u"Claude Code"_s;
        QTest::addRow("Codex without cwd") << QString() << u"22"_s << true << u"Codex"_s;
    }
    void project()
    {
        QFETCH(QString, cwd);
        QFETCH(QString, folder);
        QFETCH(bool, codex);
        QTEST(SessionScan::project(
                  cwd.isNull() ? std::nullopt : std::optional(cwd), u"/h/"_s + folder + u"/s.jsonl"_s, codex ? Provider::codex : Provider::claude),
            "project");
    }

    void focused_data()
    {
        QTest::addColumn<QList<Session>>("sessions");
        QTest::addColumn<QString>("pin"); // a project name
        QTest::addColumn<QString>("expected"); // empty for none
        const auto at = [](const QString &name, std::optional<qint64> tokens, qint64 ageMs) { return session(name, tokens, 200'000, epoch.addMSecs(-ageMs)); };
        const Session idleEmpty = at(u"idle"_s, std::nullopt, 2 * hour);
        const Session liveA = at(u"a"_s, 80'000, 5 * minute);
        const Session liveB = at(u"b"_s, 80'000, 2 * minute);
        QTest::addRow("a pin on a listed idle empty session wins") << QList<Session> { liveB, idleEmpty } << u"idle"_s << u"idle"_s;
        QTest::addRow("a pin on an unlisted session falls back") << QList<Session> { liveB, idleEmpty } << u"gone"_s << u"b"_s;
        QTest::addRow("no live session gives the most recent") << QList<Session> { idleEmpty, at(u"older"_s, 10'000, 3 * hour) } << QString() << u"idle"_s;
        QTest::addRow("equal fill: the later activity wins") << QList<Session> { liveA, liveB } << QString() << u"b"_s;
        QTest::addRow("the fuller live session wins") << QList<Session> { liveB, at(u"full"_s, 250'000, 10 * minute) } << QString() << u"full"_s;
        QTest::addRow("an idle fuller session does not") << QList<Session> { liveA, at(u"f"_s, 200'000, 21 * minute) } << QString() << u"a"_s;
        QTest::addRow("a complete tie keeps the earlier one") << QList<Session> { liveA, at(u"twin"_s, 80'000, 5 * minute) } << QString() << u"a"_s;
    }
    void focused()
    {
        QFETCH(QList<Session>, sessions);
        QFETCH(QString, pin);
        const std::optional<Session> chosen = SessionScan::focused(sessions, pin.isEmpty() ? std::nullopt : std::optional(session(pin).id), epoch);
        QTEST(chosen ? chosen->project : QString(), "expected");
    }

    void cacheKeepsAnUnchangedFile()
    {
        const QString path = writeLog(u".claude/projects/-a-b/s.jsonl"_s, claudeTokens(111'111), minute);
        SessionScan s = scan();
        QCOMPARE(s.pass(0).first().tokens, std::optional<qint64>(111'111));
        // Same size, same modification time, other bytes: the cached reading stands.
        writeLog(u".claude/projects/-a-b/s.jsonl"_s, claudeTokens(222'222), minute);
        QCOMPARE(s.pass(0).first().tokens, std::optional<qint64>(111'111));
        writeLog(u".claude/projects/-a-b/s.jsonl"_s, claudeTokens(222'222), minute - 1'000);
        QCOMPARE(s.pass(0).first().tokens, std::optional<qint64>(222'222));
        // A vanished file yields nothing.
        QVERIFY(QFile::remove(path));
        QCOMPARE(s.pass(0).size(), 0);
    }

    // Names that are not UTF-8 are listed and read like any other, kept apart, and shown lossily.
    void namesThatAreNotUtf8()
    {
        const QByteArray folder = QFile::encodeName(home()) + "/.claude/projects/-home-u-caf\xe9";
        QVERIFY(QDir().mkpath(home() + u"/.claude/projects"_s));
        QCOMPARE(::mkdir(folder.constData(), 0700), 0);
        const QList<QByteArray> names { folder + "/ses\xff\xfe\x31.jsonl", folder + "/ses\xfe\xff\x31.jsonl" };
        for (qsizetype i = 0; i < names.size(); ++i) {
            // Written under a plain name, then given its own: Qt's file classes take names as text.
            const QString plain = writeLog(u"plain.jsonl"_s, claudeTokens(1'000 * (i + 1), "claude-sonnet-4-5", ""), minute);
            QCOMPARE(::rename(QFile::encodeName(plain).constData(), names.at(i).constData()), 0);
        }
        QList<Session> sessions = scan().pass(0);
        QCOMPARE(sessions.size(), 2);
        std::sort(sessions.begin(), sessions.end(), [](const Session &a, const Session &b) { return a.tokens < b.tokens; });
        for (qsizetype i = 0; i < names.size(); ++i) {
            QCOMPARE(sessions.at(i).tokens, 1'000 * (i + 1));
            QCOMPARE(LogFile::nativePath(sessions.at(i).id), names.at(i));
            QCOMPARE(sessions.at(i).project, u"caf\ufffd"_s);
        }
    }

    // The watcher itself: one worker thread, publication on the main thread.
    void watcherPublishesOnlyChanges()
    {
        writeLog(u".claude/projects/-a-b/s.jsonl"_s, claudeTokens(50'000), minute);
        SessionWatcher watcher(watcherConfig(home(), clock()));
        QSignalSpy changed(&watcher, &SessionWatcher::sessionsChanged);
        QSignalSpy finished(&watcher, &SessionWatcher::passFinished);

        watcher.start();
        QVERIFY(finished.wait(5'000));
        QCOMPARE(changed.size(), 1);
        // Its thread runs only on otherwise idle time.
        int idleThreads = 0;
        for (const QString &task : QDir(u"/proc/self/task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            QFile comm(u"/proc/self/task/"_s + task + u"/comm"_s);
            if (comm.open(QIODevice::ReadOnly) && comm.readAll().startsWith("app.yuzuha"))
                idleThreads += sched_getscheduler(task.toInt()) == SCHED_IDLE;
        }
        QCOMPARE(idleThreads, 1);
        QCOMPARE(watcher.sessions().size(), 1);
        QCOMPARE(watcher.sessions().first().window, 200'000);

        watcher.refresh();
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 2, 5'000);
        QCOMPARE(changed.size(), 1); // same list: nobody is told

        // A new bedtime goes with the next pass.
        watcher.setBedtime(100'000);
        watcher.refresh();
        QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 3, 5'000);
        QCOMPARE(changed.size(), 2);
        QCOMPARE(watcher.sessions().first().window, 100'000);
        QCOMPARE(watcher.focused()->id, watcher.sessions().first().id);
    }
};

QTEST_GUILESS_MAIN(TestSessionWatcher)
#include "tst_sessionwatcher.moc"

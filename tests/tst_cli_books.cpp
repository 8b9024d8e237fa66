#include "fleetaccess.h"
#include "sessionwatcher.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{
QByteArray claudeUsage(qint64 tokens, const QString &cwd)
{
    return u"{\"type\":\"assistant\",\"cwd\":\"%1\",\"message\":{\"model\":\"claude-sonnet-4-5\",\"usage\":{\"input_tokens\":%2}}}\n"_s.arg(cwd)
        .arg(tokens)
        .toUtf8();
}

struct Run {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};
} // namespace

class TestCliBooks : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QString home() const { return m_dir->filePath(u"home"_s); }

    QString writeLog(const QString &relative, const QByteArray &bytes, qint64 ageSeconds)
    {
        const QString path = home() + u'/' + relative;
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (!file.open(QIODevice::ReadWrite))
            return {};
        file.write(bytes);
        file.flush(); // or closing would write the bytes, and the modification time, afterwards
        file.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-ageSeconds), QFileDevice::FileModificationTime);
        return path;
    }

    // The user's settings live in a temporary XDG config folder, so no real setting is read or written.
    void storeBedtime(qint64 tokens) { QSettings(m_dir->filePath(u"config/Yuzuha/Yuzuha.conf"_s), QSettings::IniFormat).setValue(u"bedtimeTokens"_s, tokens); }

    Run run(const QStringList &arguments, const QByteArray &input = {})
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, home());
        environment.insert(u"XDG_CONFIG_HOME"_s, m_dir->filePath(u"config"_s));
        process.setProcessEnvironment(environment);
        process.start(QStringLiteral(YUZUHA_BOOKS), arguments);
        process.write(input);
        process.closeWriteChannel();
        if (!process.waitForFinished(20'000))
            return {};
        return { process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError() };
    }

    // Three sessions: a fuller Claude one 2 min old, a Codex one just now, an emptier Claude one 10 min old.
    void writeThree()
    {
        writeLog(u".claude/projects/-Users-a-shop/full.jsonl"_s, claudeUsage(160'000, u"/Users/a/shop"_s), 120);
        writeLog(u".codex/sessions/2026/11/22/r.jsonl"_s,
            "{\"payload\":{\"cwd\":\"/srv/api\"}}\n{\"payload\":{\"type\":\"token_count\",\"info\":{\"last_token_usage\":{\"input_tokens\":25840}}}}\n", 5);
        writeLog(u".claude/projects/-Users-a-web/calm.jsonl"_s, claudeUsage(20'000, u"/Users/a/web"_s), 600);
    }

private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkpath(home()));
    }

    void jsonListsTheSessionsInOrder()
    {
        writeThree();
        const Run r = run({ u"--json"_s, u"--home"_s, home() });
        QCOMPARE(r.exitCode, 0);
        const QJsonObject root = QJsonDocument::fromJson(r.out).object();
        const QJsonArray sessions = root.value(u"sessions"_s).toArray();
        QCOMPARE(sessions.size(), 3);
        QStringList projects;
        for (const QJsonValue &value : sessions) {
            const QJsonObject s = value.toObject();
            QCOMPARE(s.keys(),
                (QStringList { u"id"_s, u"lastActivity"_s, u"percent"_s, u"project"_s, u"provider"_s, u"started"_s, u"tier"_s, u"tokens"_s, u"window"_s }));
            const QRegularExpression iso(u"^\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z$"_s);
            QVERIFY(iso.match(s.value(u"started"_s).toString()).hasMatch());
            QVERIFY(iso.match(s.value(u"lastActivity"_s).toString()).hasMatch());
            projects.append(s.value(u"project"_s).toString());
        }
        QCOMPARE(projects, (QStringList { u"api"_s, u"shop"_s, u"web"_s }));
        const QJsonObject codex = sessions.at(0).toObject();
        QCOMPARE(codex.value(u"provider"_s).toString(), u"CODEX"_s);
        QCOMPARE(codex.value(u"window"_s).toInteger(), 258'400);
        QCOMPARE(codex.value(u"percent"_s).toInt(), 10);
        const QJsonObject shop = sessions.at(1).toObject();
        QCOMPARE(shop.value(u"tokens"_s).toInteger(), 160'000);
        QCOMPARE(shop.value(u"percent"_s).toInt(), 80);
        QCOMPARE(shop.value(u"tier"_s).toInt(), 5);
        // The fullest live session, not the most recent.
        QCOMPARE(root.value(u"focused"_s).toString(), shop.value(u"id"_s).toString());
    }

    void bedtime_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<qint64>("stored"); // 0 for none
        QTest::addColumn<qint64>("window");
        QTest::addRow("no bedtime: tokens past the window raise it") << QStringList {} << qint64(0) << qint64(1'000'000);
        QTest::addRow("the stored bedtime") << QStringList {} << qint64(400'000) << qint64(400'000);
        QTest::addRow("--bedtime replaces the stored one") << QStringList { u"--bedtime"_s, u"200000"_s } << qint64(400'000) << qint64(200'000);
        QTest::addRow("--bedtime 0 means none") << QStringList { u"--bedtime"_s, u"0"_s } << qint64(400'000) << qint64(1'000'000);
    }
    void bedtime()
    {
        QFETCH(QStringList, options);
        QFETCH(qint64, stored);
        QFETCH(qint64, window);
        if (stored)
            storeBedtime(stored);
        writeLog(u".claude/projects/-a-b/s.jsonl"_s, claudeUsage(250'000, u"/a/b"_s), 60);
        const Run r = run(QStringList { u"--json"_s, u"--home"_s, home() } + options);
        QCOMPARE(r.exitCode, 0);
        const QJsonArray sessions = QJsonDocument::fromJson(r.out).object().value(u"sessions"_s).toArray();
        QCOMPARE(sessions.size(), 1);
        QCOMPARE(sessions.at(0).toObject().value(u"window"_s).toInteger(), window);
    }

    void tableMarksTheFocusedSession()
    {
        writeThree();
        const Run r = run({ u"--home"_s, home() });
        QCOMPARE(r.exitCode, 0);
        const QStringList lines = QString::fromUtf8(r.out).split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 4);
        QVERIFY(lines.at(1).startsWith(u"  CODEX"_s));
        QVERIFY2(lines.at(2).startsWith(u"▸ CLAUDE    shop"_s), qPrintable(lines.at(2)));
        QVERIFY(lines.at(2).contains(u"80%"_s) && lines.at(2).contains(u"160K"_s) && lines.at(2).contains(u"200K"_s) && lines.at(2).endsWith(u"2m ago"_s));
        QVERIFY(lines.at(3).startsWith(u"  CLAUDE"_s));
    }

    void emptyBooksSayHello()
    {
        const Run r = run({ u"--home"_s, home() });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, QByteArray("No sessions in the last 24 hours: nothing on the books yet.\n"));
        QCOMPARE(run({ u"--json"_s, u"--home"_s, home() }).out, QByteArray("{\"sessions\":[],\"focused\":null}\n"));
    }

    void badArguments_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("message");
        QTest::addRow("an unknown option") << QStringList { u"--bogus"_s } << QByteArray("usage: yuzuha-books");
        QTest::addRow("a bedtime that is no number") << QStringList { u"--bedtime"_s, u"soon"_s } << QByteArray("usage: yuzuha-books");
        QTest::addRow("a negative bedtime") << QStringList { u"--bedtime"_s, u"-5"_s } << QByteArray("usage: yuzuha-books");
        QTest::addRow("a stray word") << QStringList { u"books"_s, u"today"_s } << QByteArray("usage: yuzuha-books");
        QTest::addRow("a home that does not exist") << QStringList { u"--home"_s, u"/nonexistent/yuzuha"_s } << QByteArray("no such folder");
    }
    void badArguments()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, message);
        const Run r = run(arguments);
        QCOMPARE(r.exitCode, 2);
        QVERIFY(r.out.isEmpty());
        QVERIFY2(r.err.contains(message), r.err.constData());
        QCOMPARE(r.err.count('\n'), 1);
    }

    void statusline_data()
    {
        QTest::addColumn<QByteArray>("log"); // empty: no transcript file is written
        QTest::addColumn<QString>("input"); // %1 is the transcript path
        QTest::addColumn<QByteArray>("line");
        const QString normal
            = u"{\"session_id\":\"x\",\"transcript_path\":\"%1\",\"cwd\":\"/a\",\"model\":{\"id\":\"claude-sonnet-4-5\",\"display_name\":\"Sonnet\"}}"_s;
        QTest::addRow("a session at 42 percent") << claudeUsage(84'000, u"/a"_s) << normal << QByteArray("▰▰▱▱▱▱ 42% · 84K/200K · Chotto tsukareta kamo.\n");
        QTest::addRow("a fresh session") << QByteArray("{\"type\":\"user\"}\n") << normal << QByteArray("▱▱▱▱▱▱ 0% · fresh/1M · Makasete!\n");
        QTest::addRow("bedtime from the settings") << claudeUsage(380'000, u"/a"_s) << normal
                                                   << QByteArray("▰▰▰▰▰▰ 95% · 380K/400K · Kyou wa koko made. Oyasumi!\n");
        QTest::addRow("a transcript that does not exist") << QByteArray() << normal << QByteArray("Yuzuha · no session yet\n");
        QTest::addRow("no transcript path") << QByteArray() << u"{\"session_id\":\"x\"}"_s << QByteArray("Yuzuha · no session yet\n");
        QTest::addRow("not JSON at all") << QByteArray() << u"garbage"_s << QByteArray("Yuzuha · no session yet\n");
        QTest::addRow("nothing on stdin") << QByteArray() << QString() << QByteArray("Yuzuha · no session yet\n");
    }
    void statusline()
    {
        QFETCH(QByteArray, log);
        QFETCH(QString, input);
        QFETCH(QByteArray, line);
        const QString path = home() + u"/t.jsonl"_s;
        if (!log.isEmpty())
            QVERIFY(!writeLog(u"t.jsonl"_s, log, 30).isEmpty());
        if (QString::fromUtf8(QTest::currentDataTag()).startsWith(u"bedtime"_s))
            storeBedtime(400'000);
        const Run r = run({ u"statusline"_s }, input.contains(u"%1"_s) ? input.arg(path).toUtf8() : input.toUtf8());
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, line);
    }

    void sameListAsTheWatcher()
    {
        writeThree();
        for (int i = 0; i < 13; ++i)
            writeLog(u".claude/projects/-a-many/s%1.jsonl"_s.arg(i), claudeUsage(1'000 * (i + 1), u"/a/many"_s), 1'000 + i * 30);
        const Run r = run({ u"--json"_s, u"--home"_s, home() });
        QCOMPARE(r.exitCode, 0);
        const QJsonArray listed = QJsonDocument::fromJson(r.out).object().value(u"sessions"_s).toArray();

        auto snapshots = std::make_shared<const QList<FleetAccess::Snapshot>>(FleetAccess::directSnapshots(home()));
        SessionWatcher watcher(
            { [snapshots] { return snapshots; }, m_dir->filePath(u"config/Yuzuha/Yuzuha.conf"_s), QSettings::IniFormat, {}, [](qsizetype, qsizetype) {} });
        QSignalSpy finished(&watcher, &SessionWatcher::passFinished);
        watcher.start();
        QVERIFY(finished.wait(10'000));
        const QList<Session> published = watcher.sessions();

        QCOMPARE(listed.size(), 12);
        QCOMPARE(published.size(), listed.size());
        for (qsizetype i = 0; i < published.size(); ++i) {
            const QJsonObject s = listed.at(i).toObject();
            QCOMPARE(s.value(u"id"_s).toString(), published[i].id);
            QCOMPARE(s.value(u"tokens"_s).toInteger(-1), published[i].tokens.value_or(-1));
            QCOMPARE(s.value(u"window"_s).toInteger(), published[i].window);
            QCOMPARE(s.value(u"lastActivity"_s).toString(), published[i].lastActivity.toUTC().toString(Qt::ISODateWithMs));
        }
    }
};

QTEST_GUILESS_MAIN(TestCliBooks)
#include "tst_cli_books.moc"

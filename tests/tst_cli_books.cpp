#include "testsupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace TestSupport;

class TestCliBooks : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    QString home() const { return m_dir->filePath(u"home"_s); }
    QString settingsFile() const { return m_dir->filePath(u"config/Yuzuha/Yuzuha.conf"_s); }

    QString writeLog(const QString &relative, const QByteArray &bytes, qint64 ageSeconds)
    {
        return writeFile(home() + u'/' + relative, bytes, QDateTime::currentDateTimeUtc().addSecs(-ageSeconds));
    }

    // The user's settings live in a temporary XDG config folder, so no real setting is read or written.
    QProcessEnvironment environment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, home());
        environment.insert(u"XDG_CONFIG_HOME"_s, m_dir->filePath(u"config"_s));
        return environment;
    }
    Run books(const QStringList &arguments, const QByteArray &input = {}) { return run(QStringLiteral(YUZUHA_BOOKS), arguments, input, environment()); }
    QJsonArray listed(const QStringList &options = {})
    {
        const Run r = books(QStringList { u"--json"_s, u"--home"_s, home() } + options);
        return r.exitCode == 0 ? QJsonDocument::fromJson(r.out).object().value(u"sessions"_s).toArray() : QJsonArray();
    }

    // Three sessions: a fuller Claude one 2 min old, a Codex one just now, an emptier Claude one 10 min old.
    void writeThree()
    {
        writeLog(u".claude/projects/-Users-a-shop/full.jsonl"_s, claudeTokens(160'000, "m", "/Users/a/shop"), 120);
        writeLog(u".codex/sessions/2026/11/22/r.jsonl"_s, lines({ codexMeta("/srv/api"), codexTokens(25'840, {}) }), 5);
        writeLog(u".claude/projects/-Users-a-web/calm.jsonl"_s, claudeTokens(20'000, "m", "/Users/a/web"), 600);
    }

private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(QDir().mkpath(home()));
    }

    void bedtime_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<qint64>("stored"); // 0 for none
        QTest::addColumn<qint64>("window");
        QTest::addRow("the stored bedtime") << QStringList {} << qint64(400'000) << qint64(400'000);
        QTest::addRow("--bedtime replaces the stored one") << QStringList { u"--bedtime"_s, u"200000"_s } << qint64(400'000) << qint64(200'000);
        QTest::addRow("--bedtime 0 means none") << QStringList { u"--bedtime"_s, u"0"_s } << qint64(400'000) << qint64(1'000'000);
    }
    void bedtime()
    {
        QFETCH(QStringList, options);
        QFETCH(qint64, stored);
        if (stored)
            QSettings(settingsFile(), QSettings::IniFormat).setValue(u"bedtimeTokens"_s, stored);
        writeLog(u".claude/projects/-a-b/s.jsonl"_s, claudeTokens(250'000), 60);
        const QJsonArray sessions = listed(options);
        QCOMPARE(sessions.size(), 1);
        QTEST(sessions.at(0).toObject().value(u"window"_s).toInteger(), "window");
    }

    void tableMarksTheFocusedSession()
    {
        writeThree();
        const Run r = books({ u"--home"_s, home() });
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
        QCOMPARE(books({ u"--home"_s, home() }).out, QByteArray("No sessions in the last 24 hours: nothing on the books yet.\n"));
        QCOMPARE(books({ u"--json"_s, u"--home"_s, home() }).out, QByteArray("{\"sessions\":[],\"focused\":null}\n"));
    }

    void badArguments_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("message");
        QTest::addRow("an unknown option") << QStringList { u"--bogus"_s } << QByteArray("usage: yuzuha-books");
        QTest::addRow("a negative bedtime") << QStringList { u"--bedtime"_s, u"-5"_s } << QByteArray("usage: yuzuha-books");
        QTest::addRow("a home that does not exist") << QStringList { u"--home"_s, u"/nonexistent/yuzuha"_s } << QByteArray("no such folder");
    }
    void badArguments()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, message);
        const Run r = books(arguments);
        QVERIFY2(r.exitCode == 2 && r.out.isEmpty() && r.err.contains(message) && r.err.count('\n') == 1, r.err.constData());
    }

    void statusline_data()
    {
        QTest::addColumn<QByteArray>("log"); // empty: no transcript file is written
        QTest::addColumn<QString>("input"); // %1 is the transcript path
        QTest::addColumn<QByteArray>("line");
        const QString normal
            = u"{\"session_id\":\"x\",\"transcript_path\":\"%1\",\"cwd\":\"/a\",\"model\":{\"id\":\"claude-sonnet-4-5\",\"display_name\":\"Sonnet\"}}"_s;
        const QByteArray nothing = "Yuzuha · no session yet\n";
        QTest::addRow("a session at 42 percent") << claudeTokens(84'000) << normal << QByteArray("▰▰▱▱▱▱ 42% · 84K/200K · Chotto tsukareta kamo.\n");
        QTest::addRow("a fresh session") << QByteArray("{\"type\":\"user\"}\n") << normal << QByteArray("▱▱▱▱▱▱ 0% · fresh/1M · Makasete!\n");
        QTest::addRow("bedtime from the settings") << claudeTokens(380'000) << normal << QByteArray("▰▰▰▰▰▰ 95% · 380K/400K · Kyou wa koko made. Oyasumi!\n");
        QTest::addRow("a transcript that does not exist") << QByteArray() << normal << nothing;
        QTest::addRow("not JSON at all") << QByteArray() << u"garbage"_s << nothing;
        QTest::addRow("nothing on stdin") << QByteArray() << QString() << nothing;
    }
    // The agent may hand its status over in several writes, and one status may be long.
    void statuslineReadsToTheEnd_data()
    {
        QTest::addColumn<int>("padding");
        QTest::addColumn<int>("writes");
        QTest::addRow("over 64 KiB") << 100'000 << 1;
        QTest::addRow("in two writes") << 0 << 2;
    }
    void statuslineReadsToTheEnd()
    {
        QFETCH(int, padding);
        QFETCH(int, writes);
        const QString path = writeLog(u"t.jsonl"_s, claudeTokens(84'000), 30);
        const QByteArray input = "{\"transcript_path\":\"" + path.toUtf8() + "\",\"note\":\"" + QByteArray(padding, 'x') + "\"}";
        QProcess process;
        process.setProcessEnvironment(environment());
        process.start(QStringLiteral(YUZUHA_BOOKS), { u"statusline"_s });
        QVERIFY(process.waitForStarted());
        const qsizetype half = input.size() / writes;
        process.write(input.first(half));
        QVERIFY(process.waitForBytesWritten());
        QTest::qWait(200); // the tool has read the first part by now
        process.write(input.sliced(half));
        process.closeWriteChannel();
        process.waitForFinished(); // false when the tool quit before the second write
        QCOMPARE(process.readAllStandardOutput(), QByteArray("▰▰▱▱▱▱ 42% · 84K/200K · Chotto tsukareta kamo.\n"));
    }

    void statusline()
    {
        QFETCH(QByteArray, log);
        QFETCH(QString, input);
        const QString path = home() + u"/t.jsonl"_s;
        if (!log.isEmpty())
            QVERIFY(!writeLog(u"t.jsonl"_s, log, 30).isEmpty());
        if (QString::fromUtf8(QTest::currentDataTag()).startsWith(u"bedtime"_s))
            QSettings(settingsFile(), QSettings::IniFormat).setValue(u"bedtimeTokens"_s, 400'000);
        QTEST(books({ u"statusline"_s }, input.contains(u"%1"_s) ? input.arg(path).toUtf8() : input.toUtf8()).out, "line");
    }

    // The tool lists what the app's watcher publishes, in its order, up to its limit, and follows
    // the same session.
    void jsonListsWhatTheWatcherPublishes()
    {
        writeThree();
        for (int i = 0; i < 13; ++i)
            writeLog(u".claude/projects/-a-many/s%1.jsonl"_s.arg(i), claudeTokens(1'000 * (i + 1)), 1'000 + i * 30);
        const QJsonObject root = QJsonDocument::fromJson(books({ u"--json"_s, u"--home"_s, home() }).out).object();
        const QJsonArray listed = root.value(u"sessions"_s).toArray();
        SessionWatcher watcher(watcherConfig(home()));
        QSignalSpy finished(&watcher, &SessionWatcher::passFinished);
        watcher.start();
        QVERIFY(finished.wait(10'000));
        const QList<Session> published = watcher.sessions();
        QCOMPARE(listed.size(), 12);
        QCOMPARE(published.size(), 12);
        QCOMPARE(root.value(u"focused"_s).toString(), watcher.focused()->id);
        for (qsizetype i = 0; i < published.size(); ++i) {
            const Session &p = published[i];
            const QJsonObject s = listed.at(i).toObject();
            QCOMPARE(s.keys(),
                (QStringList { u"id"_s, u"lastActivity"_s, u"percent"_s, u"project"_s, u"provider"_s, u"started"_s, u"tier"_s, u"tokens"_s, u"window"_s }));
            QCOMPARE(s.value(u"id"_s).toString(), p.id);
            QCOMPARE(s.value(u"provider"_s).toString(), p.provider == Provider::codex ? u"CODEX"_s : u"CLAUDE"_s);
            QCOMPARE(s.value(u"tokens"_s).toInteger(-1), p.tokens.value_or(-1));
            QCOMPARE(s.value(u"window"_s).toInteger(), p.window);
            QCOMPARE(s.value(u"percent"_s).toInt(), p.percent());
            QCOMPARE(s.value(u"tier"_s).toInt(), p.tier());
            QCOMPARE(s.value(u"lastActivity"_s).toString(), p.lastActivity.toUTC().toString(Qt::ISODateWithMs));
        }
    }
};

QTEST_GUILESS_MAIN(TestCliBooks)
#include "tst_cli_books.moc"

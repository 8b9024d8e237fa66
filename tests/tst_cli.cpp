#include "appinfo.h"
#include "testsupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace TestSupport;

namespace
{
// A working folder whose last name tries the terminal's and every bar's own markup.
const QByteArray hostileCwd = R"(/w/a\u001b]0;T\u0007\u001b[31m%{F#f00}#[fg=red]#(x)<b>&)";

// Reads what arrives on `fd` for up to `ms` milliseconds, until `until` has arrived when given.
QByteArray readFor(int fd, int ms, QByteArrayView until = {})
{
    QByteArray bytes;
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < ms && (until.isEmpty() || !bytes.contains(until))) {
        pollfd p { fd, POLLIN, 0 };
        if (::poll(&p, 1, 50) <= 0)
            continue;
        char chunk[4096];
        const ssize_t n = ::read(fd, chunk, sizeof chunk);
        if (n <= 0)
            break;
        bytes.append(chunk, n);
    }
    return bytes;
}
} // namespace

// The terminal tool, run for a user whose home and settings are scratch folders, so no real
// setting is read or written.
class TestCli : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString home() const { return m_dir.filePath(u"home"_s); }
    QString config() const { return m_dir.filePath(u"config"_s); }
    QString settingsFile() const { return config() + u"/Yuzuha/Yuzuha.conf"_s; }
    QString log() const { return home() + u"/.claude/projects/-w-shop/s.jsonl"_s; }

    QString writeLog(const QString &relative, const QByteArray &bytes, qint64 ageSeconds)
    {
        return writeFile(home() + u'/' + relative, bytes, QDateTime::currentDateTimeUtc().addSecs(-ageSeconds));
    }
    QProcessEnvironment environment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"HOME"_s, home());
        environment.insert(u"XDG_CONFIG_HOME"_s, config());
        return environment;
    }
    Run books(const QStringList &arguments, const QByteArray &input = {}) { return run(QStringLiteral(YUZUHA_BOOKS), arguments, input, environment()); }
private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(m_dir.isValid());
        QCOMPARE(mkfifo(QFile::encodeName(m_dir.filePath(u"fifo.jsonl"_s)).constData(), 0600), 0);
    }
    void init()
    {
        QDir(config()).removeRecursively();
        QDir(home()).removeRecursively();
        QVERIFY(QDir().mkpath(home()));
    }

    // A stored bedtime of 400K, and what the option makes of it.
    void bedtime_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<qint64>("window");
        QTest::addRow("the stored bedtime") << QStringList {} << qint64(400'000);
        QTest::addRow("--bedtime replaces the stored one") << QStringList { u"--bedtime"_s, u"200000"_s } << qint64(200'000);
        QTest::addRow("--bedtime 0 means none") << QStringList { u"--bedtime"_s, u"0"_s } << qint64(1'000'000);
    }
    void bedtime()
    {
        QFETCH(QStringList, options);
        QSettings(settingsFile(), QSettings::IniFormat).setValue(u"bedtimeTokens"_s, 400'000);
        writeLog(u".claude/projects/-a-b/s.jsonl"_s, claudeTokens(250'000), 60);
        const Run r = books(QStringList { u"--json"_s, u"--home"_s, home() } + options);
        const QJsonArray sessions = QJsonDocument::fromJson(r.out)[u"sessions"_s].toArray();
        QCOMPARE(sessions.size(), 1);
        QTEST(sessions.at(0).toObject().value(u"window"_s).toInteger(), "window");
    }

    // Latest first, in the table and in JSON; the table marks the session she follows, JSON names it.
    void booksListTheSessions()
    {
        // A fuller Claude session 2 min old, a Codex one just now, an emptier Claude one 10 min old.
        writeLog(u".claude/projects/-Users-a-shop/full.jsonl"_s, claudeTokens(160'000, "m", "/Users/a/shop"), 120);
        writeLog(u".codex/sessions/2026/11/22/r.jsonl"_s, lines({ codexMeta("/srv/api"), codexTokens(25'840, {}) }), 5);
        writeLog(u".claude/projects/-Users-a-web/calm.jsonl"_s, claudeTokens(20'000, "m", "/Users/a/web"), 600);
        const Run r = books({ u"--home"_s, home() });
        QCOMPARE(r.exitCode, 0);
        const QStringList lines = QString::fromUtf8(r.out).split(u'\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 4);
        QVERIFY(lines.at(1).startsWith(u"  CODEX"_s));
        QVERIFY2(lines.at(2).startsWith(u"▸ CLAUDE    shop"_s), qPrintable(lines.at(2)));
        QVERIFY(lines.at(2).contains(u"80%"_s) && lines.at(2).contains(u"160K"_s) && lines.at(2).contains(u"200K"_s) && lines.at(2).endsWith(u"2m ago"_s));
        QVERIFY(lines.at(3).startsWith(u"  CLAUDE"_s));

        const QJsonObject root = QJsonDocument::fromJson(books({ u"--json"_s, u"--home"_s, home() }).out).object();
        const QJsonArray sessions = root.value(u"sessions"_s).toArray();
        QStringList summary;
        for (const QJsonValue &session : sessions) {
            QStringList fields;
            for (const char *key : { "provider", "project", "tokens", "window", "percent", "tier" })
                fields.append(session[QLatin1StringView(key)].toVariant().toString());
            summary.append(fields.join(u' '));
        }
        QCOMPARE(summary, (QStringList { u"CODEX api 25840 258400 10 0"_s, u"CLAUDE shop 160000 200000 80 5"_s, u"CLAUDE web 20000 200000 10 0"_s }));
        const QJsonObject shop = sessions.at(1).toObject();
        QCOMPARE(root.value(u"focused"_s).toString(), shop.value(u"id"_s).toString());
        QVERIFY(shop.value(u"id"_s).toString().endsWith(u"/-Users-a-shop/full.jsonl"_s));
        const QDateTime lastActivity = QDateTime::fromString(shop.value(u"lastActivity"_s).toString(), Qt::ISODateWithMs);
        QVERIFY(qAbs(lastActivity.secsTo(QDateTime::currentDateTimeUtc()) - 120) < 10);
    }

    // Against a stored bedtime of 400K, which the status line takes from the settings as the app does.
    void statusline_data()
    {
        QTest::addColumn<QByteArray>("log"); // empty: no transcript file is written
        QTest::addColumn<QString>("input"); // %1 is the transcript path
        QTest::addColumn<QByteArray>("line");
        const QString normal
            = u"{\"session_id\":\"x\",\"transcript_path\":\"%1\",\"cwd\":\"/a\",\"model\":{\"id\":\"claude-sonnet-4-5\",\"display_name\":\"Sonnet\"}}"_s;
        const QByteArray nothing = "Yuzuha · no session yet\n", at42 = "▰▰▱▱▱▱ 42% · 168K/400K · Chotto tsukareta kamo.\n";
        QTest::addRow("a session at 42 percent") << claudeTokens(168'000) << normal << at42;
        // More than a pipe holds, so it arrives in several reads, and more than 64 KiB.
        QTest::addRow("a long status") << claudeTokens(168'000) << normal.chopped(1) + u",\"note\":\""_s + QString(100'000, u'x') + u"\"}"_s << at42;
        QTest::addRow("a fresh session") << QByteArray("{\"type\":\"user\"}\n") << normal << QByteArray("▱▱▱▱▱▱ 0% · fresh/400K · Makasete!\n");
        QTest::addRow("a transcript that does not exist") << QByteArray() << normal << nothing;
        QTest::addRow("not JSON at all") << QByteArray() << u"garbage"_s << nothing;
    }
    void statusline()
    {
        QFETCH(QByteArray, log);
        QFETCH(QString, input);
        QSettings(settingsFile(), QSettings::IniFormat).setValue(u"bedtimeTokens"_s, 400'000);
        const QString path = home() + u"/t.jsonl"_s;
        if (!log.isEmpty())
            QVERIFY(!writeLog(u"t.jsonl"_s, log, 30).isEmpty());
        QTEST(books({ u"statusline"_s }, input.contains(u"%1"_s) ? input.arg(path).toUtf8() : input.toUtf8()).out, "line");
    }

    void logTextIsShownSafely_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("shown"); // how the folder's name must appear
        const QString pictures = u"a␛]0;T␇␛[31m"_s;
        QTest::addRow("the table") << QStringList {} << pictures + u"%{F#f00}#[f…"_s;
        QTest::addRow("plain") << QStringList { u"bar"_s } << pictures + u"%{F#f00}#[fg=red]#(x)<b>&"_s;
        QTest::addRow("waybar reads Pango markup") << QStringList { u"bar"_s, u"--format=waybar"_s } << pictures + u"%{F#f00}#[fg=red]#(x)&lt;b&gt;&amp;"_s;
        QTest::addRow("i3blocks") << QStringList { u"bar"_s, u"--format=i3blocks"_s } << pictures + u"%{F#f00}#[fg=red]#(x)<b>&"_s;
        QTest::addRow("polybar tags stay shut") << QStringList { u"bar"_s, u"--format=polybar"_s } << pictures + u"%\u200d{F#f00}#[fg=red]#(x)<b>&"_s;
        QTest::addRow("tmux styles and commands stay text") << QStringList { u"bar"_s, u"--format=tmux"_s } << pictures + u"%{F##f00}##[fg=red]##(x)<b>&"_s;
    }
    void logTextIsShownSafely()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, shown);
        QVERIFY(!writeFile(log(), claudeTokens(84'000, "m", hostileCwd)).isEmpty());
        const Run r = books(arguments + QStringList { u"--home"_s, home() });
        QCOMPARE(r.exitCode, 0);
        for (const char c : r.out)
            QVERIFY2(static_cast<unsigned char>(c) >= 0x20 || c == '\n', r.out.toPercentEncoding().constData());
        QString out = QString::fromUtf8(r.out);
        if (out.startsWith(u'{'))
            out = QJsonDocument::fromJson(r.out).object().value(u"tooltip"_s).toString();
        QVERIFY2(out.contains(shown), qPrintable(out));
    }

    // One agent folder is a plain file, the other holds only an unreadable folder and a corrupt log
    // that has not been written to for half an hour: nothing to show, in every form.
    void badInputGivesTheNeutralLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("line");
        QTest::addRow("the table") << QStringList {} << "No sessions in the last 24 hours: nothing on the books yet.\n"_ba;
        QTest::addRow("JSON") << QStringList { u"--json"_s } << "{\"sessions\":[],\"focused\":null}\n"_ba;
        QTest::addRow("a plain bar") << QStringList { u"bar"_s } << "Yuzuha · no session yet\n"_ba;
        QTest::addRow("waybar")
            << QStringList { u"bar"_s, u"--format"_s, u"waybar"_s }
            << R"({"text":"Yuzuha · no session yet","tooltip":"No sessions in the last 24 hours: nothing on the books yet.","class":["idle"],"percentage":0})"
               "\n"_ba;
    }
    void badInputGivesTheNeutralLine()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, line);
        QVERIFY(!writeFile(home() + u"/.claude/projects"_s, "not a folder").isEmpty());
        QVERIFY(!writeFile(home() + u"/.codex/sessions/2026/x.jsonl"_s, "\x01garbage{{{\n", QDateTime::currentDateTimeUtc().addSecs(-1'800)).isEmpty());
        QVERIFY(QDir().mkpath(home() + u"/.codex/sessions/locked"_s) && QFile::setPermissions(home() + u"/.codex/sessions/locked"_s, {}));
        const Run r = books(arguments + QStringList { u"--home"_s, home() });
        QCOMPARE(r.exitCode, 0);
        QCOMPARE(r.out, line);
    }

    void followPrintsOnlyChanges()
    {
        QVERIFY(!writeFile(log(), claudeTokens(84'000)).isEmpty());
        QProcess process;
        process.setProcessEnvironment(environment());
        // i3blocks' persistent blocks read one JSON object per line.
        process.start(QStringLiteral(YUZUHA_BOOKS), { u"bar"_s, u"--format=i3blocks"_s, u"--follow"_s, u"--home"_s, home() });
        QVERIFY(process.waitForReadyRead(10'000));
        QCOMPARE(process.readAllStandardOutput(),
            R"({"full_text":"▰▰▱▱▱▱ 42% · app · 84K/200K","short_text":"42%","color":"#e0d46a"})"
            "\n"_ba);
        // The next passes find the same books and stay silent.
        QVERIFY(!process.waitForReadyRead(3'500));
        QVERIFY(!writeFile(log(), claudeTokens(150'000)).isEmpty());
        QVERIFY(process.waitForReadyRead(8'000));
        const QByteArray changed = process.readAllStandardOutput();
        QVERIFY2(changed.startsWith(R"({"full_text":"▰▰▰▰▱▱ 75% · app · 150K/200K")"), changed.constData());
        process.terminate();
        QVERIFY(process.waitForFinished(5'000));
        QVERIFY(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0);
    }

    // Bars end with 0 when their reader goes away, rather than dying of SIGPIPE.
    void followEndsWhenTheReaderGoesAway()
    {
        QVERIFY(!writeFile(log(), claudeTokens(84'000)).isEmpty());
        const QString script = u"\"$0\" bar --follow --home \"$1\" | head -c 1 > /dev/null; echo ${PIPESTATUS[0]}"_s;
        QCOMPARE(run(u"bash"_s, { u"-c"_s, script, QStringLiteral(YUZUHA_BOOKS), home() }, {}, environment()).out, "0\n"_ba);
    }

    void watchRestoresTheTerminal_data()
    {
        QTest::addColumn<QByteArray>("key"); // empty: SIGTERM
        QTest::addRow("q") << "q"_ba;
        QTest::addRow("Ctrl-C") << "\x03"_ba;
        QTest::addRow("SIGTERM") << QByteArray();
    }
    void watchRestoresTheTerminal()
    {
        QFETCH(QByteArray, key);
        QVERIFY(!writeFile(log(), claudeTokens(84'000)).isEmpty());
        int master = -1, slave = -1;
        winsize size { 30, 120, 0, 0 };
        termios before {}, after {};
        QVERIFY(::openpty(&master, &slave, nullptr, nullptr, &size) == 0 && ::tcgetattr(slave, &before) == 0);
        const QByteArray homeArg = home().toLocal8Bit(), configVar = "XDG_CONFIG_HOME=" + config().toLocal8Bit();
        char *const environment[] = { const_cast<char *>(configVar.constData()), nullptr };
        const pid_t pid = ::fork();
        if (pid == 0) {
            ::setsid();
            ::ioctl(slave, TIOCSCTTY, 0);
            for (int fd : { 0, 1, 2 })
                ::dup2(slave, fd);
            ::execle(YUZUHA_BOOKS, YUZUHA_BOOKS, "watch", "--home", homeArg.constData(), static_cast<char *>(nullptr), environment);
            ::_exit(127);
        }
        const QByteArray drawn = readFor(master, 10'000, "84K");
        QVERIFY2(drawn.contains("\x1b[?1049h") && drawn.contains("42%") && drawn.contains("█"), drawn.toPercentEncoding().constData());
        if (key.isEmpty())
            ::kill(pid, SIGTERM);
        else
            QCOMPARE(::write(master, key.constData(), static_cast<size_t>(key.size())), key.size());
        const QByteArray left = readFor(master, 5'000, "\x1b[?1049l");
        int status = -1;
        for (int i = 0; i < 50 && ::waitpid(pid, &status, WNOHANG) == 0; ++i)
            QTest::qWait(100);
        QVERIFY(::tcgetattr(slave, &after) == 0);
        ::close(master);
        ::close(slave);
        QVERIFY2(WIFEXITED(status) && WEXITSTATUS(status) == 0, qPrintable(QString::number(status)));
        QVERIFY(left.endsWith("\x1b[?25h\x1b[?1049l"));
        QVERIFY(after.c_lflag == before.c_lflag && after.c_iflag == before.c_iflag);
    }

    void read_data()
    {
        QTest::addColumn<QString>("relativePath");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<QByteArray>("output");
        const QByteArray claude = claudeReply(R"("input_tokens":3,"cache_creation_input_tokens":1200,"cache_read_input_tokens":45000)", "claude-opus-4-7");
        const QByteArray codex = lines({ codexMeta(), codexTokens(12'000) });
        const QByteArray codexOut = R"({"tokens":12000,"window":258400,"model":null,"cwd":"/w/codex"})";
        QTest::addRow("a Claude Code log") << u"claude/p/a.jsonl"_s << claude << QStringList()
                                           << R"({"tokens":46203,"window":null,"model":"claude-opus-4-7","cwd":"/w/app"})"_ba;
        QTest::addRow("a log below .codex is read as Codex") << u".codex/sessions/2025/a.jsonl"_s << codex << QStringList() << codexOut;
        QTest::addRow("a folder only ending in .codex is not Codex")
            << u"x.codex/a.jsonl"_s << codex << QStringList() << R"({"tokens":null,"window":null,"model":null,"cwd":null})"_ba;
        QTest::addRow("--provider codex wins over the path") << u"claude/p/b.jsonl"_s << codex << QStringList { u"--provider"_s, u"codex"_s } << codexOut;
        QTest::addRow("strings are escaped")
            << u"claude/p/esc.jsonl"_s
            << "{\"type\":\"assistant\",\"cwd\":\"/w/a \\\"q\\\" \\\\ \\t \\u0001 é\",\"message\":{\"model\":\"m\",\"usage\":{\"input_tokens\":1}}}"_ba
            << QStringList() << "{\"tokens\":1,\"window\":null,\"model\":\"m\",\"cwd\":\"/w/a \\\"q\\\" \\\\ \\t \\u0001 é\"}"_ba;
    }
    void read()
    {
        QFETCH(QString, relativePath);
        QFETCH(QByteArray, content);
        QFETCH(QStringList, options);
        QFETCH(QByteArray, output);
        const QString path = writeFile(home() + u'/' + relativePath, content);
        const Run r = books(QStringList { u"read"_s } + options + QStringList { path });
        QVERIFY2(!path.isEmpty() && r.exitCode == 0 && r.err.isEmpty(), r.err.constData());
        QCOMPARE(r.out, output + '\n');
    }

    // Bad usage and files that cannot be read: exit status 2, one line on standard error.
    void refusals_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("message");
        const QString fifo = m_dir.filePath(u"fifo.jsonl"_s);
        QTest::addRow("an unknown option") << QStringList { u"--bogus"_s } << "usage: yuzuha-books"_ba;
        QTest::addRow("a negative bedtime") << QStringList { u"--bedtime"_s, u"-5"_s } << "usage: yuzuha-books"_ba;
        QTest::addRow("a home that does not exist") << QStringList { u"--home"_s, u"/nonexistent/yuzuha"_s } << "no such folder"_ba;
        QTest::addRow("read: an unknown option") << QStringList { u"read"_s, u"--bogus"_s, fifo } << "usage: yuzuha-books read"_ba;
        QTest::addRow("read: a FIFO is refused without waiting for a writer") << QStringList { u"read"_s, fifo } << "cannot read " + fifo.toUtf8();
    }
    void refusals()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, message);
        const Run r = books(arguments);
        QVERIFY2(r.exitCode == 2 && r.out.isEmpty() && r.err.contains(message) && r.err.count('\n') == 1, r.err.constData());
    }

    void helpAndVersion()
    {
        const Run help = books({ u"--help"_s });
        QVERIFY2(help.exitCode == 0 && help.out.contains("yuzuha-books bar [--format waybar|i3blocks|polybar|tmux|plain]") && help.err.isEmpty(),
            (help.out + help.err).constData());
        const Run version = books({ u"-V"_s });
        QVERIFY2(version.exitCode == 0 && version.out == "yuzuha-books " + AppInfo::version.toUtf8() + '\n' && version.err.isEmpty(),
            (version.out + version.err).constData());
    }
};

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"

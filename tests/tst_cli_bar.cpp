#include "appinfo.h"
#include "testsupport.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
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

class TestCliBar : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;
    QString home() const { return m_dir.filePath(u"home"_s); }
    QString log() const { return home() + u"/.claude/projects/-w-shop/s.jsonl"_s; }

    QProcessEnvironment environment() const
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(u"XDG_CONFIG_HOME"_s, m_dir.filePath(u"config"_s));
        return environment;
    }
    Run books(const QStringList &arguments) { return run(QStringLiteral(YUZUHA_BOOKS), arguments, {}, environment()); }

private Q_SLOTS:
    void init()
    {
        QVERIFY(m_dir.isValid());
        QDir(home()).removeRecursively();
        QVERIFY(QDir().mkpath(home()));
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

    void badInputGivesTheNeutralLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("line");
        QTest::addRow("plain") << QStringList {} << "Yuzuha · no session yet\n"_ba;
        QTest::addRow("waybar")
            << QStringList { u"--format"_s, u"waybar"_s }
            << R"({"text":"Yuzuha · no session yet","tooltip":"No sessions in the last 24 hours: nothing on the books yet.","class":["idle"],"percentage":0})"
               "\n"_ba;
    }
    void badInputGivesTheNeutralLine()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, line);
        // One agent folder is a plain file, the other holds only an unreadable folder and a corrupt log
        // that has not been written to for half an hour.
        QVERIFY(!writeFile(home() + u"/.claude/projects"_s, "not a folder").isEmpty());
        QVERIFY(!writeFile(home() + u"/.codex/sessions/2026/x.jsonl"_s, "\x01garbage{{{\n", QDateTime::currentDateTimeUtc().addSecs(-1'800)).isEmpty());
        QVERIFY(QDir().mkpath(home() + u"/.codex/sessions/locked"_s) && QFile::setPermissions(home() + u"/.codex/sessions/locked"_s, {}));
        const Run r = books(QStringList { u"bar"_s, u"--home"_s, home() } + arguments);
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

    void followEndsCleanly_data()
    {
        QTest::addColumn<QString>("script");
        // $0 is the tool, $1 the home; the script prints the tool's exit code last.
        QTest::addRow("on SIGINT") << u"\"$0\" bar --follow --home \"$1\" > /dev/null & sleep 1; kill -INT $!; wait $!; echo $?"_s;
        QTest::addRow("when the reader goes away") << u"\"$0\" bar --follow --home \"$1\" | head -c 1 > /dev/null; echo ${PIPESTATUS[0]}"_s;
    }
    void followEndsCleanly()
    {
        QFETCH(QString, script);
        QVERIFY(!writeFile(log(), claudeTokens(84'000)).isEmpty());
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
        const QByteArray homeArg = home().toLocal8Bit(), config = "XDG_CONFIG_HOME=" + m_dir.filePath(u"config"_s).toLocal8Bit();
        char *const environment[] = { const_cast<char *>(config.constData()), nullptr };
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

    void helpAndVersion_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QByteArray>("says");
        QTest::addRow("--help names every verb") << QStringList { u"--help"_s } << "yuzuha-books bar [--format waybar|i3blocks|polybar|tmux|plain]"_ba;
        QTest::addRow("--version") << QStringList { u"--version"_s } << "yuzuha-books " + AppInfo::version.toUtf8() + '\n';
    }
    void helpAndVersion()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, says);
        const Run r = books(arguments);
        QVERIFY2(r.exitCode == 0 && r.out.contains(says) && r.err.isEmpty(), (r.out + r.err).constData());
    }
};

QTEST_GUILESS_MAIN(TestCliBar)
#include "tst_cli_bar.moc"

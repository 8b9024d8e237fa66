#include "singleinstance.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
constexpr uid_t nobody = 65534;

sockaddr_un address(const QString &path)
{
    sockaddr_un to {};
    to.sun_family = AF_UNIX;
    const QByteArray bytes = QFile::encodeName(path);
    std::memcpy(to.sun_path, bytes.constData(), size_t(bytes.size()));
    return to;
}

/// Starts `child` in a forked process, which may only make system calls and is stopped after 5 s.
pid_t startChild(const std::function<int()> &child)
{
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::alarm(5);
        ::_exit(child());
    }
    return pid;
}

/// Waits for a child while this process keeps serving events; its exit code, or -1 when it was stopped.
int finish(pid_t pid)
{
    int status = 0;
    while (::waitpid(pid, &status, WNOHANG) == 0)
        QTest::qWait(10);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool becomeNobody()
{
    return ::setgid(nobody) == 0 && ::setuid(nobody) == 0;
}
} // namespace

class TestSingleInstance : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;
    /// A fresh folder for one test, closed to others unless `mode` says otherwise.
    QString folder(const QString &name, mode_t mode = 0700)
    {
        const QString path = m_dir->filePath(name);
        if (!QDir().mkpath(path) || ::chmod(QFile::encodeName(path).constData(), mode) != 0)
            qFatal("cannot make %s", qPrintable(path));
        return path;
    }

private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
        // Strangers must be able to reach the test's folders.
        QCOMPARE(::chmod(QFile::encodeName(m_dir->path()).constData(), 0755), 0);
    }

    // Where the socket goes. A stranger who can write to a shared folder must not be able to
    // choose or hold it.
    void privateFolder_data()
    {
        QTest::addColumn<QString>("runtime"); // what $XDG_RUNTIME_DIR names
        QTest::addColumn<QString>("inTemp"); // what already is at her name in the temporary folder
        QTest::addColumn<QString>("expected");
        QTest::addRow("her runtime folder") << u"hers"_s << u"nothing"_s << u"run"_s;
        QTest::addRow("a runtime folder others may enter is passed over") << u"open"_s << u"nothing"_s << u"tmp/yuzuha-%1"_s;
        QTest::addRow("a stranger's folder in the temporary folder is passed over") << u"nothing"_s << u"stranger"_s << u"cache/yuzuha"_s;
        QTest::addRow("a link in the temporary folder is passed over") << u"nothing"_s << u"link"_s << u"cache/yuzuha"_s;
    }
    void privateFolder()
    {
        QFETCH(QString, runtime);
        QFETCH(QString, inTemp);
        QFETCH(QString, expected);
        if (inTemp == u"stranger" && ::geteuid() != 0)
            QSKIP("making a stranger's folder needs root");
        const QString uid = QString::number(::geteuid());
        const auto place = [this](const QString &name, const QString &kind) {
            if (kind == u"link")
                return QFile::link(folder(u"elsewhere"_s), m_dir->filePath(name));
            const QByteArray path = QFile::encodeName(folder(name, kind == u"open" ? 0777 : 0700));
            return kind != u"stranger" || ::chown(path.constData(), nobody, nobody) == 0;
        };
        qunsetenv("XDG_RUNTIME_DIR");
        if (runtime != u"nothing") {
            QVERIFY(place(u"run"_s, runtime));
            qputenv("XDG_RUNTIME_DIR", QFile::encodeName(m_dir->filePath(u"run"_s)));
        }
        // The other tests' scratch folders come from the usual temporary folder.
        const auto restore
            = qScopeGuard([temp = qgetenv("TMPDIR"), wasSet = qEnvironmentVariableIsSet("TMPDIR")] { wasSet ? qputenv("TMPDIR", temp) : qunsetenv("TMPDIR"); });
        qputenv("TMPDIR", QFile::encodeName(folder(u"tmp"_s, 01777)));
        qputenv("XDG_CACHE_HOME", QFile::encodeName(m_dir->filePath(u"cache"_s)));
        if (inTemp != u"nothing")
            QVERIFY(place(u"tmp/yuzuha-"_s + uid, inTemp));

        // Only a folder that passes the privacy check is returned, so the path says it all.
        QCOMPARE(SingleInstance::privateFolder().value_or(QString()), m_dir->filePath(expected.replace(u"%1"_s, uid)));
    }

    // A second launch shows the first one's pet and ends, also when a dead instance left its socket
    // where hers goes.
    void secondLaunchReopensTheFirst()
    {
        SingleInstance first(folder(u"private"_s));
        const sockaddr_un at = address(first.socketPath());
        const int dead = ::socket(AF_UNIX, SOCK_STREAM, 0);
        QCOMPARE(::bind(dead, reinterpret_cast<const sockaddr *>(&at), sizeof at), 0);
        QCOMPARE(::listen(dead, 1), 0);
        ::close(dead);
        QSignalSpy reopened(&first, &SingleInstance::reopenRequested);
        QVERIFY(first.claim());
        QVERIFY(first.isListening());
        SingleInstance second(first.socketPath().section(u'/', 0, -2));
        QVERIFY(!second.claim());
        QVERIFY(!second.isListening());
        QTRY_COMPARE(reopened.count(), 1);
    }

    // Another user's program is not believed, at either end of the socket.
    void strangersAreRefused_data()
    {
        QTest::addColumn<bool>("strangerServes");
        QTest::addRow("a stranger's launch cannot reopen her") << false;
        QTest::addRow("her launch does not talk to a stranger's server") << true;
    }
    void strangersAreRefused()
    {
        QFETCH(bool, strangerServes);
        if (::geteuid() != 0)
            QSKIP("running a program as another user needs root");
        // Open to all, so the stranger gets as far as the socket itself.
        const QString shared = folder(u"shared"_s, 0777);
        SingleInstance her(shared);
        QSignalSpy reopened(&her, &SingleInstance::reopenRequested);
        if (!strangerServes) {
            QVERIFY(her.claim());
            QCOMPARE(::chmod(QFile::encodeName(her.socketPath()).constData(), 0666), 0);
            const sockaddr_un at = address(her.socketPath());
            // The stranger connects and says "reopen"; it exits 0 when the message went out.
            const pid_t stranger = startChild([&] {
                if (!becomeNobody())
                    return 20;
                const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
                if (::connect(fd, reinterpret_cast<const sockaddr *>(&at), sizeof at) != 0 || ::write(fd, "reopen\n", 7) != 7)
                    return 10;
                char byte;
                (void)::read(fd, &byte, 1); // until she hangs up
                return 0;
            });
            QCOMPARE(finish(stranger), 0);
            QTest::qWait(100);
            QCOMPARE(reopened.count(), 0);
            QVERIFY(her.isListening());
            return;
        }
        // The stranger holds the lock and listens; it exits 0 only if it heard nothing.
        int ready[2];
        QCOMPARE(::pipe(ready), 0);
        const QByteArray lock = QFile::encodeName(her.lockPath());
        const sockaddr_un at = address(her.socketPath());
        const pid_t pid = startChild([&] {
            if (!becomeNobody())
                return 20;
            const int lockFd = ::open(lock.constData(), O_RDWR | O_CREAT, 0666);
            const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
            if (lockFd < 0 || ::flock(lockFd, LOCK_EX) != 0 || ::bind(fd, reinterpret_cast<const sockaddr *>(&at), sizeof at) != 0 || ::listen(fd, 4) != 0
                || ::chmod(at.sun_path, 0666) != 0 || ::write(ready[1], "r", 1) != 1)
                return 21;
            ::alarm(3);
            const int client = ::accept(fd, nullptr, nullptr);
            char bytes[16];
            return client >= 0 && ::read(client, bytes, sizeof bytes) > 0 ? 1 : 0;
        });
        char byte;
        QCOMPARE(::read(ready[0], &byte, 1), 1);
        // She starts on her own rather than hand her launch to someone else.
        QVERIFY(her.claim());
        QVERIFY(!her.isListening());
        // 0 unless it heard from her; -1 when its alarm stopped it, which also means it heard nothing.
        QVERIFY2(finish(pid) <= 0, "the stranger heard from her");
        ::close(ready[0]);
        ::close(ready[1]);
    }

    // A program of her own that opens over a thousand connections and holds them: with the usual
    // limit of 1,024 descriptors the listener must neither run out of them nor close for good.
    void floodLeavesTheListenerStanding()
    {
        rlimit saved {};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &saved), 0);
        const rlimit usual { std::min<rlim_t>(1024, saved.rlim_max), saved.rlim_max };
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &usual), 0);
        const auto restore = qScopeGuard([&] { ::setrlimit(RLIMIT_NOFILE, &saved); });

        SingleInstance first(folder(u"private"_s));
        QSignalSpy reopened(&first, &SingleInstance::reopenRequested);
        QVERIFY(first.claim());
        const sockaddr_un at = address(first.socketPath());
        const int flooder = finish(startChild([&] {
            const rlimit plenty { saved.rlim_max, saved.rlim_max };
            ::setrlimit(RLIMIT_NOFILE, &plenty);
            // Keeps connecting, for up to 3 s, until it holds 1,050 connections; then holds them for 1 s.
            const time_t end = ::time(nullptr) + 3;
            int held = 0;
            while (held < 1'050 && ::time(nullptr) < end) {
                const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0);
                if (fd >= 0 && ::connect(fd, reinterpret_cast<const sockaddr *>(&at), sizeof at) == 0) {
                    ++held;
                } else {
                    ::close(fd);
                    ::usleep(500);
                }
            }
            ::sleep(1);
            return held > 0 ? 0 : 1;
        }));
        QCOMPARE(flooder, 0);
        QVERIFY(first.isListening());
        // A launch a moment later; in this test it shares her thread, so it must not find her mid-cleanup.
        QTest::qWait(200);
        SingleInstance second(first.socketPath().section(u'/', 0, -2));
        QVERIFY(!second.claim());
        QTRY_COMPARE(reopened.count(), 1);
    }
};

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "tst_singleinstance.moc"

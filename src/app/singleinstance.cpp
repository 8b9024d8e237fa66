#include "singleinstance.h"

#include "appinfo.h"

#include <QDir>
#include <QFile>
#include <QSocketNotifier>
#include <QStandardPaths>
#include <QThread>
#include <QTimer>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
const QByteArray reopenMessage = QByteArrayLiteral("reopen\n");
// Nothing longer is ever sent; a client that sends more is not one of her launches.
constexpr qsizetype messageLimit = 64;
// How long the listener rests when the system is out of descriptors.
constexpr int exhaustedPauseMs = 250;
constexpr int listenBacklog = 16;

QByteArray socketName()
{
    return AppInfo::id.toString().toUtf8() + ".socket";
}

/// The socket address of `path`, or nothing when the path does not fit in one.
std::optional<sockaddr_un> addressOf(const QString &path)
{
    const QByteArray bytes = QFile::encodeName(path);
    sockaddr_un address {};
    if (bytes.isEmpty() || size_t(bytes.size()) >= sizeof address.sun_path)
        return std::nullopt;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, bytes.constData(), size_t(bytes.size()));
    return address;
}

/// Whether the other end of a connected socket runs as this user.
bool peerIsHer(int fd)
{
    ucred peer {};
    socklen_t size = sizeof peer;
    return ::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && size == sizeof peer && peer.uid == ::geteuid();
}

/// `path` is a folder (not a link to one) of hers that nobody else may enter, and her socket's
/// name fits below it.
bool isPrivate(const QString &path)
{
    struct stat info {
    };
    return ::lstat(QFile::encodeName(path).constData(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == ::geteuid() && (info.st_mode & 077) == 0
        && addressOf(path + u'/' + QString::fromUtf8(socketName()));
}

/// `path` when it is private, after creating it 0700 if it was missing.
std::optional<QString> madePrivate(const QString &path)
{
    if (path.isEmpty() || !QDir::isAbsolutePath(path))
        return std::nullopt;
    // mkdir never follows a link at the last component, so a stranger's link stays as it is and fails the check.
    ::mkdir(QFile::encodeName(path).constData(), 0700);
    return isPrivate(path) ? std::optional<QString>(path) : std::nullopt;
}
} // namespace

struct SingleInstance::Client {
    int fd = -1;
    QByteArray received;
    std::unique_ptr<QSocketNotifier> notifier;
    std::unique_ptr<QTimer> deadline;
};

SingleInstance::SingleInstance(QString folder, QObject *parent)
    : QObject(parent)
    , m_folder(std::move(folder))
{
}

SingleInstance::~SingleInstance()
{
    for (auto &[fd, client] : m_clients) {
        client->notifier.reset();
        ::close(fd);
    }
    if (m_listener >= 0) {
        delete m_listenerNotifier;
        ::close(m_listener);
        ::unlink(QFile::encodeName(socketPath()).constData());
    }
    if (m_lock >= 0)
        ::close(m_lock);
}

std::optional<QString> SingleInstance::privateFolder()
{
    // The runtime folder is made by the login for this user alone; it is used only as it is.
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && isPrivate(runtime))
        return runtime;
    if (std::optional<QString> temporary = madePrivate(QDir::tempPath() + u"/yuzuha-"_s + QString::number(::geteuid())))
        return temporary;
    // Anyone may have made that name in the shared temporary folder first; her cache folder is hers.
    const QString cache = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation);
    if (!cache.isEmpty() && QDir().mkpath(cache))
        return madePrivate(cache + u"/yuzuha"_s);
    return std::nullopt;
}

QString SingleInstance::socketPath() const
{
    return m_folder + u'/' + QString::fromUtf8(socketName());
}

QString SingleInstance::lockPath() const
{
    return m_folder + u'/' + AppInfo::id.toString() + u".lock"_s;
}

bool SingleInstance::claim()
{
    if (m_folder.isEmpty()) {
        qWarning("Yuzuha: no private folder for her socket; a second launch will start a second Yuzuha");
        return true;
    }
    // The lock is held for as long as the first instance runs and is let go when it ends, however
    // it ends; so whoever takes it is the one instance, and a socket file left behind means nothing.
    if (takeLock()) {
        listen();
        return true;
    }
    // Another instance holds it: tell it, giving it time to start listening or to work off a crowd.
    for (int waited = 0; waited < reachTimeoutMs; waited += 50) {
        switch (sendReopen()) {
        case Reach::sent:
            return false;
        case Reach::notHers:
            qWarning("Yuzuha: %s is served by another user; starting without re-open requests", qPrintable(socketPath()));
            return true;
        case Reach::unavailable:
            break;
        }
        if (takeLock()) {
            listen();
            return true;
        }
        QThread::msleep(50);
    }
    qWarning("Yuzuha: she is already running but does not answer");
    return false;
}

bool SingleInstance::takeLock()
{
    if (m_lock < 0)
        m_lock = ::open(QFile::encodeName(lockPath()).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    return m_lock >= 0 && ::flock(m_lock, LOCK_EX | LOCK_NB) == 0;
}

void SingleInstance::listen()
{
    const std::optional<sockaddr_un> address = addressOf(socketPath());
    if (!address)
        return;
    ::unlink(address->sun_path);
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0 || ::bind(fd, reinterpret_cast<const sockaddr *>(&*address), sizeof *address) != 0 || ::listen(fd, listenBacklog) != 0) {
        qWarning("Yuzuha: cannot listen for re-open requests at %s: %s", address->sun_path, std::strerror(errno));
        if (fd >= 0)
            ::close(fd);
        return;
    }
    ::chmod(address->sun_path, 0600);
    m_listener = fd;
    m_listenerNotifier = new QSocketNotifier(fd, QSocketNotifier::Read, this);
    connect(m_listenerNotifier, &QSocketNotifier::activated, this, &SingleInstance::acceptPending);
    m_resume = new QTimer(this);
    m_resume->setSingleShot(true);
    connect(m_resume, &QTimer::timeout, this, [this] {
        m_listenerNotifier->setEnabled(true);
        acceptPending();
    });
}

SingleInstance::Reach SingleInstance::sendReopen() const
{
    const std::optional<sockaddr_un> address = addressOf(socketPath());
    if (!address)
        return Reach::unavailable;
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return Reach::unavailable;
    // A listener with a full backlog refuses at once (EAGAIN) rather than keeping her waiting.
    Reach reach = Reach::unavailable;
    if (::connect(fd, reinterpret_cast<const sockaddr *>(&*address), sizeof *address) == 0) {
        if (!peerIsHer(fd))
            reach = Reach::notHers;
        else if (::send(fd, reopenMessage.constData(), size_t(reopenMessage.size()), MSG_NOSIGNAL) == reopenMessage.size())
            reach = Reach::sent;
    }
    ::close(fd);
    return reach;
}

void SingleInstance::acceptPending()
{
    while (m_clients.size() < size_t(maxClients)) {
        const int fd = ::accept4(m_listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
        if (fd < 0) {
            if (errno == EINTR || errno == ECONNABORTED)
                continue;
            // Out of descriptors or memory: rest rather than spin on a connection that cannot be taken.
            if (errno != EAGAIN && errno != EWOULDBLOCK)
                pauseAccepting(exhaustedPauseMs);
            return;
        }
        if (!peerIsHer(fd)) {
            ::close(fd);
            continue;
        }
        auto client = std::make_unique<Client>();
        client->fd = fd;
        client->notifier = std::make_unique<QSocketNotifier>(fd, QSocketNotifier::Read);
        connect(client->notifier.get(), &QSocketNotifier::activated, this, [this, fd] { readClient(fd); });
        client->deadline = std::make_unique<QTimer>();
        client->deadline->setSingleShot(true);
        connect(client->deadline.get(), &QTimer::timeout, this, [this, fd] { dropClient(fd); });
        client->deadline->start(clientTimeoutMs);
        m_clients.emplace(fd, std::move(client));
    }
    // Full: the kernel keeps the next few waiting in the backlog until a place is free.
    m_listenerNotifier->setEnabled(false);
}

void SingleInstance::readClient(int fd)
{
    const auto found = m_clients.find(fd);
    if (found == m_clients.end())
        return;
    Client &client = *found->second;
    char bytes[messageLimit];
    const ssize_t got = ::recv(fd, bytes, sizeof bytes, 0);
    if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR))
        return;
    if (got > 0)
        client.received.append(bytes, got);
    const bool reopen = client.received.contains(reopenMessage);
    if (reopen || got <= 0 || client.received.size() > messageLimit)
        dropClient(fd);
    if (reopen)
        Q_EMIT reopenRequested();
}

void SingleInstance::dropClient(int fd)
{
    const auto found = m_clients.find(fd);
    if (found == m_clients.end())
        return;
    // This may run inside the notifier's or the timer's own signal, so both go later; the notifier
    // is switched off before its descriptor is closed and perhaps handed out again.
    Client &client = *found->second;
    client.notifier->setEnabled(false);
    client.notifier.release()->deleteLater();
    client.deadline->stop();
    client.deadline.release()->deleteLater();
    ::close(fd);
    m_clients.erase(found);
    if (m_listenerNotifier && !m_resume->isActive())
        m_listenerNotifier->setEnabled(true);
}

void SingleInstance::pauseAccepting(int forMs)
{
    m_listenerNotifier->setEnabled(false);
    m_resume->start(forMs);
}

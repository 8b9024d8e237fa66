#pragma once

#include <QObject>
#include <QString>

#include <map>
#include <memory>
#include <optional>

class QSocketNotifier;
class QTimer;

/// Keeps her to one instance per user. The first launch takes a lock and listens on a local
/// socket; a later launch finds the lock taken and asks the running one, over that socket, to show
/// her again. Both live in a folder only she can enter, and each side checks that the other end
/// runs as her before it believes a word. The listener takes a few connections at a time and drops
/// any that stays silent, so a flood of connections cannot use up her descriptors or close it.
class SingleInstance : public QObject
{
    Q_OBJECT

public:
    static constexpr int maxClients = 8;
    static constexpr int clientTimeoutMs = 1'000;
    /// How long a second launch keeps trying to reach a running one that is busy or starting.
    static constexpr int reachTimeoutMs = 2'000;

    /// The socket and the lock go into `folder`, which nobody but this user may enter (see
    /// `privateFolder`); with an empty folder she runs unguarded.
    explicit SingleInstance(QString folder, QObject *parent = nullptr);
    ~SingleInstance() override;

    /// A folder for the socket that only this user can reach: $XDG_RUNTIME_DIR, else a folder of
    /// hers in the temporary folder, else one in her cache folder. Missing ones are created 0700;
    /// each must be a real folder (not a link), owned by her, closed to everyone else. Absent when
    /// none is.
    static std::optional<QString> privateFolder();

    /// Becomes the one instance (true), or hands a re-open request to the running one (false).
    bool claim();
    /// Whether re-open requests are being taken.
    bool isListening() const { return m_listener >= 0; }
    QString socketPath() const;
    QString lockPath() const;

Q_SIGNALS:
    void reopenRequested();

private:
    enum class Reach { sent, notHers, unavailable };
    struct Client;

    bool takeLock();
    void listen();
    Reach sendReopen() const;
    void acceptPending();
    void readClient(int fd);
    void dropClient(int fd);
    void pauseAccepting(int forMs);

    QString m_folder;
    int m_lock = -1;
    int m_listener = -1;
    QSocketNotifier *m_listenerNotifier = nullptr;
    QTimer *m_resume = nullptr;
    std::map<int, std::unique_ptr<Client>> m_clients;
};

#pragma once

#include "sessionscan.h"

#include <QList>
#include <QObject>
#include <QTimer>

#include <optional>

class QThread;
class SessionWatcherWorker;

/// Keeps the list of recent agent sessions: every 3 s a pass runs on one idle-priority worker
/// thread and the result is published here, on the main thread, only when it changed.
class SessionWatcher : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QList<Session> sessions READ sessions NOTIFY sessionsChanged)
    /// The pinned session's id, empty when she follows the fullest.
    Q_PROPERTY(QString pinnedID READ pinnedIDText WRITE setPinnedIDText NOTIFY pinnedIDChanged)

public:
    /// What a watcher reads: the program hands in the gate's snapshots, the system clock and the system log.
    struct Config {
        SessionScan::SnapshotSource snapshots;
        SessionScan::Clock clock;
        SessionScan::SweepReport sweepReport;
    };

    static constexpr int pollIntervalMs = 3'000;

    explicit SessionWatcher(Config config, QObject *parent = nullptr);
    ~SessionWatcher() override;

    /// Begins polling: one pass now, then every 3 s. Calling it again does nothing.
    void start();
    /// Makes the next pass sweep and polls at once.
    void refresh();
    /// The bedtime token count (0 for none) handed to every pass from now on.
    void setBedtime(qint64 tokens) { m_bedtime = tokens; }
    qint64 bedtime() const { return m_bedtime; }

    QList<Session> sessions() const { return m_sessions; }
    std::optional<QString> pinnedID() const { return m_pinnedID; }
    void setPinnedID(std::optional<QString> id);
    QString pinnedIDText() const { return m_pinnedID.value_or(QString()); }
    void setPinnedIDText(const QString &id);
    /// The session the character shows, or nothing.
    std::optional<Session> focused() const;

Q_SIGNALS:
    void sessionsChanged();
    /// On every assignment of the pin, also of an equal value.
    void pinnedIDChanged();
    /// After every pass has reached the main thread, whether or not the list changed.
    void passFinished();

private:
    void poll();
    void ensureThread();
    void receive(const QList<Session> &sessions);
    void stopThread();

    Config m_config;
    QList<Session> m_sessions;
    std::optional<QString> m_pinnedID;
    qint64 m_bedtime = 0;
    QTimer *m_timer = nullptr;
    QThread *m_thread = nullptr;
    SessionWatcherWorker *m_worker = nullptr;
};

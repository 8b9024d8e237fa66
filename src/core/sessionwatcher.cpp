#include "sessionwatcher.h"

#include "appinfo.h"

#include <QThread>

#include <pthread.h>
#include <sched.h>

using namespace Qt::StringLiterals;

/// Runs the passes on the watcher's thread. It owns the scan (candidates, cache, last sweep), so nothing
/// it touches is shared with the main thread; the bedtime comes with each pass as a value.
class SessionWatcherWorker : public QObject
{
    Q_OBJECT

public:
    explicit SessionWatcherWorker(const SessionWatcher::Config &config)
        : m_scan(config.snapshots, config.clock, config.sweepReport)
    {
    }

    void pass(qint64 bedtime) { Q_EMIT passed(m_scan.pass(bedtime)); }

    void forceSweep() { m_scan.forceSweep(); }

Q_SIGNALS:
    void passed(const QList<Session> &sessions);

private:
    SessionScan m_scan;
};

SessionWatcher::SessionWatcher(Config config, QObject *parent)
    : QObject(parent)
    , m_config(std::move(config))
{
    qRegisterMetaType<QList<Session>>();
}

SessionWatcher::~SessionWatcher()
{
    stopThread();
}

void SessionWatcher::ensureThread()
{
    if (m_thread)
        return;
    m_thread = new QThread(this);
    m_thread->setObjectName(AppInfo::id.toString() + u".journals"_s);
    m_worker = new SessionWatcherWorker(m_config);
    m_worker->moveToThread(m_thread);
    connect(m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    // Results come back as values through the event queue; the worker never waits for the main thread.
    connect(m_worker, &SessionWatcherWorker::passed, this, &SessionWatcher::receive, Qt::QueuedConnection);
    // Qt's LowPriority does nothing here: under SCHED_OTHER Linux offers only priority 0. SCHED_IDLE
    // runs the passes only when a core would otherwise sit idle, so a busy build or an agent at work
    // never waits for her; the kernel lets any thread lower itself to it without privileges.
    connect(
        m_thread, &QThread::started, m_worker,
        [] {
            const sched_param none {};
            pthread_setschedparam(pthread_self(), SCHED_IDLE, &none);
        },
        Qt::DirectConnection);
    m_thread->start();
}

void SessionWatcher::stopThread()
{
    if (!m_thread)
        return;
    m_thread->quit();
    m_thread->wait();
    delete m_thread;
    m_thread = nullptr;
    m_worker = nullptr;
}

void SessionWatcher::start()
{
    if (m_timer)
        return;
    poll();
    m_timer = new QTimer(this);
    m_timer->setInterval(pollIntervalMs);
    // Qt timers take no explicit tolerance; a coarse timer may fire up to about 5 % early or late,
    // which lets the system batch wake-ups the way a tolerance would.
    m_timer->setTimerType(Qt::CoarseTimer);
    connect(m_timer, &QTimer::timeout, this, &SessionWatcher::poll);
    m_timer->start();
}

void SessionWatcher::refresh()
{
    ensureThread();
    // Queued ahead of the poll below, on the same thread, so that poll sweeps.
    QMetaObject::invokeMethod(m_worker, &SessionWatcherWorker::forceSweep, Qt::QueuedConnection);
    poll();
}

void SessionWatcher::poll()
{
    ensureThread();
    QMetaObject::invokeMethod(
        m_worker, [worker = m_worker, bedtime = m_bedtime] { worker->pass(bedtime); }, Qt::QueuedConnection);
}

void SessionWatcher::receive(const QList<Session> &sessions)
{
    if (sessions != m_sessions) {
        m_sessions = sessions;
        Q_EMIT sessionsChanged();
    }
    Q_EMIT passFinished();
}

void SessionWatcher::setPinnedID(std::optional<QString> id)
{
    m_pinnedID = std::move(id);
    Q_EMIT pinnedIDChanged();
}

void SessionWatcher::setPinnedIDText(const QString &id)
{
    setPinnedID(id.isEmpty() ? std::nullopt : std::optional<QString>(id));
}

std::optional<Session> SessionWatcher::focused() const
{
    const QDateTime now = m_config.clock ? m_config.clock() : QDateTime::currentDateTimeUtc();
    return SessionScan::focused(m_sessions, m_pinnedID, now);
}

#include "sessionwatcher.moc"

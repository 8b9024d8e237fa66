#pragma once

#include "fleetaccess.h"
#include "journal.h"
#include "session.h"

#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>

#include <functional>
#include <optional>

/// One poll pass over the agents' logs: sweep the granted folders for recent logs, read the changed
/// ones, apply the window rules and keep the most recent sessions. The watcher's worker thread and
/// the terminal tool both run it; an instance is used from one thread at a time.
class SessionScan
{
public:
    using Clock = std::function<QDateTime()>;
    using SnapshotSource = std::function<FleetAccess::SnapshotList()>;
    /// Told after each sweep how many logs were found in how many folders.
    using SweepReport = std::function<void(qsizetype sessions, qsizetype folders)>;

    static constexpr qint64 sweepIntervalMs = 60'000;
    static constexpr qint64 recencyMs = 86'400'000;
    static constexpr qint64 idleLimitMs = 1'200'000;
    static constexpr qsizetype listLimit = 12;
    static constexpr qint64 defaultCodexWindow = 258'400;
    static constexpr qint64 raisedWindow = 1'000'000;

    struct Candidate {
        QString path;
        Provider provider;
    };
    struct Cached {
        qint64 size = 0;
        QDateTime modified;
        Journal::Reading reading;
    };

    /// Sweeps the folders `snapshots` gives; the clock defaults to the system's, the report to the
    /// "journal sweep" line in the system log.
    explicit SessionScan(SnapshotSource snapshots, Clock clock = {}, SweepReport report = {});

    /// One pass with `bedtime` (0 for none): sweeps when due, then at most 12 sessions, latest first.
    QList<Session> pass(qint64 bedtime);
    /// Makes the next pass sweep.
    void forceSweep() { m_lastSweep.reset(); }
    /// Re-discovers the candidate logs now.
    void sweep();
    /// One log into one session with the window rules applied; nothing when the file is gone.
    std::optional<Session> read(const Candidate &candidate, qint64 bedtime);

    const QList<Candidate> &candidates() const { return m_candidates; }

    /// The model's window with the bedtime and the raise rule applied.
    static qint64 effectiveWindow(Provider provider, const Journal::Reading &reading, qint64 bedtime);
    /// The display name of a session's project.
    static QString project(const std::optional<QString> &cwd, const QString &path, Provider provider);
    /// The sessions a pass keeps of `sessions` at `now`: recent, with tokens or not idle, latest first, 12 at most.
    static QList<Session> select(QList<Session> sessions, const QDateTime &now);
    /// The session the character shows: the pinned one if listed, else the fullest live one, else the most recent.
    static std::optional<Session> focused(const QList<Session> &sessions, const std::optional<QString> &pinned, const QDateTime &now);

private:
    SnapshotSource m_snapshots;
    Clock m_clock;
    SweepReport m_report;
    QList<Candidate> m_candidates;
    QHash<QString, Cached> m_cache;
    std::optional<QDateTime> m_lastSweep;
};

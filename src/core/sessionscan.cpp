#include "sessionscan.h"

#include "systemlog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <set>
#include <system_error>

using namespace Qt::StringLiterals;
namespace fs = std::filesystem;

namespace
{
QString toQString(const fs::path &path)
{
    return QFile::decodeName(QByteArray::fromStdString(path.native()));
}

bool isHidden(const fs::path &name)
{
    const auto &text = name.native();
    return !text.empty() && text.front() == '.';
}

bool hasExtensionJsonl(const fs::path &name)
{
    // Exactly "jsonl": neither "json" nor "JSONL", and a bare ".jsonl" is a hidden file, not an extension.
    return name.extension() == ".jsonl" && name.native().size() > 6;
}

struct Walk {
    fs::file_time_type cutoff;
    Provider provider;
    QList<SessionScan::Candidate> *found;

    // Depth first, each folder's entries by name so that a sweep is repeatable. Symbolic links are
    // never followed, hidden entries and folders named "subagents" are passed over, and any entry
    // that cannot be examined is ignored.
    void folder(const fs::path &dir) const
    {
        std::error_code error;
        std::vector<fs::directory_entry> entries;
        // A read error ends a listing where it happened; open the folder again (a few times at most)
        // and take the entries not seen yet, so one bad read does not hide the rest of the folder.
        std::set<fs::path> seen;
        for (int attempt = 0; attempt < 3; ++attempt) {
            fs::directory_iterator it(dir, fs::directory_options::none, error);
            if (error)
                break;
            for (const fs::directory_iterator end; it != end; it.increment(error)) {
                if (seen.insert(it->path().filename()).second)
                    entries.push_back(*it);
            }
            if (!error)
                break;
        }
        std::sort(entries.begin(), entries.end(), [](const auto &a, const auto &b) { return a.path().native() < b.path().native(); });
        for (const fs::directory_entry &entry : entries) {
            const fs::path name = entry.path().filename();
            if (isHidden(name))
                continue;
            const fs::file_status status = entry.symlink_status(error);
            if (error)
                continue;
            if (fs::is_directory(status)) {
                if (name != "subagents")
                    folder(entry.path());
                continue;
            }
            if (!fs::is_regular_file(status) || !hasExtensionJsonl(name))
                continue;
            // Compared in the file system's own time, so that an old log costs one stat and nothing more.
            const fs::file_time_type modified = entry.last_write_time(error);
            if (!error && modified > cutoff)
                found->append({ toQString(entry.path()), provider });
        }
    }
};
} // namespace

SessionScan::SessionScan(SnapshotSource snapshots, Clock clock, SweepReport report)
    : m_snapshots(std::move(snapshots))
    , m_clock(clock ? std::move(clock) : Clock(&QDateTime::currentDateTimeUtc))
    , m_report(report ? std::move(report) : SweepReport([](qsizetype sessions, qsizetype folders) {
        SystemLog::write(u"journals", u"journal sweep: %1 sessions across %2 folders"_s.arg(sessions).arg(folders));
    }))
{
}

QList<Session> SessionScan::pass(qint64 bedtime)
{
    const QDateTime now = m_clock();
    if (!m_lastSweep || m_lastSweep->msecsTo(now) > sweepIntervalMs)
        sweep();
    QList<Session> sessions;
    sessions.reserve(m_candidates.size());
    for (const Candidate &candidate : std::as_const(m_candidates)) {
        if (std::optional<Session> session = read(candidate, bedtime))
            sessions.append(std::move(*session));
    }
    return select(std::move(sessions), now);
}

void SessionScan::sweep()
{
    const QDateTime now = m_clock();
    m_lastSweep = now;
    const auto cutoffSys = std::chrono::sys_time<std::chrono::milliseconds>(std::chrono::milliseconds(now.addMSecs(-recencyMs).toMSecsSinceEpoch()));
    const fs::file_time_type cutoff = std::chrono::file_clock::from_sys(cutoffSys);
    // The list read here is the one this sweep works on, whatever the gate publishes meanwhile.
    const FleetAccess::SnapshotList snapshots = m_snapshots ? m_snapshots() : nullptr;
    QList<Candidate> found;
    qsizetype folders = 0;
    if (snapshots) {
        folders = snapshots->size();
        for (const FleetAccess::Snapshot &snapshot : *snapshots) {
            const std::optional<Provider> provider = providerFromRawValue(snapshot.provider);
            if (!provider)
                continue;
            // A root below a folder named "subagents" holds nothing we read.
            if (QDir::cleanPath(snapshot.root).split(u'/').contains(u"subagents"_s))
                continue;
            Walk { cutoff, *provider, &found }.folder(fs::path(QFile::encodeName(snapshot.root).toStdString()));
        }
    }
    m_candidates = std::move(found);
    QSet<QString> keep;
    keep.reserve(m_candidates.size());
    for (const Candidate &candidate : std::as_const(m_candidates))
        keep.insert(candidate.path);
    m_cache.removeIf([&keep](const auto &entry) { return !keep.contains(entry.key()); });
    m_report(m_candidates.size(), folders);
}

std::optional<Session> SessionScan::read(const Candidate &candidate, qint64 bedtime)
{
    const QFileInfo info(candidate.path);
    if (!info.exists() || !info.isFile())
        return std::nullopt;
    const QDateTime modified = info.lastModified().toUTC();
    if (!modified.isValid())
        return std::nullopt;
    const qint64 size = info.size();

    auto cached = m_cache.find(candidate.path);
    if (cached == m_cache.end() || cached->size != size || cached->modified != modified) {
        Cached fresh { size, modified, candidate.provider == Provider::claude ? Journal::claude(candidate.path) : Journal::codex(candidate.path) };
        cached = m_cache.insert(candidate.path, std::move(fresh));
    }
    const Journal::Reading &reading = cached->reading;

    const QDateTime born = info.birthTime().toUTC();
    Session session;
    session.id = candidate.path;
    session.provider = candidate.provider;
    session.project = project(reading.cwd, candidate.path, candidate.provider);
    session.tokens = reading.tokens;
    session.window = effectiveWindow(candidate.provider, reading, bedtime);
    session.started = born.isValid() ? born : modified;
    session.lastActivity = modified;
    return session;
}

qint64 SessionScan::effectiveWindow(Provider provider, const Journal::Reading &reading, qint64 bedtime)
{
    const qint64 model = provider == Provider::codex ? reading.window.value_or(defaultCodexWindow) : Journal::claudeWindow(reading.model);
    if (bedtime > 0)
        return bedtime;
    // Tokens beyond the window mean the model has a larger one than its name tells. Only without a
    // bedtime: a negative one (a hand-edited setting) is no bedtime, and raises nothing either.
    if (bedtime == 0 && reading.tokens && *reading.tokens > model)
        return raisedWindow;
    return model;
}

QString SessionScan::project(const std::optional<QString> &cwd, const QString &path, Provider provider)
{
    if (cwd && !cwd->isEmpty()) {
        QString trimmed = *cwd;
        while (trimmed.size() > 1 && trimmed.endsWith(u'/'))
            trimmed.chop(1);
        const QString last = trimmed == u"/"_s ? trimmed : trimmed.section(u'/', -1);
        if (!last.isEmpty() && last != u"/")
            return last;
    }
    if (provider == Provider::codex)
        return u"Codex"_s;
    // Claude Code names a project's folder after its path with "/" turned into "-".
    const QString folder = QFileInfo(path).dir().dirName();
    const QStringList pieces = folder.split(u'-', Qt::SkipEmptyParts);
    if (!pieces.isEmpty() && pieces.last().size() >= 2)
        return pieces.last();
    return u"Claude Code"_s;
}

QList<Session> SessionScan::select(QList<Session> sessions, const QDateTime &now)
{
    const QDateTime cutoff = now.addMSecs(-recencyMs);
    sessions.removeIf([&](const Session &s) { return !(s.lastActivity > cutoff && (s.tokens || s.lastActivity.msecsTo(now) < idleLimitMs)); });
    std::stable_sort(sessions.begin(), sessions.end(), [](const Session &a, const Session &b) { return a.lastActivity > b.lastActivity; });
    if (sessions.size() > listLimit)
        sessions.resize(listLimit);
    return sessions;
}

std::optional<Session> SessionScan::focused(const QList<Session> &sessions, const std::optional<QString> &pinned, const QDateTime &now)
{
    if (pinned) {
        for (const Session &s : sessions) {
            if (s.id == *pinned)
                return s;
        }
    }
    const Session *best = nullptr;
    for (const Session &s : sessions) {
        if (s.lastActivity.msecsTo(now) >= idleLimitMs)
            continue;
        if (!best || s.percent() > best->percent() || (s.percent() == best->percent() && s.lastActivity > best->lastActivity))
            best = &s;
    }
    if (best)
        return *best;
    if (sessions.isEmpty())
        return std::nullopt;
    return sessions.first();
}

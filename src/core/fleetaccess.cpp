#include "fleetaccess.h"

#include <QDir>
#include <QFile>
#include <QVariantMap>

#include <cerrno>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

const QList<FleetFolder> &FleetAccess::folders()
{
    static const QList<FleetFolder> table {
        { u"claude"_s, u"Claude Code"_s, u".claude/projects"_s, u"CLAUDE"_s },
        { u"codex"_s, u"Codex"_s, u".codex/sessions"_s, u"CODEX"_s },
    };
    return table;
}

QList<FleetAccess::Snapshot> FleetAccess::directSnapshots(const QString &home)
{
    QList<Snapshot> list;
    for (const FleetFolder &folder : folders())
        list.append({ QDir(home).filePath(folder.relativePath), folder.provider });
    return list;
}

QString FleetAccess::homeFolder()
{
    // The account's own home, not $HOME, which a shell or a sandbox may have changed.
    if (const passwd *entry = getpwuid(getuid()); entry && entry->pw_dir && *entry->pw_dir)
        return QDir::cleanPath(QFile::decodeName(entry->pw_dir));
    return QDir::cleanPath(QDir::homePath());
}

FleetAccess::State FleetAccess::examine(const QString &path)
{
    const QByteArray native = QFile::encodeName(path);
    struct stat info {
    };
    if (::stat(native.constData(), &info) != 0)
        // A folder above it that she may not enter hides whether it is there: count it as out of reach.
        return errno == EACCES ? State::unreadable : State::missing;
    if (!S_ISDIR(info.st_mode))
        return State::missing;
    // Listing takes read, and reading the logs inside takes search permission.
    return ::access(native.constData(), R_OK | X_OK) == 0 ? State::readable : State::unreadable;
}

FleetAccess::FleetAccess(QString home, Probe probe, QObject *parent)
    : QObject(parent)
    , m_home(QDir::cleanPath(home))
    , m_probe(probe ? std::move(probe) : Probe(&FleetAccess::examine))
    , m_snapshots(std::make_shared<const QList<Snapshot>>(directSnapshots(m_home)))
{
    check();
}

FleetAccess::~FleetAccess() = default;

QVariantList FleetAccess::folderList() const
{
    QVariantList list;
    for (const FleetFolder &folder : folders()) {
        list.append(QVariantMap {
            { u"id"_s, folder.id },
            { u"label"_s, folder.label },
            { u"relativePath"_s, folder.relativePath },
            { u"provider"_s, folder.provider },
        });
    }
    return list;
}

void FleetAccess::check()
{
    QStringList unreadable;
    for (const FleetFolder &folder : folders()) {
        if (m_probe(QDir(m_home).filePath(folder.relativePath)) == State::unreadable)
            unreadable.append(folder.id);
    }
    if (unreadable == m_unreadableIds)
        return;
    m_unreadableIds = unreadable;
    Q_EMIT unreadableIdsChanged();
}

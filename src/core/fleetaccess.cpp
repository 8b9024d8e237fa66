#include "fleetaccess.h"

#include <QDir>
#include <QSettings>
#include <QVariantMap>

#if defined(Q_OS_UNIX)
#include <pwd.h>
#include <unistd.h>
#endif

using namespace Qt::StringLiterals;

namespace
{
QString homeRelative(const FleetFolder &folder)
{
    return u"~/"_s + folder.relativePath;
}
} // namespace

size_t qHash(const FleetFolder &folder, size_t seed) noexcept
{
    return qHashMulti(seed, folder.id, folder.label, folder.relativePath, folder.provider);
}

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
    for (const FleetFolder &folder : folders()) {
        const QString root = QDir(home).filePath(folder.relativePath);
        list.append({ root, root, folder.provider });
    }
    return list;
}

QString FleetAccess::homeFolder()
{
#if defined(Q_OS_UNIX)
    // The account's own home, not $HOME, which a shell or a sandbox may have changed.
    if (const passwd *entry = getpwuid(getuid()); entry && entry->pw_dir && *entry->pw_dir)
        return QDir::cleanPath(QFile::decodeName(entry->pw_dir));
#endif
    return QDir::cleanPath(QDir::homePath());
}

FleetAccess::FleetAccess(QString home, QSettings *store, QObject *parent)
    : QObject(parent)
    , m_home(QDir::cleanPath(home))
    , m_store(store)
{
    for (const FleetFolder &folder : folders())
        m_grantedIds.insert(folder.id);
    rebuildSnapshots();
}

FleetAccess::~FleetAccess() = default;

QStringList FleetAccess::grantedIdList() const
{
    // In the order of the folder table, so views list them steadily.
    QStringList ids;
    for (const FleetFolder &folder : folders()) {
        if (m_grantedIds.contains(folder.id))
            ids.append(folder.id);
    }
    return ids;
}

void FleetAccess::setPrompt(std::unique_ptr<FolderPrompt> prompt)
{
    m_prompt = std::move(prompt);
}

void FleetAccess::request(const FleetFolder &folder)
{
    if (!m_prompt)
        return;
    const QString expected = QDir(m_home).filePath(folder.relativePath);
    const QString message = u"Let Yuzuha read how full your "_s + folder.label + u" sessions are. She reads the token counts in "_s + homeRelative(folder)
        + u" and nothing leaves your Mac."_s;
    // The user may pick again any number of times; each round reopens the chooser at the expected folder.
    for (;;) {
        const std::optional<QString> picked = m_prompt->chooseFolder(message, u"Allow"_s, expected);
        if (!picked || picked->isEmpty())
            return;
        if (covers(*picked, folder)) {
            store(*picked, folder);
            return;
        }
        const bool again = m_prompt->ask(u"That is not where "_s + folder.label + u" writes"_s,
            u"Choose "_s + homeRelative(folder)
                + u", or a folder above it. Yuzuha cannot read anywhere else, so any other pick would leave it seeing nothing."_s,
            { u"Choose Again"_s, u"Cancel"_s });
        if (!again)
            return;
    }
}

bool FleetAccess::covers(const QString &path, const FleetFolder &folder) const
{
    // "." and ".." are resolved textually; symbolic links are left as they are.
    const QString picked = QDir::cleanPath(path);
    const QString home = QDir::cleanPath(m_home);
    if (picked == home)
        return true;
    const QString prefix = home.endsWith(u'/') ? home : home + u'/';
    if (!picked.startsWith(prefix))
        return false;
    const QString rest = picked.mid(prefix.size());
    return rest == folder.relativePath || folder.relativePath.startsWith(rest + u'/');
}

void FleetAccess::store(const QString &path, const FleetFolder &folder)
{
    m_scopes.insert(folder.id, QDir::cleanPath(path));
    m_grantedIds.insert(folder.id);
    Q_EMIT grantedIdsChanged();
    rebuildSnapshots();
}

void FleetAccess::revoke(const FleetFolder &folder)
{
    if (m_store) {
        const QString key = bookmarksKey.toString();
        // A missing or malformed record counts as empty; what is left is written back either way.
        QVariantMap records = m_store->value(key).toMap();
        records.remove(folder.id);
        m_store->setValue(key, records);
        m_store->sync();
    }
    m_scopes.remove(folder.id);
    m_grantedIds.remove(folder.id);
    Q_EMIT grantedIdsChanged();
    rebuildSnapshots();
}

void FleetAccess::rebuildSnapshots()
{
    auto list = std::make_shared<QList<Snapshot>>();
    for (const FleetFolder &folder : folders()) {
        if (!m_grantedIds.contains(folder.id))
            continue;
        const QString root = QDir(m_home).filePath(folder.relativePath);
        list->append({ m_scopes.value(folder.id, root), root, folder.provider });
    }
    m_snapshots.store(std::move(list));
}

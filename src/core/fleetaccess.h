#pragma once

#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>

#include <atomic>
#include <memory>
#include <optional>

class QSettings;

/// A folder an agent writes its logs to.
struct FleetFolder {
    Q_GADGET
    Q_PROPERTY(QString id MEMBER id CONSTANT)
    Q_PROPERTY(QString label MEMBER label CONSTANT)
    Q_PROPERTY(QString relativePath MEMBER relativePath CONSTANT)
    Q_PROPERTY(QString provider MEMBER provider CONSTANT)

public:
    QString id;
    QString label;
    QString relativePath; ///< below the home folder, without a leading slash
    QString provider; ///< a Provider raw value

    friend bool operator==(const FleetFolder &, const FleetFolder &) = default;
};
size_t qHash(const FleetFolder &folder, size_t seed = 0) noexcept;

/// The dialogs a folder grant needs; the desktop app installs real ones, tests a scripted one.
class FolderPrompt
{
public:
    virtual ~FolderPrompt() = default;
    /// A modal folder chooser opened at `startFolder`; the picked folder, or nothing when cancelled.
    virtual std::optional<QString> chooseFolder(const QString &message, const QString &confirmTitle, const QString &startFolder) = 0;
    /// A modal alert; true when the user pressed the first of `buttons`.
    virtual bool ask(const QString &message, const QString &informativeText, const QStringList &buttons) = 0;
};

/// The gate deciding which agent log folders the session watcher may read.
class FleetAccess : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QStringList grantedIds READ grantedIdList NOTIFY grantedIdsChanged)

public:
    /// One granted folder as the watcher's sweep sees it.
    struct Snapshot {
        QString scope; ///< the folder access was granted through
        QString root; ///< the folder to scan
        QString provider;
        friend bool operator==(const Snapshot &, const Snapshot &) = default;
    };
    using SnapshotList = std::shared_ptr<const QList<Snapshot>>;

    /// A gate over a home folder (the running account's, or a temporary one in tests) and the settings
    /// store; it starts with every folder granted.
    FleetAccess(QString home, QSettings *store, QObject *parent = nullptr);
    ~FleetAccess() override;

    /// The known agent folders, Claude Code first.
    static const QList<FleetFolder> &folders();
    /// The granted folders to scan, in the order of `folders()`; replaced as a whole, safe to read on any thread.
    SnapshotList snapshots() const { return m_snapshots.load(); }
    /// The snapshots of a home folder with every folder granted and no picked scopes.
    static QList<Snapshot> directSnapshots(const QString &home);
    /// The running account's home folder from the user database, else the platform's.
    static QString homeFolder();

    QSet<QString> grantedIds() const { return m_grantedIds; }
    QStringList grantedIdList() const;
    QString home() const { return m_home; }

    /// Runs the folder chooser until the user picks a folder that covers `folder` or gives up.
    void request(const FleetFolder &folder);
    /// Withdraws the grant and forgets its stored record under "fleetFolderBookmarks".
    void revoke(const FleetFolder &folder);
    /// Whether `path` is the folder's expected location or one of its ancestors inside the home folder.
    bool covers(const QString &path, const FleetFolder &folder) const;
    /// Grants `folder` through the picked `path`.
    void store(const QString &path, const FleetFolder &folder);
    void rebuildSnapshots();

    /// The dialogs `request` runs; nothing is asked while none is installed.
    void setPrompt(std::unique_ptr<FolderPrompt> prompt);

    static constexpr QStringView bookmarksKey = u"fleetFolderBookmarks";

Q_SIGNALS:
    void grantedIdsChanged();

private:
    QString m_home;
    QSettings *m_store;
    QSet<QString> m_grantedIds;
    QHash<QString, QString> m_scopes;
    std::unique_ptr<FolderPrompt> m_prompt;
    // Replaced as a whole on the main thread and read by the watcher's sweep: readers get the old or the new list.
    std::atomic<SnapshotList> m_snapshots;
};
Q_DECLARE_METATYPE(FleetFolder)

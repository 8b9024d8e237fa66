#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>

#include <functional>
#include <memory>

/// A folder an agent writes its logs to.
struct FleetFolder {
    QString id;
    QString label;
    QString relativePath; ///< below the home folder, without a leading slash
    QString provider; ///< a Provider raw value
};

/// The agents' log folders below one home folder, and which of them she cannot read. She reads them
/// with the user's own rights, so a folder can only be out of reach when it exists but its permissions
/// (or those of a folder above it) keep her out, for instance after an agent was run as another user.
class FleetAccess : public QObject
{
    Q_OBJECT
    /// One map per known folder: id, label, relativePath, provider.
    Q_PROPERTY(QVariantList folders READ folderList CONSTANT)
    /// The ids of the folders that exist but cannot be read, in the order of `folders()`.
    Q_PROPERTY(QStringList unreadableIds READ unreadableIds NOTIFY unreadableIdsChanged)

public:
    /// One folder as the watcher's sweep sees it.
    struct Snapshot {
        QString root; ///< the folder to scan
        QString provider;
        friend bool operator==(const Snapshot &, const Snapshot &) = default;
    };
    using SnapshotList = std::shared_ptr<const QList<Snapshot>>;

    enum class State { missing, readable, unreadable };
    Q_ENUM(State)
    /// Tells what is at a path; tests hand in their own, since permissions do not keep root out.
    using Probe = std::function<State(const QString &path)>;

    /// The folders below `home`, examined at once with `probe` (the file system's own answer when none).
    explicit FleetAccess(QString home, Probe probe = {}, QObject *parent = nullptr);
    ~FleetAccess() override;

    /// The known agent folders, Claude Code first.
    static const QList<FleetFolder> &folders();
    /// The snapshots of every agent folder of a home folder.
    static QList<Snapshot> directSnapshots(const QString &home);
    /// The running account's home folder from the user database, else the platform's.
    static QString homeFolder();
    /// What is at `path`: a folder she can list, one she cannot, or nothing she could read from.
    static State examine(const QString &path);

    /// The folders to scan; fixed for the life of the gate, safe to read on any thread.
    SnapshotList snapshots() const { return m_snapshots; }
    QString home() const { return m_home; }
    QVariantList folderList() const;
    QStringList unreadableIds() const { return m_unreadableIds; }

    /// Examines the folders again; tells `unreadableIdsChanged` when the answer changed.
    void check();

Q_SIGNALS:
    void unreadableIdsChanged();

private:
    QString m_home;
    Probe m_probe;
    SnapshotList m_snapshots;
    QStringList m_unreadableIds;
};

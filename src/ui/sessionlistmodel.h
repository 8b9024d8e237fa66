#pragma once

#include "session.h"

#include <QAbstractListModel>
#include <QDateTime>
#include <QList>
#include <QtQml/qqmlregistration.h>

#include <functional>
#include <optional>

/// Today's sessions as the popover lists them. A new publication is merged into the rows in place
/// (changed rows report dataChanged, the rest are inserted, removed or moved), so an open list keeps its
/// scroll position and does not flicker.
class SessionListModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Made by the popover host")
    Q_PROPERTY(int count READ rowCount NOTIFY countChanged)
    /// True while the user follows one session instead of the fullest.
    Q_PROPERTY(bool hasPin READ hasPin NOTIFY hasPinChanged)

public:
    enum Role {
        SessionIdRole = Qt::UserRole + 1,
        ProviderRole, ///< "CLAUDE" or "CODEX"
        ProjectRole,
        CaptionRole, ///< "46K of 200K · started 09:05 · 3m ago"
        PercentRole,
        TierRole,
        FollowedRole, ///< the session the character shows
        PinnedRole, ///< the session the user chose to follow
    };
    Q_ENUM(Role)

    explicit SessionListModel(QObject *parent = nullptr);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

    bool hasPin() const { return m_pinnedID.has_value(); }

    /// Merges a publication of the watcher into the rows.
    void update(const QList<Session> &sessions, const std::optional<QString> &pinnedID, const std::optional<QString> &focusedID);

    /// The row's caption: the token count against the window, the start time and the age of the last activity.
    static QString caption(const Session &session, const QDateTime &now);

    /// Where captions read the current time; tests fix it.
    void setNow(std::function<QDateTime()> now) { m_now = std::move(now); }

Q_SIGNALS:
    void countChanged();
    void hasPinChanged();

private:
    struct Row {
        Session session;
        bool followed = false;
        bool pinned = false;
        QString caption;
    };

    int indexOf(const QString &id, int from) const;

    QList<Row> m_rows;
    std::optional<QString> m_pinnedID;
    std::function<QDateTime()> m_now;
};

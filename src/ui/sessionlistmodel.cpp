#include "sessionlistmodel.h"

#include "formatting.h"

#include <QSet>

using namespace Qt::StringLiterals;

SessionListModel::SessionListModel(QObject *parent)
    : QAbstractListModel(parent)
    , m_now([] { return QDateTime::currentDateTime(); })
{
}

int SessionListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant SessionListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row &row = m_rows.at(index.row());
    switch (role) {
    case SessionIdRole:
        return row.session.id;
    case ProviderRole:
        return providerRawValue(row.session.provider);
    case Qt::DisplayRole:
    case ProjectRole:
        return row.session.project;
    case CaptionRole:
        return row.caption;
    case PercentRole:
        return row.session.percent();
    case TierRole:
        return row.session.tier();
    case FollowedRole:
        return row.followed;
    case PinnedRole:
        return row.pinned;
    default:
        return {};
    }
}

QHash<int, QByteArray> SessionListModel::roleNames() const
{
    return {
        { SessionIdRole, "sessionId" },
        { ProviderRole, "provider" },
        { ProjectRole, "project" },
        { CaptionRole, "caption" },
        { PercentRole, "percent" },
        { TierRole, "tier" },
        { FollowedRole, "followed" },
        { PinnedRole, "pinned" },
    };
}

QString SessionListModel::caption(const Session &session, const QDateTime &now)
{
    QString text = session.tokens ? shortTokens(*session.tokens) + u" of "_s + shortTokens(session.window) : u"No reply yet"_s;
    text += u" \u00B7 started "_s + clock(session.started, now);
    text += u" \u00B7 "_s + ago(session.lastActivity, now);
    return text;
}

int SessionListModel::indexOf(const QString &id, int from) const
{
    for (int i = from; i < m_rows.size(); ++i) {
        if (m_rows.at(i).session.id == id)
            return i;
    }
    return -1;
}

void SessionListModel::update(const QList<Session> &sessions, const std::optional<QString> &pinnedID, const std::optional<QString> &focusedID)
{
    const QDateTime now = m_now();
    const int countBefore = rowCount();
    const bool hadPin = hasPin();
    m_pinnedID = pinnedID;

    // Rows whose session left the list go first, from the back so the indices stay valid.
    QSet<QString> incoming;
    for (const Session &session : sessions)
        incoming.insert(session.id);
    for (int i = static_cast<int>(m_rows.size()) - 1; i >= 0; --i) {
        if (!incoming.contains(m_rows.at(i).session.id)) {
            beginRemoveRows({}, i, i);
            m_rows.removeAt(i);
            endRemoveRows();
        }
    }

    // Then walk the new order: an existing row is moved up to its place and refreshed, a new one is inserted.
    for (int i = 0; i < sessions.size(); ++i) {
        const Session &session = sessions.at(i);
        Row fresh { session, focusedID == session.id, pinnedID == session.id, caption(session, now) };
        const int at = indexOf(session.id, i);
        if (at < 0) {
            beginInsertRows({}, i, i);
            m_rows.insert(i, std::move(fresh));
            endInsertRows();
            continue;
        }
        if (at != i) {
            beginMoveRows({}, at, at, {}, i);
            m_rows.move(at, i);
            endMoveRows();
        }
        Row &row = m_rows[i];
        const bool same = row.session == fresh.session && row.followed == fresh.followed && row.pinned == fresh.pinned;
        const bool captionOnly = same && row.caption != fresh.caption;
        if (same && !captionOnly)
            continue;
        row = std::move(fresh);
        const QModelIndex cell = index(i);
        if (captionOnly)
            Q_EMIT dataChanged(cell, cell, { CaptionRole });
        else
            Q_EMIT dataChanged(cell, cell);
    }

    if (rowCount() != countBefore)
        Q_EMIT countChanged();
    if (hasPin() != hadPin)
        Q_EMIT hasPinChanged();
}

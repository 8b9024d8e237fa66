#pragma once

#include <QDateTime>
#include <QString>

/// Counts such as 46K or 1.2M.
QString shortTokens(qint64 n);
/// "HH:mm" today, "EEE HH:mm" on another day, in the user's locale and time zone.
QString clock(const QDateTime &date, const QDateTime &now = QDateTime::currentDateTime());
/// "now", "12m ago" or "3h ago".
QString ago(const QDateTime &date, const QDateTime &now = QDateTime::currentDateTime());

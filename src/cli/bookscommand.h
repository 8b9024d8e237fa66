#pragma once

#include "session.h"

#include <QDateTime>
#include <QList>
#include <QStringList>

#include <optional>

/// `yuzuha-books [--home DIR] [--bedtime N] [--json]`: today's sessions as the desktop app sees them.
namespace BooksCommand
{
inline constexpr QStringView synopsis = u"[books] [--home DIR] [--bedtime N] [--json]";

/// Runs the verb on the arguments that follow it; returns the exit code.
int run(const QStringList &arguments);

/// The table a person reads: one row per session, the focused one marked.
QStringList toTable(const QList<Session> &sessions, const std::optional<Session> &focused, const QDateTime &now);
/// {"sessions":[…],"focused":ID|null}, times in UTC with milliseconds.
QString toJson(const QList<Session> &sessions, const std::optional<Session> &focused);
} // namespace BooksCommand

#pragma once

#include "fleetaccess.h"
#include "session.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QList>
#include <QStringList>

#include <array>
#include <optional>

/// `yuzuha-books [--home DIR] [--bedtime N] [--json]`: today's sessions as the desktop app sees them.
namespace BooksCommand
{
inline constexpr QStringView synopsis = u"[books] [--home DIR] [--bedtime N] [--json]";
inline constexpr QStringView summary = u"today's sessions as a table, or as JSON; the one she would show is marked";

/// Runs the verb on the arguments that follow it; returns the exit code.
int run(const QStringList &arguments);

/// One column of the table.
struct Column {
    QStringView title;
    qsizetype width; ///< 0 for the last, which is not padded
    bool right;
};
inline constexpr std::array<Column, 7> columns { {
    { u"PROVIDER", 8, false },
    { u"PROJECT", 24, false },
    { u"FILL", 4, true },
    { u"TOKENS", 6, true },
    { u"WINDOW", 6, true },
    { u"STARTED", 9, false },
    { u"LAST", 0, false },
} };
inline constexpr qsizetype fillColumn = 2;
/// The text cut with an ellipsis or padded to the column's width.
QString fit(const QString &text, const Column &column);
/// One session's cells in column order, safe to print.
QStringList cells(const Session &session, const QDateTime &now);
/// The mark in front of a row: the followed session's, or blanks of the same width.
QString mark(bool followed);

inline constexpr QStringView emptyLine = u"No sessions in the last 24 hours: nothing on the books yet.";
/// The table a person reads: one row per session, the focused one marked.
QStringList toTable(const QList<Session> &sessions, const std::optional<Session> &focused, const QDateTime &now);
/// {"sessions":[…],"focused":ID|null}, times in UTC with milliseconds.
QString toJson(const QList<Session> &sessions, const std::optional<Session> &focused);

/// The folder given with --home made absolute, else the account's home; nothing, after saying so, when it is no folder.
std::optional<QString> homeFolder(const QCommandLineParser &parser, const QCommandLineOption &option);
/// Every agent folder below `home`, read directly; a terminal run leaves no system-log line.
FleetAccess::SnapshotList snapshots(const QString &home);
/// The same pass the desktop app runs, once.
QList<Session> scan(const QString &home, qint64 bedtime, const QDateTime &now);
} // namespace BooksCommand

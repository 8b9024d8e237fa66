#pragma once

#include "session.h"

#include <QByteArray>
#include <QStringList>

#include <optional>

/// `yuzuha-books statusline`: reads the JSON a Claude Code status-line command gets on standard input
/// and prints one short line about that session. It never fails the agent's screen: exit 0 whatever the input.
namespace StatuslineCommand
{
inline constexpr QStringView synopsis = u"statusline < status.json";
inline constexpr QStringView summary = u"one line for Claude Code's status line, from the JSON it writes to standard input";
/// What every one-line view says when there is no session to show.
inline constexpr QStringView neutralLine = u"Yuzuha · no session yet";

int run(const QStringList &arguments);

/// The line for the session a status-line input names, or the neutral line when it names none.
QString lineFor(const QByteArray &input, qint64 bedtime);
/// Six segments, lit up to the tier as in the popover's meter.
QString meter(int tier);
/// The line for one session.
QString lineFor(const Session &session);
} // namespace StatuslineCommand

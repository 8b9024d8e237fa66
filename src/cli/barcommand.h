#pragma once

#include "session.h"

#include <QDateTime>
#include <QList>
#include <QStringList>

#include <array>
#include <optional>

/// `yuzuha-books bar`: one line about the session she would show, in the form a status bar reads.
namespace BarCommand
{
inline constexpr QStringView synopsis = u"bar [--format waybar|i3blocks|polybar|tmux|plain] [--follow] [--home DIR]";
inline constexpr QStringView summary = u"one line for a status bar about the session she would show; --follow prints a new line at each change";

enum class Format { plain, waybar, i3blocks, polybar, tmux };

/// The tiers' colours, calm to urgent, as "#rrggbb"; row 6 is bedtime.
inline constexpr std::array<QStringView, 7> tierColours { u"#8fd694", u"#b5d67a", u"#e0d46a", u"#f0b35e", u"#f08a5d", u"#e86677", u"#b48ead" };
/// The colour of the line when there is no session.
inline constexpr QStringView neutralColour = u"#9a9a9a";

int run(const QStringList &arguments);

/// The bar's output for the session she would follow among `sessions` at `now`. In follow mode,
/// i3blocks reads one JSON object per line; otherwise its three lines: full text, short text, colour.
QString line(Format format, const QList<Session> &sessions, const QDateTime &now, bool follow = false);
} // namespace BarCommand

#pragma once

#include "session.h"

#include <QDateTime>
#include <QList>
#include <QStringList>

/// `yuzuha-books watch`: today's books as a live table filling the terminal.
namespace WatchCommand
{
inline constexpr QStringView synopsis = u"watch [--home DIR]";
inline constexpr QStringView summary = u"today's books as a live full-terminal table, redrawn at each change; q or Ctrl-C leaves";

int run(const QStringList &arguments);

/// The screen for a terminal `columns` wide and `rows` high: the table with a coloured meter per
/// session, each line cut to the width, as the bytes to write after the cursor is put home.
QByteArray frame(const QList<Session> &sessions, const QDateTime &now, int columns, int rows);
} // namespace WatchCommand

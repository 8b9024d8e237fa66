#pragma once

#include "journal.h"
#include "session.h"

#include <QStringList>

/// `yuzuha-books read [--provider claude|codex] FILE`: one log's reading as one line of JSON.
namespace ReadCommand
{
inline constexpr QStringView synopsis = u"read [--provider claude|codex] FILE";
inline constexpr QStringView summary = u"one log's reading as JSON: tokens, window, model and working folder";

/// Runs the verb on the arguments that follow it; returns the exit code.
int run(const QStringList &arguments);

/// Codex for a path with a component exactly ".codex", Claude Code otherwise.
Provider providerForPath(const QString &path);
/// {"tokens":N,"window":N,"model":"…","cwd":"…"}, absent members as null.
QString toJson(const Journal::Reading &reading);
} // namespace ReadCommand

#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QString>

#include <array>
#include <optional>

/// Readers of the agents' session logs. Stateless, synchronous, never failing: anything
/// unreadable or unexpected yields an empty reading. Called only on the watcher's thread.
namespace Journal
{
/// What one read of a log yields.
struct Reading {
    std::optional<qint64> tokens;
    std::optional<qint64> window; ///< as stated by the log (Codex only)
    std::optional<QString> model;
    std::optional<QString> cwd;

    bool isEmpty() const { return !tokens && !window && !model && !cwd; }
    friend bool operator==(const Reading &, const Reading &) = default;
};

// Raw byte patterns searched before any JSON is parsed.
inline constexpr QByteArrayView usageKey { "\"usage\"" };
inline constexpr QByteArrayView compactBoundary { "compact_boundary" };
inline constexpr QByteArrayView tokenCountKey { "\"token_count\"" };
inline constexpr QByteArrayView compactedKey { "\"compacted\"" };
inline constexpr QByteArrayView cwdHeadKey { "\"cwd\":\"" };

/// Tail sizes tried in order; nothing beyond the last is ever read.
inline constexpr std::array<qint64, 3> tailSizes { 262'144, 4'194'304, 33'554'432 };
/// Bytes of a Codex log's head searched for the working directory.
inline constexpr qint64 headSize = 524'288;

/// The newest decisive record of a Claude Code log: usage (tokens, model, cwd) or compaction (cwd).
Reading claude(const QString &path);
/// The newest token-count event of a Codex log (tokens, window) and the cwd from its head.
Reading codex(const QString &path);
/// The raw cwd value written in the first 512 KiB of a file, or absent.
std::optional<QString> headCwd(const QString &path);
/// The context window assumed for a Claude model.
qint64 claudeWindow(const std::optional<QString> &model);
} // namespace Journal

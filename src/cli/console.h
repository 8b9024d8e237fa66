#pragma once

#include <QString>
#include <QStringView>

#include <optional>

/// Output helpers shared by the terminal tool's verbs.
namespace Console
{
/// Exit code for bad usage and for files that cannot be read.
inline constexpr int usageExit = 2;

/// Writes one line (UTF-8, newline added) to standard output and flushes it; false when it could not be written,
/// as when the reader has gone.
bool out(QStringView line);
/// Writes one line (UTF-8, newline added) to standard error.
void err(QStringView line);
/// Prints "usage: yuzuha-books <synopsis>" on standard error and returns `usageExit`.
int usage(QStringView synopsis);

/// Text from a log made harmless for a terminal or a bar: control characters (C0, DEL, C1) become visible
/// symbols, so that no escape sequence written into a log can retitle, recolour or drive the screen.
QString safe(QStringView text);

/// A JSON string literal, quotes included, with control characters escaped.
QString jsonString(QStringView text);
/// A JSON string literal, or null when absent.
QString jsonString(const std::optional<QString> &text);
/// A JSON integer, or null when absent.
QString jsonNumber(std::optional<qint64> value);
} // namespace Console

#pragma once

#include <QDateTime>
#include <QString>
#include <QStringView>

#include <array>
#include <optional>

/// Which coding agent wrote a log.
enum class Provider { claude, codex };

/// "CLAUDE" or "CODEX".
QString providerRawValue(Provider provider);
/// Exact, case-sensitive: "CLAUDE" and "CODEX" only.
std::optional<Provider> providerFromRawValue(QStringView raw);

namespace Tiers
{
struct Tier {
    int minPercent;
    QStringView romaji;
    QStringView english;
};

/// The seven tiers, indexed by tier; row 6 is bedtime (pajamas).
inline constexpr std::array<Tier, 7> all { {
    { 0, u"Makasete!", u"Leave it to me!" },
    { 15, u"Koohii, koohii.", u"Coffee, coffee." },
    { 30, u"Chotto tsukareta kamo.", u"I might be a little tired." },
    { 45, u"Kata ga koru...", u"My shoulders are so stiff..." },
    { 60, u"Yare yare...", u"Good grief..." },
    { 80, u"Nemui... demo ganbaru.", u"So sleepy... but I'll keep going." },
    { 100, u"Kyou wa koko made. Oyasumi!", u"That's it for today. Good night!" },
} };

/// tokens × 100 / window, truncated; 0 without tokens or with a window below 1. Never overflows.
qint64 fillRatio(std::optional<qint64> tokens, qint64 window);
/// The fill ratio capped to 0…100.
int percent(std::optional<qint64> tokens, qint64 window);
/// 0…6; bedtime (6) from 95 % on.
int tier(std::optional<qint64> tokens, qint64 window);
} // namespace Tiers

/// One agent session as last read from its log file.
struct Session {
    /// Full path of the log file. A name that is not UTF-8 keeps each stray byte as a lone surrogate
    /// (LogFile::pathFromNative), so the id still leads back to the file and no two files share one.
    QString id;
    Provider provider = Provider::claude;
    QString project;
    std::optional<qint64> tokens; ///< absent for a fresh or just-compacted session
    qint64 window = 0; ///< effective denominator, bedtime and fallbacks applied
    QDateTime started;
    QDateTime lastActivity;

    int percent() const { return Tiers::percent(tokens, window); }
    int tier() const { return Tiers::tier(tokens, window); }

    friend bool operator==(const Session &, const Session &) = default;
};

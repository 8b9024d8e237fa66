#include "session.h"

#include <limits>

using namespace Qt::StringLiterals;

QString providerRawValue(Provider provider)
{
    return provider == Provider::claude ? u"CLAUDE"_s : u"CODEX"_s;
}

std::optional<Provider> providerFromRawValue(QStringView raw)
{
    if (raw == u"CLAUDE")
        return Provider::claude;
    if (raw == u"CODEX")
        return Provider::codex;
    return std::nullopt;
}

namespace Tiers
{
qint64 fillRatio(std::optional<qint64> tokens, qint64 window)
{
    if (!tokens || window < 1)
        return 0;
    const qint64 t = *tokens;
    if (t <= 0)
        return t == 0 ? 0 : -1; // negative counts never show as fill; any negative value reads as empty
    // Split t = q·window + r so that neither t·100 nor r·100 overflows.
    constexpr qint64 max = std::numeric_limits<qint64>::max();
    const qint64 q = t / window;
    const qint64 r = t % window;
    if (q > max / 100 - 100)
        return max / 100; // far beyond full; saturate
    const qint64 part = r <= max / 100 ? r * 100 / window : static_cast<qint64>(static_cast<long double>(r) * 100 / window);
    return q * 100 + part;
}

int percent(std::optional<qint64> tokens, qint64 window)
{
    const qint64 ratio = fillRatio(tokens, window);
    return ratio < 0 ? 0 : ratio > 100 ? 100 : static_cast<int>(ratio);
}

int tier(std::optional<qint64> tokens, qint64 window)
{
    const qint64 ratio = fillRatio(tokens, window);
    if (ratio >= 95)
        return 6;
    for (int t = int(all.size()) - 1; t > 0; --t) {
        if (ratio >= all[t].minPercent)
            return t;
    }
    return 0;
}
} // namespace Tiers

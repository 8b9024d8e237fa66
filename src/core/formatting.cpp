#include "formatting.h"

#include <QLocale>

#include <array>
#include <charconv>
#include <cmath>

using namespace Qt::StringLiterals;

QString shortTokens(qint64 n)
{
    if (n < 1'000)
        return QString::number(n);
    if (n < 1'000'000)
        return QString::number(std::llround(static_cast<double>(n) / 1'000.0)) + u'K';
    const double m = static_cast<double>(n) / 1'000'000.0;
    if (m == std::floor(m) && m < 9.0e15)
        return QString::number(static_cast<qint64>(m)) + u'M';
    // printf's "%.1f" in the C locale: exact ties round to even (1.25 gives 1.2), and the point is
    // always '.'. QString::asprintf rounds ties up, and snprintf follows the process locale.
    std::array<char, 32> digits {};
    const auto [end, error] = std::to_chars(digits.data(), digits.data() + digits.size(), m, std::chars_format::fixed, 1);
    if (error != std::errc())
        return QString::number(m, 'f', 1) + u'M';
    return QString::fromLatin1(digits.data(), end - digits.data()) + u'M';
}

QString clock(const QDateTime &date, const QDateTime &now)
{
    const QDateTime local = date.toLocalTime();
    const QLocale locale;
    if (local.date() == now.toLocalTime().date())
        return locale.toString(local, u"HH:mm"_s);
    return locale.toString(local, u"ddd HH:mm"_s);
}

QString ago(const QDateTime &date, const QDateTime &now)
{
    // Whole seconds, truncated toward zero; a date in the future reads as "now".
    const qint64 s = date.msecsTo(now) / 1'000;
    if (s < 60)
        return u"now"_s;
    if (s <= 3'599)
        return QString::number(s / 60) + u"m ago"_s;
    return QString::number(s / 3'600) + u"h ago"_s;
}

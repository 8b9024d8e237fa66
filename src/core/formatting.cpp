#include "formatting.h"

#include <QLocale>

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
    return QString::asprintf("%.1fM", m);
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

#include "sprites.h"

#include <QColorSpace>
#include <QFileInfo>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

QImage Sprites::sharpScaled(const QImage &full, QSize size)
{
    if (full.isNull() || size.isEmpty())
        return {};
    QImage grid = full.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    if (const int factor = full.height() / Dimensions::spriteArtRows;
        factor > 1 && full.height() % Dimensions::spriteArtRows == 0 && full.width() % factor == 0)
        grid = grid.scaled(full.width() / factor, Dimensions::spriteArtRows, Qt::IgnoreAspectRatio, Qt::FastTransformation);
    // Whole blocks per art pixel first; smoothing only shrinks those blocks by less than one multiple, so edges
    // stay hard and no colour of hers is averaged across more than a pixel's seam.
    const int multiple = std::max({ 1, (size.height() + grid.height() - 1) / grid.height(), (size.width() + grid.width() - 1) / grid.width() });
    const QImage blocks = grid.scaled(grid.width() * multiple, grid.height() * multiple, Qt::IgnoreAspectRatio, Qt::FastTransformation);
    return blocks.size() == size ? blocks : blocks.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

Sprites::Store::Store(QString root, std::function<Preferences::Outfit()> outfit, std::function<QDate()> today)
    : m_root(std::move(root))
    , m_outfit(std::move(outfit))
    , m_today(std::move(today))
{
    if (!m_root.endsWith(u'/'))
        m_root += u'/';
}

QString Sprites::Store::folder(Preferences::Outfit resolved) const
{
    return u"Sprites/"_s + Preferences::rawValue(resolved);
}

QImage Sprites::Store::original(int tier, std::optional<Preferences::Outfit> outfit)
{
    const Preferences::Outfit resolved = Preferences::resolved(outfit.value_or(m_outfit()), m_today());
    const QString file = u"/t"_s + QString::number(tier);
    const QString key = folder(resolved) + file;
    if (const auto hit = m_originals.constFind(key); hit != m_originals.cend())
        return *hit;

    QString path = m_root + key + u".webp"_s;
    if (!QFileInfo::exists(path))
        path = m_root + folder(Preferences::resolved(Preferences::Outfit::office, m_today())) + file + u".webp"_s;
    QImage decoded(path);
    if (decoded.isNull())
        return {};
    // Kept under the requested outfit's key, also when the office file stood in for it.
    m_originals.insert(key, decoded);
    return decoded;
}

QImage Sprites::Store::image(int tier, int pixelHeight)
{
    if (pixelHeight <= 0)
        return {};
    const Preferences::Outfit resolved = Preferences::resolved(m_outfit(), m_today());
    const QString key = folder(resolved) + u'/' + QString::number(tier) + u'@' + QString::number(pixelHeight);
    if (const auto hit = m_scaled.constFind(key); hit != m_scaled.cend())
        return *hit;

    const QImage full = original(tier);
    if (full.isNull())
        return {};
    // Stretched to exactly this size (the ratio is already the sprite's, so no margins).
    QImage bitmap = sharpScaled(full, QSize(widthFor(pixelHeight), pixelHeight));
    if (bitmap.isNull())
        return {};
    bitmap.setColorSpace(QColorSpace::SRgb);
    m_scaled.insert(key, bitmap);
    return bitmap;
}

QStringList Sprites::Store::originalKeys() const
{
    QStringList keys = m_originals.keys();
    std::sort(keys.begin(), keys.end());
    return keys;
}

QStringList Sprites::Store::scaledKeys() const
{
    QStringList keys = m_scaled.keys();
    std::sort(keys.begin(), keys.end());
    return keys;
}

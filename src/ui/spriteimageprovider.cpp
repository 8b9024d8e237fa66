#include "spriteimageprovider.h"

using namespace Qt::StringLiterals;

SpriteImageProvider::SpriteImageProvider(Sprites::Store *sprites)
    : QQuickImageProvider(QQuickImageProvider::Image)
    , m_sprites(sprites)
{
}

bool SpriteImageProvider::parse(const QString &id, Preferences::Outfit *outfit, int *tier)
{
    // Image URLs may carry a query (e.g. to force a reload); only the path names the sprite.
    const QString path = id.section(u'?', 0, 0);
    const QStringList parts = path.split(u'/');
    if (parts.size() != 2)
        return false;
    const std::optional<Preferences::Outfit> named = Preferences::outfitFromRawValue(parts[0]);
    bool ok = false;
    const int number = parts[1].toInt(&ok);
    if (!named || !ok || number < 0 || number > 6)
        return false;
    *outfit = *named;
    *tier = number;
    return true;
}

QImage SpriteImageProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    Preferences::Outfit outfit = Preferences::Outfit::office;
    int tier = 0;
    QImage image;
    if (m_sprites && parse(id, &outfit, &tier))
        image = m_sprites->original(tier, outfit);
    if (!image.isNull() && requestedSize.isValid() && !requestedSize.isEmpty())
        image = image.scaled(requestedSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    else if (!image.isNull() && (requestedSize.width() > 0 || requestedSize.height() > 0)) {
        // Only one side given: scale to it and let the other follow the sprite's aspect.
        image = requestedSize.height() > 0 ? image.scaledToHeight(requestedSize.height(), Qt::SmoothTransformation)
                                           : image.scaledToWidth(requestedSize.width(), Qt::SmoothTransformation);
    }
    if (size)
        *size = image.size();
    return image;
}

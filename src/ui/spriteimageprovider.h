#pragma once

#include "preferences.h"
#include "sprites.h"

#include <QQuickImageProvider>

/// Serves the character's sprites to QML as "image://sprites/<outfit raw value>/<tier>", for instance
/// "image://sprites/seasonal/0" (seasonal resolves by today's date). A requested size scales the
/// sprite smoothly inside that size, keeping its aspect; without one the full-size image is given.
/// Images load on the main thread (the sprite caches are main-thread only), so views must not set
/// `asynchronous: true` on these images.
class SpriteImageProvider : public QQuickImageProvider
{
public:
    /// Serves the images of `sprites`, which must outlive the provider's engine.
    explicit SpriteImageProvider(Sprites::Store *sprites);

    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;

    /// The outfit and tier an id names; false for anything malformed.
    static bool parse(const QString &id, Preferences::Outfit *outfit, int *tier);

private:
    Sprites::Store *m_sprites;
};

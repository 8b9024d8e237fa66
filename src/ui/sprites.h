#pragma once

#include "dimensions.h"
#include "preferences.h"

#include <QDate>
#include <QHash>
#include <QIcon>
#include <QImage>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

/// The character's pixel-art images: the file for an outfit and tier, scaled to the height the stage draws at.
/// Static operations over two process-wide caches (main thread only); failures are never cached.
class Sprites
{
public:
    Sprites() = delete;

    /// The sprite width for a height, from the sprites' aspect.
    static int widthFor(int pixelHeight) { return Dimensions::spriteWidth(pixelHeight); }
    /// `full` at exactly `size`, kept sharp: back to its art grid, blown up to the next whole multiple without
    /// smoothing, then reduced smoothly to `size` (untouched at a whole multiple), premultiplied.
    static QImage sharpScaled(const QImage &full, QSize size);

    /// One pair of caches over one resource root. The program builds a single store over the compiled-in
    /// resources at start-up; tests build their own over a folder and a fixed day.
    class Store
    {
    public:
        /// `root` holds the "Sprites" folder (":/" for the compiled-in resources). `outfit` gives the chosen
        /// outfit and `today` the day that resolves the seasonal one.
        Store(QString root, std::function<Preferences::Outfit()> outfit, std::function<QDate()> today);

        /// The full-size image of a tier (0–6) for an outfit (the chosen one when none is given), or a null image.
        QImage original(int tier, std::optional<Preferences::Outfit> outfit = std::nullopt);
        /// The sprite of the chosen outfit scaled to exactly widthFor(pixelHeight) × pixelHeight, or a null image.
        QImage image(int tier, int pixelHeight);

        /// Cache keys, sorted, such as "Sprites/office/t3" and "Sprites/office/3@502".
        QStringList originalKeys() const;
        QStringList scaledKeys() const;

    private:
        QString folder(Preferences::Outfit resolved) const;

        QString m_root;
        std::function<Preferences::Outfit()> m_outfit;
        std::function<QDate()> m_today;
        QHash<QString, QImage> m_originals;
        QHash<QString, QImage> m_scaled;
    };
};

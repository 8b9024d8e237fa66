#include "generate.h"

#include "artbook.h"
#include "preferences.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QImageWriter>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>

#include <cmath>

using namespace Qt::StringLiterals;

namespace SpriteGen
{
namespace
{
// Application icon sizes. The small ones are pixel drawn for their size (16 and 24 by hand, 32 is the tray
// face, 48 the 24 one doubled); from 64 on her face sits on the sticky-note disc.
const QList<int> iconSizes { 16, 24, 32, 48, 64, 128, 256 };
// Her tray faces by width: each drawn for that size (the 14 one sits over the percentage in a 16-pixel tray),
// the 36 one also the status item's own picture.
const QList<int> traySizes { 14, 16, 24, 32 };

bool save(const QImage &image, const QString &path, const QByteArray &format, QString *error)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QImageWriter writer(path, format);
    // Quality 100 makes Qt's WebP writer lossless, so the pixel art keeps every exact colour.
    writer.setQuality(100);
    if (!writer.write(image)) {
        *error = path + u": "_s + writer.errorString();
        return false;
    }
    return true;
}

// The tray picture is drawn for its size in icons/tray.art, on columns 12–47 and rows 0–35 of the art grid.
const QRect trayCrop(12, 0, 36, 36);

std::optional<QImage> drawIcon(const QString &artDir, const QString &file, QString *error)
{
    const auto book = Art::loadFiles({ artDir + u"/00-palette.art"_s, artDir + u"/icons/"_s + file }, error);
    if (!book)
        return std::nullopt;
    const QImage image = Art::render(*book, 0, error);
    if (image.isNull())
        return std::nullopt;
    return image;
}

std::optional<QImage> trayFace(const QString &artDir, QString *error)
{
    const auto image = drawIcon(artDir, u"tray.art"_s, error);
    return image ? std::optional(image->copy(trayCrop)) : std::nullopt;
}

// Her face drawn for a tray of `size` pixels: 14, 16 and 24 by hand, 32 the middle of the 36 one.
std::optional<QImage> smallFace(const QString &artDir, const QImage &face36, int size, QString *error)
{
    if (size == 32)
        return face36.copy(2, 2, 32, 32);
    return drawIcon(artDir, u"face%1.art"_s.arg(size), error);
}

QImage appIcon(const QImage &face)
{
    // A sticky-note disc behind her face, ink-ringed, so she reads on light and dark panels alike; the face is
    // the tray picture at six times its size, pixels kept square.
    QImage icon(256, 256, QImage::Format_ARGB32);
    icon.fill(Qt::transparent);
    QPainter p(&icon);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(QColor(52, 52, 74), 10));
    p.setBrush(QColor(247, 227, 154));
    p.drawEllipse(QRectF(8, 8, 240, 240));
    p.setClipPath([] {
        QPainterPath path;
        path.addEllipse(QRectF(13, 13, 230, 230));
        return path;
    }());
    p.setRenderHint(QPainter::Antialiasing, false);
    const QImage big = face.scaled(face.width() * 6, face.height() * 6, Qt::IgnoreAspectRatio, Qt::FastTransformation);
    p.drawImage(QPoint((256 - big.width()) / 2, 256 - big.height() - 8), big);
    return icon;
}
} // namespace

const QStringList &outfits()
{
    // Every outfit with its own drawings: seasonal only picks one of them by the date.
    static const QStringList names = [] {
        QStringList list;
        for (const Preferences::OutfitName &outfit : Preferences::outfits) {
            if (outfit.outfit != Preferences::Outfit::seasonal)
                list.append(outfit.raw.toString());
        }
        return list;
    }();
    return names;
}

QStringList outputFiles()
{
    QStringList files;
    for (const QString &outfit : outfits())
        for (int t = 0; t < Art::tierCount; ++t)
            files.append(u"Sprites/%1/t%2.webp"_s.arg(outfit).arg(t));
    files.append(u"Sprites/menubar.png"_s);
    for (int size : traySizes)
        files.append(u"Sprites/tray%1.png"_s.arg(size));
    files.append(u"icons/yuzuha.png"_s);
    for (int size : iconSizes)
        files.append(u"icons/hicolor/%1x%1/apps/yuzuha.png"_s.arg(size));
    return files;
}

bool writeAll(const QString &artDir, const QString &outDir, QString *error)
{
    const QDir out(outDir);
    for (const QString &outfit : outfits()) {
        // An outfit not drawn yet has no folder; the program then dresses her in the office outfit.
        if (!QFileInfo::exists(artDir + u"/outfits/"_s + outfit + u".art"_s))
            continue;
        const auto book = Art::load(artDir, outfit, error);
        if (!book)
            return false;
        for (int t = 0; t < Art::tierCount; ++t) {
            const QImage art = Art::render(*book, t, error);
            if (art.isNull() || !save(Art::sprite(art), out.filePath(u"Sprites/%1/t%2.webp"_s.arg(outfit).arg(t)), "webp", error))
                return false;
        }
    }
    const auto face = trayFace(artDir, error);
    if (!face || !save(*face, out.filePath(u"Sprites/menubar.png"_s), "png", error))
        return false;
    QHash<int, QImage> small;
    for (int size : traySizes) {
        const auto drawn = smallFace(artDir, *face, size, error);
        if (!drawn || !save(*drawn, out.filePath(u"Sprites/tray%1.png"_s.arg(size)), "png", error))
            return false;
        small.insert(size, *drawn);
    }
    small.insert(48, small.value(24).scaled(48, 48, Qt::IgnoreAspectRatio, Qt::FastTransformation));
    const QImage icon = appIcon(*face);
    if (!save(icon, out.filePath(u"icons/yuzuha.png"_s), "png", error))
        return false;
    for (int size : iconSizes) {
        const QImage scaled = small.contains(size) ? small.value(size)
            : size == 256                          ? icon
                                                   : icon.scaled(size, size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        if (!save(scaled, out.filePath(u"icons/hicolor/%1x%1/apps/yuzuha.png"_s.arg(size)), "png", error))
            return false;
    }
    return true;
}

QImage contactSheet(const QString &artDir, QString *error)
{
    constexpr int height = 250;
    const int width = int(std::lround(height * double(Art::spriteWidth) / Art::spriteHeight));
    constexpr int gap = 14, label = 110, top = 30;
    const int columns = Art::tierCount;
    const int rows = int(outfits().size());
    QImage sheet(label + columns * (width + gap) + gap, top + rows * (height + gap) + gap, QImage::Format_ARGB32_Premultiplied);
    QPainter p(&sheet);
    // The desk: partition to site paper along the diagonal (paper from 78 % on), with a white light at the top right.
    QLinearGradient wash(0, 0, sheet.width(), sheet.height());
    wash.setColorAt(0.0, QColor(207, 214, 222));
    wash.setColorAt(0.78, QColor(250, 251, 252));
    wash.setColorAt(1.0, QColor(250, 251, 252));
    p.fillRect(sheet.rect(), wash);
    const QPointF centre(sheet.width() * 0.78, sheet.height() * 0.22);
    QRadialGradient light(centre, 320);
    light.setColorAt(0.0, QColor(255, 255, 255, 178));
    light.setColorAt(1.0, QColor(255, 255, 255, 0));
    p.fillRect(sheet.rect(), light);
    p.setPen(QColor(52, 52, 74));
    for (int t = 0; t < columns; ++t)
        p.drawText(QRect(label + gap + t * (width + gap), 4, width, top - 4), Qt::AlignCenter, u"t%1"_s.arg(t));
    for (int r = 0; r < rows; ++r) {
        const QString outfit = QFileInfo::exists(artDir + u"/outfits/"_s + outfits()[r] + u".art"_s) ? outfits()[r] : u"office"_s;
        const auto book = Art::load(artDir, outfit, error);
        if (!book)
            return {};
        const int y = top + gap + r * (height + gap);
        p.drawText(QRect(4, y, label - 8, height), Qt::AlignVCenter | Qt::AlignLeft, outfits()[r]);
        for (int t = 0; t < columns; ++t) {
            const QImage art = Art::render(*book, t, error);
            if (art.isNull())
                return {};
            const QImage full = Art::sprite(art).convertToFormat(QImage::Format_ARGB32_Premultiplied);
            p.drawImage(label + gap + t * (width + gap), y, full.scaled(width, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation));
        }
    }
    return sheet;
}
} // namespace SpriteGen

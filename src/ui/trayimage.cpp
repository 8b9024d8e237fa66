#include "trayimage.h"

#include "session.h"
#include "theme.h"

#include <QPainter>

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace TrayImage
{
namespace
{
// Digits and "%" three pixels wide and five high, one row per string; at tray sizes no outline font keeps its
// strokes on whole pixels.
constexpr int glyphWidth = 3, glyphHeight = 5;
constexpr std::array<const char *, 11> glyphs {
    "###"
    "#.#"
    "#.#"
    "#.#"
    "###",
    ".#."
    "##."
    ".#."
    ".#."
    "###",
    "###"
    "..#"
    "###"
    "#.."
    "###",
    "###"
    "..#"
    "###"
    "..#"
    "###",
    "#.#"
    "#.#"
    "###"
    "..#"
    "..#",
    "###"
    "#.."
    "###"
    "..#"
    "###",
    "###"
    "#.."
    "###"
    "#.#"
    "###",
    "###"
    "..#"
    "..#"
    ".#."
    ".#.",
    "###"
    "#.#"
    "###"
    "#.#"
    "###",
    "###"
    "#.#"
    "###"
    "..#"
    "###",
    "#.#"
    "..#"
    ".#."
    "#.."
    "#.#",
};

int textWidth(const QString &text, int scale)
{
    return scale * (int(text.size()) * (glyphWidth + 1) - 1);
}

void drawText(QImage &image, const QString &text, QPoint at, int scale, QRgb colour)
{
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        const char *glyph = glyphs[c == u'%' ? 10 : size_t(c.digitValue())];
        for (int y = 0; y < glyphHeight; ++y)
            for (int x = 0; x < glyphWidth; ++x)
                if (glyph[y * glyphWidth + x] == '#')
                    for (int dy = 0; dy < scale; ++dy)
                        for (int dx = 0; dx < scale; ++dx)
                            image.setPixel(at.x() + (int(i) * (glyphWidth + 1) + x) * scale + dx, at.y() + y * scale + dy, colour);
    }
}
} // namespace

QMap<int, QImage> faces(const QString &root)
{
    QMap<int, QImage> found;
    for (const QString &name : { u"tray16"_s, u"tray24"_s, u"tray32"_s, u"menubar"_s }) {
        const QImage face(root + u"Sprites/"_s + name + u".png"_s);
        if (!face.isNull())
            found.insert(face.width(), face.convertToFormat(QImage::Format_ARGB32_Premultiplied));
    }
    return found;
}

QImage draw(const QMap<int, QImage> &faces, std::optional<int> percent, int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    // Large type for large trays: two screen pixels per type pixel from 32 up.
    const int scale = size >= 32 ? 2 : 1;
    // The face that covers the most of the picture at a whole factor (one a little larger gives up its edge
    // columns); with a tag it moves up a type pixel so the tag stays below her eyes.
    int best = 0, covered = 0;
    for (auto it = faces.cbegin(); it != faces.cend(); ++it) {
        const int w = it.key();
        const int reach = w > size ? (w - size <= 2 ? size : 0) : (size / w) * w;
        if (reach >= covered && reach > 0) {
            best = w;
            covered = reach;
        }
    }
    if (best) {
        const int factor = std::max(1, size / best);
        const QImage face = faces.value(best).scaled(best * factor, best * factor, Qt::IgnoreAspectRatio, Qt::FastTransformation);
        QPainter painter(&image);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.drawImage(QPoint((size - face.width()) / 2, (size - face.height()) / 2 - (percent ? scale : 0)), face);
    }
    if (!percent)
        return image;

    // The number with its "%" and a type pixel of room each side; where that is too wide, without the room,
    // then without the "%" (the tooltip still says it in full).
    QString text = QString::number(std::clamp(*percent, 0, 999)) + u'%';
    int pad = scale;
    if (textWidth(text, scale) + 2 * pad > size)
        pad = 0;
    if (textWidth(text, scale) + 2 * pad > size)
        text.chop(1);
    const int width = textWidth(text, scale) + 2 * pad;
    const int height = glyphHeight * scale + 2 * scale;
    const QRect tag((size - width) / 2, size - height, width, height);
    // From tier 5 on the tag turns deep coral, as the popover's meter does.
    const QRgb fill = (Tiers::tier(*percent, 100) >= 5 ? Theme::coralDeep() : Theme::ink()).rgba();
    for (int y = tag.top(); y <= tag.bottom(); ++y)
        for (int x = tag.left(); x <= tag.right(); ++x) {
            // Corners cut by one type pixel: a pixel-drawn rounded tag.
            const bool corner = (x < tag.left() + scale || x > tag.right() - scale) && (y < tag.top() + scale || y > tag.bottom() - scale);
            if (!corner)
                image.setPixel(x, y, fill);
        }
    drawText(image, text, QPoint(tag.left() + pad, tag.top() + scale), scale, Theme::paper().rgba());
    return image;
}
} // namespace TrayImage

#include "trayimage.h"

#include "session.h"
#include "theme.h"

#include <QIconEngine>
#include <QPaintDevice>
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

// With a percentage, per tray size: the face (by width) set above the tag, cropped from below to the rows the
// tag leaves, and the type scale. Other sizes take the layout that covers the most at a whole factor.
struct Tagged {
    int size, face, scale;
};
constexpr std::array<Tagged, 4> tagged { { { 16, 14, 1 }, { 22, 16, 1 }, { 24, 16, 1 }, { 32, 24, 2 } } };

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
    for (const QString &name : { u"tray14"_s, u"tray16"_s, u"tray24"_s, u"tray32"_s, u"menubar"_s }) {
        const QImage face(root + u"Sprites/"_s + name + u".png"_s);
        if (!face.isNull())
            found.insert(face.width(), face.convertToFormat(QImage::Format_ARGB32_Premultiplied));
    }
    return found;
}

namespace
{
// Her face over the percentage's tag, at exactly `layout.size`.
QImage drawTagged(const QMap<int, QImage> &faces, int percent, const Tagged &layout)
{
    const int size = layout.size, scale = layout.scale;
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    const int tagHeight = glyphHeight * scale + 2;
    const int faceRows = size - tagHeight;
    // The face drawn for this layout, else the widest that fits across.
    int width = 0;
    for (auto it = faces.cbegin(); it != faces.cend() && it.key() <= size; ++it)
        width = it.key();
    width = faces.contains(layout.face) ? layout.face : width;
    if (width) {
        const QImage face = faces.value(width);
        const int rows = std::min(int(face.height()), faceRows);
        QPainter painter(&image);
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.drawImage(QPoint((size - width) / 2, 0), face, QRect(0, 0, width, rows));
    }

    // The number with its "%" and a type pixel of room each side; where that is too wide, without the room,
    // then without the "%" (the tooltip still says it in full).
    QString text = QString::number(std::clamp(percent, 0, 999)) + u'%';
    int pad = scale;
    if (textWidth(text, scale) + 2 * pad > size)
        pad = 0;
    if (textWidth(text, scale) + 2 * pad > size)
        text.chop(1);
    const QRect tag((size - textWidth(text, scale) - 2 * pad) / 2, faceRows, textWidth(text, scale) + 2 * pad, tagHeight);
    // From tier 5 on the tag turns deep coral, as the popover's meter does.
    const QRgb fill = (Tiers::tier(percent, 100) >= 5 ? Theme::coralDeep() : Theme::ink()).rgba();
    for (int y = tag.top(); y <= tag.bottom(); ++y)
        for (int x = tag.left(); x <= tag.right(); ++x) {
            // Corners cut by a pixel: a pixel-drawn rounded tag.
            const bool corner = (x == tag.left() || x == tag.right()) && (y == tag.top() || y == tag.bottom());
            if (!corner)
                image.setPixel(x, y, fill);
        }
    drawText(image, text, QPoint(tag.left() + pad, tag.top() + 1), scale, Theme::paper().rgba());
    return image;
}

// `picture` blown up by a whole factor and centred in a `size` square (one a little larger loses its edges);
// without a picture, a clear square.
QImage centred(const QImage &picture, int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    if (picture.isNull())
        return image;
    const int factor = std::max(1, size / picture.width());
    QPainter painter(&image);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    const QImage big = picture.scaled(picture.width() * factor, picture.height() * factor, Qt::IgnoreAspectRatio, Qt::FastTransformation);
    painter.drawImage(QPoint((size - big.width()) / 2, (size - big.height()) / 2), big);
    return image;
}

// Draws the picture for the very size a tray asks for, in device pixels: an icon scaled from the nearest drawn
// size would blur her hard edges (a tray of 22 points on a 2× screen asks for 44 pixels).
class Engine : public QIconEngine
{
public:
    Engine(QMap<int, QImage> faces, std::optional<int> percent)
        : m_faces(std::move(faces))
        , m_percent(percent)
    {
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode, QIcon::State) override
    {
        return QPixmap::fromImage(draw(m_faces, m_percent, std::max(1, std::min(size.width(), size.height()))));
    }
    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State state) override
    {
        const qreal ratio = painter->device()->devicePixelRatio();
        QPixmap picture = pixmap((QSizeF(rect.size()) * ratio).toSize(), mode, state);
        picture.setDevicePixelRatio(ratio);
        const QSizeF side = picture.deviceIndependentSize();
        painter->drawPixmap(QPointF(rect.x() + (rect.width() - side.width()) / 2, rect.y() + (rect.height() - side.height()) / 2), picture);
    }
    QSize actualSize(const QSize &size, QIcon::Mode, QIcon::State) override
    {
        const int side = std::min(size.width(), size.height());
        return { side, side };
    }
    // The sizes offered to trays that take a list of pictures (StatusNotifier hosts).
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override
    {
        QList<QSize> list;
        for (int size : sizes)
            list.append(QSize(size, size));
        return list;
    }
    QIconEngine *clone() const override { return new Engine(m_faces, m_percent); }
    QString key() const override { return u"yuzuha-tray"_s; }

private:
    QMap<int, QImage> m_faces;
    std::optional<int> m_percent;
};
} // namespace

QIcon icon(const QMap<int, QImage> &faces, std::optional<int> percent)
{
    return QIcon(new Engine(faces, percent));
}

QImage draw(const QMap<int, QImage> &faces, std::optional<int> percent, int size)
{
    if (percent) {
        // The layout that covers the most of the picture at a whole factor; of equals, the larger one.
        const Tagged *best = &tagged.front();
        for (const Tagged &layout : tagged)
            if (layout.size <= size && (size / layout.size) * layout.size >= (size / best->size) * best->size)
                best = &layout;
        return centred(drawTagged(faces, *percent, *best), size);
    }
    // The face that covers the most of the picture at a whole factor (one a little larger gives up its edge
    // columns).
    int best = 0, covered = 0;
    for (auto it = faces.cbegin(); it != faces.cend(); ++it) {
        const int w = it.key();
        const int reach = w > size ? (w - size <= 2 ? size : 0) : (size / w) * w;
        if (reach >= covered && reach > 0 && it.value().height() == w) {
            best = w;
            covered = reach;
        }
    }
    return centred(faces.value(best), size);
}
} // namespace TrayImage

#include "passthrough.h"

#include "dimensions.h"
#include "x11desktop.h"

#include <QGuiApplication>
#include <QList>
#include <QWindow>

#include <algorithm>
#include <cmath>

#ifdef YUZUHA_HAVE_XCB_SHAPE
#include <xcb/shape.h>
#include <xcb/xcb.h>
#endif

namespace PassThrough
{
std::optional<AlphaMask> alphaMask(const QImage &image)
{
    if (image.isNull() || image.width() <= 0 || image.height() <= 0)
        return std::nullopt;
    const QImage alpha = image.convertToFormat(QImage::Format_Alpha8);
    if (alpha.isNull())
        return std::nullopt;
    AlphaMask mask { alpha.width(), alpha.height(), QByteArray(qsizetype(alpha.width()) * alpha.height(), Qt::Uninitialized) };
    for (int row = 0; row < alpha.height(); ++row)
        std::memcpy(mask.alpha.data() + qsizetype(row) * mask.width, alpha.constScanLine(row), size_t(mask.width));
    return mask;
}

bool isOnHer(const std::optional<AlphaMask> &mask, const QRectF &spriteRect, QPointF point)
{
    if (!mask || spriteRect.isEmpty() || !spriteRect.contains(point))
        return false;
    const auto column = qint64(std::trunc((point.x() - spriteRect.left()) / spriteRect.width() * mask->width));
    const auto row = qint64(std::trunc((point.y() - spriteRect.top()) / spriteRect.height() * mask->height));
    if (column < 0 || row < 0 || column >= mask->width || row >= mask->height)
        return false;
    return mask->at(int(column), int(row)) > opaqueAlpha;
}

Decision decide(const State &state, QPointF point, bool onHer)
{
    const QRectF panel(QPointF(0, 0), state.panel);
    if (!panel.contains(point))
        return {};
    const bool inBubble = state.bubbleUp() && point.y() < Dimensions::bubbleBand();
    bool interactive = onHer || inBubble;
    if (state.percentTag && point.y() > panel.height() - Dimensions::tagBand())
        interactive = interactive || std::abs(point.x() - panel.width() / 2) < tagHalfWidth;
    return { interactive, onHer || (state.hovering && inBubble) };
}

namespace
{
// Her opaque pixels as y-x banded rectangles in device pixels; identical neighbouring rows share one band.
QRegion spriteRegion(const AlphaMask &mask, const QRectF &spriteRect, qreal dpr)
{
    const qreal left = spriteRect.left() * dpr;
    const qreal top = spriteRect.top() * dpr;
    const qreal columnWidth = spriteRect.width() * dpr / mask.width;
    const qreal rowHeight = spriteRect.height() * dpr / mask.height;

    QList<QRect> rects;
    QList<QPair<int, int>> previousRuns;
    qsizetype previousStart = -1;
    int previousBottom = -1;
    QList<QPair<int, int>> runs;
    for (int row = 0; row < mask.height; ++row) {
        const int y0 = int(std::lround(top + row * rowHeight));
        const int y1 = int(std::lround(top + (row + 1) * rowHeight));
        if (y1 <= y0)
            continue;
        runs.clear();
        const auto *line = reinterpret_cast<const uchar *>(mask.alpha.constData()) + qsizetype(row) * mask.width;
        for (int column = 0; column < mask.width;) {
            if (line[column] <= opaqueAlpha) {
                ++column;
                continue;
            }
            const int start = column;
            while (column < mask.width && line[column] > opaqueAlpha)
                ++column;
            const int x0 = int(std::lround(left + start * columnWidth));
            const int x1 = int(std::lround(left + column * columnWidth));
            if (x1 > x0)
                runs.append({ x0, x1 });
        }
        if (!runs.isEmpty() && runs == previousRuns && previousBottom == y0) {
            for (qsizetype i = previousStart; i < rects.size(); ++i)
                rects[i].setBottom(y1 - 1);
        } else {
            previousStart = rects.size();
            for (const auto &[x0, x1] : std::as_const(runs))
                rects.append(QRect(x0, y0, x1 - x0, y1 - y0));
        }
        previousRuns = runs;
        previousBottom = y1;
    }
    QRegion region;
    region.setRects(rects.constData(), int(rects.size()));
    return region;
}
} // namespace

QRegion inputRegion(const State &state, const std::optional<AlphaMask> &mask, const QRectF &spriteRect, qreal dpr)
{
    QRegion region;
    if (mask && mask->width > 0 && mask->height > 0 && !spriteRect.isEmpty())
        region = spriteRegion(*mask, spriteRect, dpr);
    const auto device = [dpr](const QRectF &rect) {
        return QRect(QPoint(int(std::lround(rect.left() * dpr)), int(std::lround(rect.top() * dpr))),
            QPoint(int(std::lround(rect.right() * dpr)) - 1, int(std::lround(rect.bottom() * dpr)) - 1));
    };
    if (state.bubbleUp())
        region += device(QRectF(0, 0, state.panel.width(), Dimensions::bubbleBand()));
    if (state.percentTag)
        region += device(QRectF(state.panel.width() / 2 - tagHalfWidth, state.panel.height() - Dimensions::tagBand(), 2 * tagHalfWidth, Dimensions::tagBand()));
    return region;
}

QRect drawnPart(const State &state, const QRectF &figure)
{
    const QRectF panel(QPointF(0, 0), state.panel);
    const qreal middle = panel.width() / 2;
    // Symmetric about the panel's centre line, down to its bottom edge.
    qreal halfWidth = std::max(middle - figure.left(), figure.right() - middle);
    qreal top = figure.top();
    if (state.percentTag) {
        halfWidth = std::max(halfWidth, tagHalfWidth);
        top = std::min(top, panel.height() - Dimensions::tagBand());
    }
    if (state.bubbleUp()) {
        halfWidth = middle;
        top = 0;
    }
    const QRectF part = QRectF(QPointF(middle - halfWidth, top), QPointF(middle + halfWidth, panel.height())) & panel;
    return QRect(
        QPoint(int(std::floor(part.left())), int(std::floor(part.top()))), QPoint(int(std::ceil(part.right())) - 1, int(std::ceil(part.bottom())) - 1));
}

QList<RoundedRect> bubbleOutline(const QRectF &frame, qreal radius, qreal tail)
{
    const QRectF body(frame.topLeft(), QSizeF(frame.width(), frame.height() - tail));
    QList<RoundedRect> outline { { body, std::min({ radius, body.width() / 2, body.height() / 2 }) } };
    // The tail narrows to its tip in steps of whole pixels; two bands are close enough to its slope.
    const qreal mid = frame.center().x();
    outline.append({ QRectF(mid - tail * 0.6, body.bottom(), tail * 1.2, tail / 2), 0 });
    outline.append({ QRectF(mid - tail * 0.25, body.bottom() + tail / 2, tail * 0.5, tail / 2), 0 });
    return outline;
}

QRegion silhouette(const std::optional<AlphaMask> &mask, const QRectF &drawnSprite, const QList<RoundedRect> &rounded, qreal dpr)
{
    QRegion region;
    if (mask && mask->width > 0 && mask->height > 0 && !drawnSprite.isEmpty())
        region = spriteRegion(*mask, drawnSprite, dpr);
    for (const RoundedRect &item : rounded) {
        const QRect r(QPoint(int(std::lround(item.rect.left() * dpr)), int(std::lround(item.rect.top() * dpr))),
            QPoint(int(std::lround(item.rect.right() * dpr)) - 1, int(std::lround(item.rect.bottom() * dpr)) - 1));
        if (r.isEmpty())
            continue;
        const int radius = std::min({ int(std::lround(item.radius * dpr)), r.width() / 2, r.height() / 2 });
        if (radius <= 0) {
            region += r;
            continue;
        }
        // A rounded rectangle: the cross of the two inner rectangles and an ellipse in each corner.
        region += r.adjusted(radius, 0, -radius, 0);
        region += r.adjusted(0, radius, 0, -radius);
        const QSize corner(2 * radius, 2 * radius);
        region += QRegion(QRect(r.topLeft(), corner), QRegion::Ellipse);
        region += QRegion(QRect(QPoint(r.right() + 1 - 2 * radius, r.top()), corner), QRegion::Ellipse);
        region += QRegion(QRect(QPoint(r.left(), r.bottom() + 1 - 2 * radius), corner), QRegion::Ellipse);
        region += QRegion(QRect(QPoint(r.right() + 1 - 2 * radius, r.bottom() + 1 - 2 * radius), corner), QRegion::Ellipse);
    }
    return region;
}

void applyInputRegion(QWindow *window, const QRegion &deviceRegion)
{
    if (!window)
        return;
#ifdef YUZUHA_HAVE_XCB_SHAPE
    if (xcb_connection_t *connection = X11Desktop::connection()) {
        // Only the input shape: the bounding shape would also clip the soft edges and shadows she draws.
        QList<xcb_rectangle_t> rects;
        rects.reserve(deviceRegion.rectCount());
        for (const QRect &r : deviceRegion)
            rects.append({ qint16(r.x()), qint16(r.y()), quint16(r.width()), quint16(r.height()) });
        xcb_shape_rectangles(connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_INPUT, XCB_CLIP_ORDERING_UNSORTED, xcb_window_t(window->winId()), 0, 0,
            uint32_t(rects.size()), rects.constData());
        xcb_flush(connection);
        return;
    }
#endif
    // Without X11 the mask clips drawing as well; it is the closest portable equivalent.
    if (QGuiApplication::platformName() == QLatin1StringView("offscreen"))
        return;
    const qreal dpr = window->devicePixelRatio();
    QRegion logical;
    for (const QRect &r : deviceRegion)
        logical += QRect(QPoint(int(std::floor(r.left() / dpr)), int(std::floor(r.top() / dpr))),
            QPoint(int(std::ceil((r.right() + 1) / dpr)) - 1, int(std::ceil((r.bottom() + 1) / dpr)) - 1));
    window->setMask(logical);
}

} // namespace PassThrough

#include "passthrough.h"

#include "dimensions.h"

#include <QGuiApplication>
#include <QList>
#include <QWindow>

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
#ifdef YUZUHA_HAVE_XCB_SHAPE
// The X connection when running on the X11 platform (the offscreen platform may answer the X11 interface without one).
xcb_connection_t *x11Connection()
{
    if (QGuiApplication::platformName() != QLatin1StringView("xcb"))
        return nullptr;
    auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}
#endif

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

void applyInputRegion(QWindow *window, const QRegion &deviceRegion)
{
    if (!window)
        return;
#ifdef YUZUHA_HAVE_XCB_SHAPE
    if (xcb_connection_t *connection = x11Connection()) {
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

void setOnAllDesktops(QWindow *window, bool on)
{
#ifdef YUZUHA_HAVE_XCB_SHAPE
    xcb_connection_t *connection = x11Connection();
    if (!window || !connection)
        return;
    const auto atom = [connection](const char *name) {
        const xcb_intern_atom_cookie_t cookie = xcb_intern_atom(connection, 0, uint16_t(std::strlen(name)), name);
        xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(connection, cookie, nullptr);
        const xcb_atom_t result = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
        std::free(reply);
        return result;
    };
    const xcb_atom_t desktopAtom = atom("_NET_WM_DESKTOP");
    if (desktopAtom == XCB_ATOM_NONE)
        return;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    uint32_t desktop = 0xFFFFFFFF;
    if (!on) {
        // Leave "all desktops" for the one the user is looking at.
        desktop = 0;
        const xcb_atom_t currentAtom = atom("_NET_CURRENT_DESKTOP");
        const xcb_get_property_cookie_t cookie = xcb_get_property(connection, 0, root, currentAtom, XCB_ATOM_CARDINAL, 0, 1);
        if (xcb_get_property_reply_t *reply = xcb_get_property_reply(connection, cookie, nullptr)) {
            if (xcb_get_property_value_length(reply) == 4)
                desktop = *static_cast<uint32_t *>(xcb_get_property_value(reply));
            std::free(reply);
        }
    }
    const auto id = xcb_window_t(window->winId());
    // Before mapping the window manager reads the property; afterwards it only listens to requests.
    xcb_change_property(connection, XCB_PROP_MODE_REPLACE, id, desktopAtom, XCB_ATOM_CARDINAL, 32, 1, &desktop);
    xcb_client_message_event_t event {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = id;
    event.type = desktopAtom;
    event.data.data32[0] = desktop;
    event.data.data32[1] = 1; // a normal application
    xcb_send_event(connection, 0, root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, reinterpret_cast<const char *>(&event));
    xcb_flush(connection);
#else
    Q_UNUSED(window)
    Q_UNUSED(on)
#endif
}
} // namespace PassThrough

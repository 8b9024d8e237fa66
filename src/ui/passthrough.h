#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QPointF>
#include <QRectF>
#include <QRegion>
#include <QSizeF>

#include <optional>

class QWindow;

/// Which parts of the pet's window take the pointer, and which let it fall through to the
/// windows beneath. All geometry is in the window's device-independent pixels, y downward.
namespace PassThrough
{
/// The tag's hot spot reaches less than this far from the panel's centre line.
inline constexpr qreal tagHalfWidth = 70;
/// Alpha above which a pixel is part of her.
inline constexpr uchar opaqueAlpha = 40;

/// Alpha values of the shown bitmap, row 0 at the top.
struct AlphaMask {
    int width = 0;
    int height = 0;
    QByteArray alpha;

    uchar at(int column, int row) const { return uchar(alpha[qsizetype(row) * width + column]); }
};

/// The alpha channel of an image, or nothing for an empty one.
std::optional<AlphaMask> alphaMask(const QImage &image);

/// Whether a point lies on one of her opaque pixels, given where the sprite is drawn.
bool isOnHer(const std::optional<AlphaMask> &mask, const QRectF &spriteRect, QPointF point);

struct State {
    QSizeF panel;
    bool announcing = false;
    bool hovering = false;
    bool percentTag = true;

    bool bubbleUp() const { return announcing || hovering; }
};

struct Decision {
    bool interactive = false;
    bool hovering = false;
    friend bool operator==(const Decision &, const Decision &) = default;
};

/// The decision for a pointer at `point` inside the panel; `onHer` is the opaque-pixel test there.
/// Once on her the bubble band stays live, so the pointer can travel up into the bubble.
Decision decide(const State &state, QPointF point, bool onHer);

/// The part of the window that takes the pointer: her opaque pixels (run-length rows of the mask
/// mapped to device pixels at `dpr`), the bubble band while the bubble is up, and the tag hot spot.
/// The region is in device pixels of the window.
QRegion inputRegion(const State &state, const std::optional<AlphaMask> &mask, const QRectF &spriteRect, qreal dpr);

/// The part of the panel drawn now, in whole device-independent pixels of the panel: `figure` (her
/// sprite with the room her hop and breath need above it), the tag while it is on, and the bubble
/// band while the bubble is up. It stays centred on the panel and reaches its bottom, so a window cut
/// to it keeps her bottom centre where the whole panel had it.
QRect drawnPart(const State &state, const QRectF &figure);

/// What is drawn, as the region a window without a compositor is clipped to (device pixels): her
/// opaque pixels where `drawnSprite` puts them, and each of `rounded` (a frame with its corner radius,
/// such as the tag and the bubble's body). Hard edges: a pixel is in or out.
struct RoundedRect {
    QRectF rect;
    qreal radius = 0;
};
QRegion silhouette(const std::optional<AlphaMask> &mask, const QRectF &drawnSprite, const QList<RoundedRect> &rounded, qreal dpr);
/// The bubble's outline: the body above its tail, whose tip reaches the bottom of `frame` at its centre.
QList<RoundedRect> bubbleOutline(const QRectF &frame, qreal radius, qreal tail);

/// Restricts pointer input to `region` without clipping what the window draws, where the
/// platform allows it (the X11 input shape); elsewhere falls back to the window mask.
void applyInputRegion(QWindow *window, const QRegion &deviceRegion);
} // namespace PassThrough

#pragma once

#include "passthrough.h"

#include <QEasingCurve>
#include <QElapsedTimer>
#include <QImage>
#include <QList>
#include <QPointF>
#include <QQuickItem>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <optional>

/// Her breathing and hop as keyframe curves. The stage redraws only when a curve's value, rounded
/// to whole device pixels, changes, and sleeps until the next such moment; nothing ticks per frame.
namespace StageMotion
{
class Keyframes
{
public:
    /// `times` are fractions of `duration` from 0 to 1, one per value; each segment follows `easing`.
    Keyframes(QList<qreal> times, QList<qreal> values, qreal duration, QEasingCurve easing, bool repeats);

    qreal duration() const { return m_duration; }
    /// The largest value the curve reaches.
    qreal peak() const { return *std::max_element(m_values.cbegin(), m_values.cend()); }
    bool repeats() const { return m_repeats; }
    /// The value `seconds` after the start (held at the last value once a one-shot curve ends).
    qreal value(qreal seconds) const;
    /// round(value × scale) at `seconds`.
    int pixels(qreal seconds, qreal scale) const;
    /// The first moment after `seconds` at which `pixels` changes, or nothing when it never will.
    std::optional<qreal> nextChange(qreal seconds, qreal scale) const;

private:
    QList<qreal> m_times;
    QList<qreal> m_values;
    qreal m_duration;
    QEasingCurve m_easing;
    bool m_repeats;
};

/// Scale 1.0 → 1.012 about her feet, 1.9 s each way, ease-in-out, forever; the value is the stretch (0…1).
const Keyframes &breathing();
inline constexpr qreal breathStretch = 0.012;
/// Lift in points: 0, 10, 0, 3, 0 over 0.45 s, each segment easing out.
const Keyframes &hop();
inline constexpr qreal fadeSeconds = 0.35;
} // namespace StageMotion

/// The pet panel's scene item that draws her, lets her breathe and hop, answers whether a point
/// is on her, and turns presses into clicks, drags and context-menu requests. The overlay lies
/// above it and takes no pointer events, so everything the window accepts arrives here.
class PetStageView : public QQuickItem
{
    Q_OBJECT

public:
    /// The bitmap of a tier at a pixel height, or a null image.
    using ImageSource = std::function<QImage(int tier, int pixelHeight)>;

    /// A drag begins once the pointer has moved this far from the press.
    static constexpr qreal dragThreshold = 3;

    explicit PetStageView(QQuickItem *parent = nullptr);
    ~PetStageView() override;

    /// Where bitmaps come from: the sprites of the chosen outfit, or a test's own.
    void setImageSource(ImageSource source) { m_source = std::move(source); }
    /// Where a drag reads and puts the top-left of what it moves (the window's position unless told otherwise).
    void setMover(std::function<QPoint()> origin, std::function<void(QPoint)> moveTo)
    {
        m_origin = std::move(origin);
        m_moveTo = std::move(moveTo);
    }
    /// Whether breathing, hop and fade are left out.
    void setReduceMotion(bool on) { m_reduceMotion = on; }
    bool reduceMotion() const { return m_reduceMotion; }

    /// Places a sprite of `size` points bottom-centred on the tag band and shows `tier`.
    void layoutSprite(QSizeF size, int tier);
    int tier() const { return m_tier; }
    void setTier(int tier) { m_tier = tier; }
    /// Loads the bitmap of `tier` at the current pixel density; keeps the old one when there is none.
    void applyContents(bool animated);
    void startBreathing();
    void stopBreathing();
    void hop();

    /// The opaque-pixel hit test, in this item's coordinates.
    bool isOnHer(QPointF point) const;
    /// Where the sprite's bitmap is drawn at rest, snapped to device pixels.
    QRectF spriteRect() const;
    /// Clear space at the top of the shown bitmap above her head (the middle third of its columns), in this
    /// item's units: outfits and tiers differ, and the bubble's tail reaches down through it to her.
    qreal headroom() const;
    /// Where the bitmap is drawn this moment, lifted by the breath and the hop.
    QRectF drawnSpriteRect() const;
    /// The resting sprite with the room above it that her highest hop and deepest breath reach.
    QRectF figureRect() const;
    const std::optional<PassThrough::AlphaMask> &mask() const { return m_mask; }
    qreal scale() const;

    bool isDragging() const { return m_isDragging; }
    bool dragged() const { return m_dragged; }
    bool isBreathing() const { return m_breathing; }
    bool isFading() const { return m_fadeOut.has_value(); }
    bool isHopping() const { return m_hopClock.isValid(); }

Q_SIGNALS:
    void clicked();
    void moved();
    void contextMenuRequested(QPoint globalPosition);
    /// The pointer moved inside the window (not during a press).
    void pointerMoved(QPointF position);
    void pointerLeft();
    /// The shown bitmap, and with it the mask, changed.
    void contentsChanged();
    /// A breath or a hop moved the drawn bitmap by a device pixel.
    void drawnMoved();

protected:
    QSGNode *updatePaintNode(QSGNode *old, UpdatePaintNodeData *) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseUngrabEvent() override;
    void hoverEnterEvent(QHoverEvent *event) override;
    void hoverMoveEvent(QHoverEvent *event) override;
    void hoverLeaveEvent(QHoverEvent *event) override;
    void itemChange(ItemChange change, const ItemChangeData &value) override;
    void releaseResources() override;

private:
    void schedule();
    void tick();
    void requestRedraw();
    int breathPixels(qreal now) const;
    int hopPixels(qreal now) const;
    qreal seconds() const;

    ImageSource m_source;
    bool m_reduceMotion = false;
    QSizeF m_spriteSize;
    int m_tier = 0;

    QImage m_image;
    qreal m_imageScale = 1;
    bool m_imageDirty = false;
    std::optional<PassThrough::AlphaMask> m_mask;
    // The previous bitmap while the 0.35 s crossfade runs.
    std::optional<qreal> m_fadeOut;
    qreal m_fadeStart = 0;

    QElapsedTimer m_clock;
    QTimer m_timer;
    bool m_breathing = false;
    qreal m_breathStart = 0;
    QElapsedTimer m_hopClock;
    int m_shownBreath = 0;
    int m_shownHop = 0;

    std::optional<QPointF> m_dragStartMouse;
    QPoint m_dragStartOrigin;
    std::function<QPoint()> m_origin;
    std::function<void(QPoint)> m_moveTo;
    bool m_dragged = false;
    bool m_isDragging = false;
};

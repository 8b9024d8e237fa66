#include "petstageview.h"

#include "dimensions.h"

#include <QGuiApplication>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGOpacityNode>
#include <QSGTexture>
#include <QScreen>

#include <algorithm>
#include <cmath>

namespace StageMotion
{
Keyframes::Keyframes(QList<qreal> times, QList<qreal> values, qreal duration, QEasingCurve easing, bool repeats)
    : m_times(std::move(times))
    , m_values(std::move(values))
    , m_duration(duration)
    , m_easing(std::move(easing))
    , m_repeats(repeats)
{
    Q_ASSERT(m_times.size() == m_values.size() && m_times.size() >= 2);
}

qreal Keyframes::value(qreal seconds) const
{
    qreal t = seconds / m_duration;
    if (m_repeats)
        t -= std::floor(t);
    if (t <= 0)
        return m_values.first();
    if (t >= 1)
        return m_values.last();
    const auto next = std::upper_bound(m_times.cbegin(), m_times.cend(), t);
    const qsizetype i = std::distance(m_times.cbegin(), next) - 1;
    const qreal progress = (t - m_times[i]) / (m_times[i + 1] - m_times[i]);
    return m_values[i] + (m_values[i + 1] - m_values[i]) * m_easing.valueForProgress(progress);
}

int Keyframes::pixels(qreal seconds, qreal scale) const
{
    return int(std::lround(value(seconds) * scale));
}

std::optional<qreal> Keyframes::nextChange(qreal seconds, qreal scale) const
{
    const int now = pixels(seconds, scale);
    const qreal cycleStart = m_repeats ? std::floor(seconds / m_duration) * m_duration : 0;
    // Walk the segment ends ahead (two cycles cover every case of a repeating curve); each
    // segment is monotonic, so the first end whose value differs brackets the change.
    qreal from = seconds;
    for (int cycle = 0; cycle < (m_repeats ? 2 : 1); ++cycle) {
        for (const qreal fraction : m_times) {
            const qreal end = cycleStart + (cycle + fraction) * m_duration;
            if (end <= from)
                continue;
            // Probe just inside the segment so a repeating curve's end is read as the segment's end, not the next start.
            const qreal probe = std::nextafter(end, from);
            if (pixels(probe, scale) != now) {
                qreal low = from;
                qreal high = probe;
                while (high - low > 0.0005) {
                    const qreal mid = (low + high) / 2;
                    (pixels(mid, scale) != now ? high : low) = mid;
                }
                return high;
            }
            from = end;
        }
    }
    return std::nullopt;
}

const Keyframes &breathing()
{
    static const Keyframes curve = [] {
        QEasingCurve easeInOut(QEasingCurve::BezierSpline);
        easeInOut.addCubicBezierSegment(QPointF(0.42, 0), QPointF(0.58, 1), QPointF(1, 1));
        return Keyframes({ 0, 0.5, 1 }, { 0, 1, 0 }, 3.8, easeInOut, true);
    }();
    return curve;
}

const Keyframes &hop()
{
    static const Keyframes curve = [] {
        QEasingCurve easeOut(QEasingCurve::BezierSpline);
        easeOut.addCubicBezierSegment(QPointF(0, 0), QPointF(0.58, 1), QPointF(1, 1));
        return Keyframes({ 0, 0.35, 0.65, 0.82, 1 }, { 0, 10, 0, 3, 0 }, 0.45, easeOut, false);
    }();
    return curve;
}
} // namespace StageMotion

namespace
{
// The scene graph side: the shown bitmap and, during a crossfade, the previous one beneath it.
struct StageNode : QSGNode {
    QSGOpacityNode *previousOpacity = nullptr;
    QSGImageNode *previous = nullptr;
    QRectF previousRect;
    QSGOpacityNode *currentOpacity = nullptr;
    QSGImageNode *current = nullptr;
};

constexpr qreal frameSeconds = 1.0 / 60;
} // namespace

PetStageView::PetStageView(QQuickItem *parent)
    : QQuickItem(parent)
{
    setFlag(ItemHasContents);
    setAcceptedMouseButtons(Qt::LeftButton | Qt::RightButton);
    setAcceptHoverEvents(true);
    m_clock.start();
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &PetStageView::tick);
}

PetStageView::~PetStageView() = default;

qreal PetStageView::seconds() const
{
    return m_clock.nsecsElapsed() / 1e9;
}

qreal PetStageView::scale() const
{
    if (const QQuickWindow *w = window())
        return w->effectiveDevicePixelRatio();
    if (const QScreen *screen = QGuiApplication::primaryScreen())
        return screen->devicePixelRatio();
    return 2.0;
}

void PetStageView::layoutSprite(QSizeF size, int tier)
{
    m_spriteSize = size;
    m_tier = tier;
    applyContents(false);
    startBreathing();
}

void PetStageView::applyContents(bool animated)
{
    const qreal dpr = scale();
    const int pixelHeight = int(std::lround(dpr * m_spriteSize.height()));
    if (pixelHeight <= 0 || !m_source)
        return;
    const QImage image = m_source(m_tier, pixelHeight);
    if (image.isNull())
        return;
    if (animated && !m_reduceMotion && !m_image.isNull()) {
        m_fadeOut = 0;
        m_fadeStart = seconds();
    } else {
        m_fadeOut.reset();
    }
    m_image = image;
    m_imageScale = dpr;
    m_imageDirty = true;
    m_mask = PassThrough::alphaMask(image);
    requestRedraw();
    schedule();
    Q_EMIT contentsChanged();
}

void PetStageView::startBreathing()
{
    stopBreathing();
    if (m_reduceMotion)
        return;
    m_breathing = true;
    m_breathStart = seconds();
    schedule();
}

void PetStageView::stopBreathing()
{
    if (m_breathing && m_shownBreath != 0)
        requestRedraw();
    m_breathing = false;
    m_shownBreath = 0;
    schedule();
}

void PetStageView::hop()
{
    m_hopClock.start();
    schedule();
}

int PetStageView::breathPixels(qreal now) const
{
    if (!m_breathing || m_image.isNull())
        return 0;
    return StageMotion::breathing().pixels(now - m_breathStart, m_image.height() * StageMotion::breathStretch);
}

int PetStageView::hopPixels(qreal) const
{
    if (!m_hopClock.isValid())
        return 0;
    return StageMotion::hop().pixels(m_hopClock.nsecsElapsed() / 1e9, scale());
}

void PetStageView::schedule()
{
    const QQuickWindow *w = window();
    if (!w || !w->isVisible()) {
        // Hidden, she costs nothing; showing her again restarts the breathing.
        m_timer.stop();
        return;
    }
    const qreal now = seconds();
    std::optional<qreal> next;
    const auto consider = [&next](std::optional<qreal> at) {
        if (at && (!next || *at < *next))
            next = at;
    };
    if (m_breathing && !m_image.isNull()) {
        if (const auto at = StageMotion::breathing().nextChange(now - m_breathStart, m_image.height() * StageMotion::breathStretch))
            consider(m_breathStart + *at);
    }
    if (m_hopClock.isValid()) {
        const qreal hopNow = m_hopClock.nsecsElapsed() / 1e9;
        const auto at = StageMotion::hop().nextChange(hopNow, scale());
        consider(now + (at ? *at : StageMotion::hop().duration()) - hopNow);
    }
    if (m_fadeOut)
        consider(now + frameSeconds);
    if (!next) {
        m_timer.stop();
        return;
    }
    m_timer.start(std::max(1, int(std::ceil((*next - now) * 1000))));
}

void PetStageView::tick()
{
    const qreal now = seconds();
    bool dirty = false;
    if (m_hopClock.isValid() && m_hopClock.nsecsElapsed() / 1e9 >= StageMotion::hop().duration())
        m_hopClock.invalidate();
    const int breath = breathPixels(now);
    const int lift = hopPixels(now);
    const bool moved = breath != m_shownBreath || lift != m_shownHop;
    if (moved) {
        m_shownBreath = breath;
        m_shownHop = lift;
        dirty = true;
    }
    if (m_fadeOut) {
        m_fadeOut = (now - m_fadeStart) / StageMotion::fadeSeconds;
        if (*m_fadeOut >= 1)
            m_fadeOut.reset();
        dirty = true;
    }
    if (dirty)
        requestRedraw();
    if (moved)
        Q_EMIT drawnMoved();
    schedule();
}

void PetStageView::requestRedraw()
{
    update();
}

QRectF PetStageView::spriteRect() const
{
    const qreal dpr = scale();
    const QSizeF size = m_image.isNull() ? m_spriteSize : QSizeF(m_image.width() / m_imageScale, m_image.height() / m_imageScale);
    if (size.isEmpty())
        return {};
    // Whole device pixels, so the bitmap maps one to one onto the screen and stays crisp.
    const qreal left = std::round((width() / 2 - size.width() / 2) * dpr) / dpr;
    const qreal bottom = std::round((height() - Dimensions::tagBand()) * dpr) / dpr;
    return QRectF(left, bottom - size.height(), size.width(), size.height());
}

qreal PetStageView::headroom() const
{
    if (!m_mask || m_mask->width <= 0 || m_imageScale <= 0)
        return 0;
    for (int row = 0; row < m_mask->height; ++row)
        for (int column = m_mask->width / 3; column < m_mask->width * 2 / 3; ++column)
            if (m_mask->at(column, row) > 40)
                return row / m_imageScale;
    return 0;
}

QRectF PetStageView::drawnSpriteRect() const
{
    const qreal dpr = scale();
    QRectF rect = spriteRect();
    rect.setTop(rect.top() - m_shownBreath / dpr - m_shownHop / dpr);
    rect.setBottom(rect.bottom() - m_shownHop / dpr);
    return rect;
}

QRectF PetStageView::figureRect() const
{
    QRectF rect = spriteRect();
    const qreal breath = m_reduceMotion ? 0 : std::ceil(rect.height() * StageMotion::breathStretch);
    rect.setTop(rect.top() - breath - StageMotion::hop().peak());
    return rect;
}

bool PetStageView::isOnHer(QPointF point) const
{
    return PassThrough::isOnHer(m_mask, spriteRect(), point);
}

QSGNode *PetStageView::updatePaintNode(QSGNode *old, UpdatePaintNodeData *)
{
    auto *root = static_cast<StageNode *>(old);
    if (!root) {
        root = new StageNode;
        root->previousOpacity = new QSGOpacityNode;
        root->currentOpacity = new QSGOpacityNode;
        root->appendChildNode(root->previousOpacity);
        root->appendChildNode(root->currentOpacity);
    }
    QQuickWindow *w = window();
    QRectF rect = drawnSpriteRect();
    if (m_imageDirty && w) {
        m_imageDirty = false;
        delete root->previous;
        root->previous = nullptr;
        // A new node per bitmap, complete before it joins the tree: the software renderer reads it on insertion.
        QSGImageNode *node = w->createImageNode();
        node->setOwnsTexture(true);
        node->setTexture(w->createTextureFromImage(m_image));
        // The bitmap is drawn one to one; while she breathes it stretches by a row or two, which nearest
        // sampling does by repeating rows instead of blurring her.
        node->setFiltering(QSGTexture::Nearest);
        node->setRect(rect);
        node->setSourceRect(QRectF(QPointF(0, 0), node->texture()->textureSize()));
        if (root->current) {
            root->currentOpacity->removeChildNode(root->current);
            if (m_fadeOut) {
                // The shown bitmap stays beneath and fades out while the new one fades in.
                root->previous = root->current;
                root->previousOpacity->appendChildNode(root->previous);
            } else {
                delete root->current;
            }
        }
        root->current = node;
        root->currentOpacity->appendChildNode(node);
    }
    if (!m_fadeOut && root->previous) {
        delete root->previous;
        root->previous = nullptr;
    }
    if (root->current && root->current->rect() != rect)
        root->current->setRect(rect);
    if (root->previous && root->previous->rect() != rect)
        root->previous->setRect(rect);
    const qreal progress = m_fadeOut.value_or(1);
    root->currentOpacity->setOpacity(progress);
    root->previousOpacity->setOpacity(1 - progress);
    return root;
}

void PetStageView::releaseResources()
{
    // The scene graph is going away (window hidden or destroyed); upload the bitmap again next time.
    m_imageDirty = !m_image.isNull();
}

void PetStageView::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::RightButton) {
        event->accept();
        Q_EMIT contextMenuRequested(event->globalPosition().toPoint());
        return;
    }
    if (event->button() != Qt::LeftButton) {
        event->ignore();
        return;
    }
    event->accept();
    m_dragStartMouse = event->globalPosition();
    m_dragStartOrigin = m_origin ? m_origin() : window() ? window()->position() : QPoint();
    m_dragged = false;
    m_isDragging = true;
}

void PetStageView::mouseMoveEvent(QMouseEvent *event)
{
    event->accept();
    if (!m_dragStartMouse || !window())
        return;
    const QPointF d = event->globalPosition() - *m_dragStartMouse;
    if (!m_dragged && std::hypot(d.x(), d.y()) < dragThreshold)
        return;
    // Once begun, the drag follows the pointer exactly, also back inside the threshold.
    m_dragged = true;
    if (m_moveTo)
        m_moveTo(m_dragStartOrigin + d.toPoint());
    else
        window()->setPosition(m_dragStartOrigin + d.toPoint());
}

void PetStageView::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton || !m_isDragging) {
        event->ignore();
        return;
    }
    event->accept();
    m_dragStartMouse.reset();
    m_isDragging = false;
    if (m_dragged)
        Q_EMIT moved();
    else
        Q_EMIT clicked();
}

void PetStageView::mouseUngrabEvent()
{
    // A grab taken away mid-press (a popup opened) ends the press without a click.
    m_dragStartMouse.reset();
    m_isDragging = false;
}

void PetStageView::hoverEnterEvent(QHoverEvent *event)
{
    if (!m_isDragging)
        Q_EMIT pointerMoved(event->position());
}

void PetStageView::hoverMoveEvent(QHoverEvent *event)
{
    if (!m_isDragging)
        Q_EMIT pointerMoved(event->position());
}

void PetStageView::hoverLeaveEvent(QHoverEvent *)
{
    if (!m_isDragging)
        Q_EMIT pointerLeft();
}

void PetStageView::itemChange(ItemChange change, const ItemChangeData &value)
{
    QQuickItem::itemChange(change, value);
    if (change == ItemDevicePixelRatioHasChanged)
        applyContents(false);
}

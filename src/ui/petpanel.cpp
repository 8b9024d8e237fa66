#include "petpanel.h"

#include "petstageview.h"
#include "x11desktop.h"

#include <QQuickItem>
#include <QResizeEvent>
#include <QScreen>

#include <algorithm>

PetPanel::PetPanel(QWindow *parent)
    : QQuickWindow(parent)
    , m_stage(new PetStageView(contentItem()))
{
    // A managed tool window (no taskbar entry) that never takes the keyboard focus.
    setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint);
    // Mapped with a user time of 0, so no window manager tries to activate her, refuses, and flags her for attention.
    setProperty("_q_showWithoutActivating", true);
    setColor(Qt::transparent);
    QSurfaceFormat format = requestedFormat();
    format.setAlphaBufferSize(8);
    setFormat(format);
    setTitle(QStringLiteral("Yuzuha"));
    m_frameSize = size();
    m_stage->setSize(size());
    m_stage->setMover([this] { return m_frameTopLeft; }, [this](QPoint topLeft) { moveFrame(topLeft); });
    // Before anyone reads where the drag left her.
    connect(m_stage, &PetStageView::moved, this, [this] {
        if (m_placement == X11Desktop::Placement::herselfAtMap)
            placeWindow(m_frameTopLeft);
    });
    // Under a Wayland compositor the window's rectangle, not its input shape, decides who gets a click.
    m_crop = X11Desktop::isXwayland();
    m_compositing = X11Desktop::compositorRunning();
    // Without a compositor the clip follows every pixel her breath and hop move her by.
    connect(m_stage, &PetStageView::drawnMoved, this, [this] {
        if (!m_compositing)
            updateSilhouette();
    });
}

PetPanel::~PetPanel() = default;

void PetPanel::setOverlay(QQuickItem *overlay)
{
    m_overlay = overlay;
    if (!overlay)
        return;
    overlay->setParentItem(contentItem());
    overlay->setZ(1);
    overlay->setPosition(m_stage->position());
    overlay->setSize(m_frameSize);
    // The overlay only draws; every pointer event belongs to the stage beneath.
    overlay->setAcceptedMouseButtons(Qt::NoButton);
    overlay->setAcceptHoverEvents(false);
    overlay->setAcceptTouchEvents(false);
    watchOverlayItem("bubble");
    watchOverlayItem("tag");
}

void PetPanel::watchOverlayItem(const char *name)
{
    // The bubble and the tag change size with their text, and the bubble its place with its size.
    if (auto *item = m_overlay->findChild<QQuickItem *>(QLatin1StringView(name))) {
        const auto changed = [this] {
            if (m_crop && m_shapeState)
                updateShapes(*m_shapeState);
            else if (!m_compositing)
                updateSilhouette();
        };
        connect(item, &QQuickItem::widthChanged, this, changed);
        connect(item, &QQuickItem::heightChanged, this, changed);
        connect(item, &QQuickItem::xChanged, this, changed);
        connect(item, &QQuickItem::yChanged, this, changed);
    }
}

QRectF PetPanel::overlayFrame(const QQuickItem *item) const
{
    // Its frame in the scene without the bubble's pop-in scale: where it comes to rest.
    return QRectF(item->parentItem()->mapToItem(m_overlay, item->position()), item->size());
}

void PetPanel::updateShapes(const PassThrough::State &state)
{
    m_shapeState = state;
    // Xwayland need not tell her that the pointer left for another program's window across pixels of hers that take
    // the pointer, and the bubble would stay: in its band only the bubble takes it, so the way out crosses clear pixels.
    const QQuickItem *bubble = m_overlay ? m_overlay->findChild<QQuickItem *>(QStringLiteral("bubble")) : nullptr;
    const bool bubbleOnly = m_crop && state.bubbleUp() && bubble;
    PassThrough::State shaped = state;
    if (bubbleOnly)
        shaped.announcing = shaped.hovering = false;
    const qreal dpr = m_stage->scale();
    QRegion input = PassThrough::inputRegion(shaped, m_stage->mask(), m_stage->spriteRect(), dpr);
    if (bubbleOnly) {
        const QRectF frame = overlayFrame(bubble);
        QRect taking = QRectF(frame.topLeft() * dpr, frame.size() * dpr).toAlignedRect();
        // Down to the top of her hair, so the way from her to the bubble takes the pointer throughout.
        if (!input.isEmpty())
            taking.setBottom(std::max(taking.bottom(), input.boundingRect().top()));
        input += taking;
    }
    setInputRegion(input);
    setDrawnPart(PassThrough::drawnPart(state, m_stage->figureRect()));
    updateSilhouette();
}

void PetPanel::setCompositing(bool on)
{
    if (on == m_compositing)
        return;
    m_compositing = on;
    updateSilhouette();
}

void PetPanel::updateSilhouette()
{
    if (m_compositing || !m_shapeState) {
        setSilhouette(std::nullopt);
        return;
    }
    QList<PassThrough::RoundedRect> rounded;
    if (m_overlay) {
        const auto *tag = m_overlay->findChild<QQuickItem *>(QStringLiteral("tag"));
        if (tag && m_shapeState->percentTag)
            rounded.append({ overlayFrame(tag), tag->property("radius").toReal() });
        const auto *bubble = m_overlay->findChild<QQuickItem *>(QStringLiteral("bubble"));
        if (bubble && m_shapeState->bubbleUp()) {
            qreal radius = 0;
            for (const QQuickItem *child : bubble->childItems())
                radius = std::max(radius, child->property("radius").toReal());
            rounded += PassThrough::bubbleOutline(overlayFrame(bubble), radius, bubble->property("tail").toReal());
        }
    }
    setSilhouette(PassThrough::silhouette(m_stage->mask(), m_stage->drawnSpriteRect(), rounded, m_stage->scale()));
}

QRect PetPanel::coveredPart() const
{
    const QRect whole(QPoint(0, 0), m_frameSize);
    if (!m_crop || m_drawnPart.isEmpty())
        return whole;
    const QRect drawn = m_drawnPart & whole;
    // KWin keeps a window inside the screens and would push one that reaches past an edge back in, her with it;
    // what lies beyond the screens is not seen anyway. Wholly off them, she asks for all and the window manager decides.
    const QScreen *on = screen();
    const QRect seen = on ? drawn & on->virtualGeometry().translated(-m_frameTopLeft) : drawn;
    return seen.isEmpty() ? drawn : seen;
}

QRect PetPanel::restingPart() const
{
    if (!m_shapeState)
        return QRect(QPoint(0, 0), m_frameSize);
    PassThrough::State resting = *m_shapeState;
    resting.announcing = false;
    resting.hovering = false;
    return PassThrough::drawnPart(resting, m_stage->figureRect());
}

QRect PetPanel::frame() const
{
    // Kept here, not read back from the window: the window's position lags behind requests while its part changes.
    return QRect(m_frameTopLeft, m_frameSize);
}

void PetPanel::setFrame(const QRect &frame)
{
    m_frameSize = frame.size();
    placeWindow(frame.topLeft());
}

void PetPanel::moveFrame(QPoint topLeft)
{
    placeWindow(topLeft);
}

void PetPanel::setCropToDrawn(bool on)
{
    if (m_crop == on)
        return;
    const QPoint frameTopLeft = frame().topLeft();
    m_crop = on;
    placeWindow(frameTopLeft);
    // What takes the pointer above her depends on it too.
    if (m_shapeState)
        updateShapes(*m_shapeState);
}

void PetPanel::setDrawnPart(const QRect &part)
{
    if (part == m_drawnPart)
        return;
    const QPoint frameTopLeft = frame().topLeft();
    m_drawnPart = part;
    if (m_crop)
        placeWindow(frameTopLeft);
}

void PetPanel::placeWindow(QPoint frameTopLeft)
{
    m_frameTopLeft = frameTopLeft;
    const QRect part = coveredPart();
    m_stage->setSize(m_frameSize);
    if (m_overlay)
        m_overlay->setSize(m_frameSize);
    // A window manager answers a new size later, perhaps after others asked for since; until then the pointer
    // events and the drawing still belong to the old window, so the scene moves when a size arrives, to the part
    // asked for with it (resizeEvent). Parts differ in size whenever they differ in place: the size names the part.
    if (m_crop) {
        m_requestedParts.append(part);
        if (m_requestedParts.size() > requestsKept)
            m_requestedParts.removeFirst();
    }
    if (!m_crop || !isVisible() || part.size() == m_windowSize)
        showScenePart(part);
    // A window that is mapped anew to move would lose the pointer it is dragged by: it goes when the drag ends.
    if (m_placement == X11Desktop::Placement::herselfAtMap && m_stage->isDragging())
        return;
    const QRect window(frameTopLeft + part.topLeft(), part.size());
    if (window != geometry())
        X11Desktop::setGeometry(this, window, m_placement);
    applyShapes();
}

void PetPanel::showScenePart(const QRect &part)
{
    // The scene keeps the frame's layout; only the window's view onto it moves, so nothing on screen shifts.
    m_stage->setPosition(-part.topLeft());
    if (m_overlay)
        m_overlay->setPosition(-part.topLeft());
    // The shapes are cut from the window the part is shown in.
    m_shownPartAt = part.topLeft();
}

QRegion PetPanel::toWindow(const QRegion &frameDevice) const
{
    const qreal dpr = devicePixelRatio();
    const QPoint offset = m_shownPartAt;
    return frameDevice.translated(-qRound(offset.x() * dpr), -qRound(offset.y() * dpr));
}

void PetPanel::applyShapes()
{
    if (!handle())
        return;
    if (m_inputRegionSet)
        PassThrough::applyInputRegion(this, toWindow(m_inputRegion));
    if (m_silhouette)
        X11Desktop::setBoundingShape(this, toWindow(*m_silhouette));
}

void PetPanel::setKeepOnTop(bool on)
{
    if (flags().testFlag(Qt::WindowStaysOnTopHint) == on)
        return;
    // Changing flags on a mapped X11 window updates its state in place; it is not unmapped.
    setFlag(Qt::WindowStaysOnTopHint, on);
    applyShapes();
}

void PetPanel::setAllSpaces(bool on)
{
    if (on == m_allSpaces)
        return;
    m_allSpaces = on;
    // Before mapping the state goes with the window (showEvent); a mapped window has to ask.
    if (handle() && isVisible() && !m_mapping)
        X11Desktop::requestAllDesktops(this, on);
}

void PetPanel::setInputRegion(const QRegion &deviceRegion)
{
    if (m_inputRegionSet && deviceRegion == m_inputRegion)
        return;
    m_inputRegion = deviceRegion;
    m_inputRegionSet = true;
    if (handle())
        PassThrough::applyInputRegion(this, toWindow(m_inputRegion));
}

void PetPanel::setSilhouette(const std::optional<QRegion> &deviceRegion)
{
    if (deviceRegion == m_silhouette)
        return;
    m_silhouette = deviceRegion;
    if (!handle())
        return;
    X11Desktop::setBoundingShape(this, m_silhouette ? std::optional<QRegion>(toWindow(*m_silhouette)) : std::nullopt);
}

void PetPanel::orderFront()
{
    if (!isVisible())
        show();
    raise();
}

void PetPanel::resizeEvent(QResizeEvent *event)
{
    QQuickWindow::resizeEvent(event);
    m_windowSize = event->size();
    if (m_crop) {
        // The part asked for with this size; a size the window manager made up shows the part wanted now.
        const auto asked = std::find_if(m_requestedParts.crbegin(), m_requestedParts.crend(), [&](const QRect &part) { return part.size() == event->size(); });
        showScenePart(asked != m_requestedParts.crend() ? *asked : coveredPart());
        applyShapes();
        return;
    }
    // A size given to the window directly (not through setFrame) is the whole frame.
    if (size() != m_frameSize) {
        m_frameSize = size();
        m_stage->setSize(m_frameSize);
        if (m_overlay)
            m_overlay->setSize(m_frameSize);
    }
}

void PetPanel::moveEvent(QMoveEvent *event)
{
    QQuickWindow::moveEvent(event);
    // A window that is the whole frame carries it wherever it is put (a window manager may place it too).
    if (!m_crop)
        m_frameTopLeft = position();
}

void PetPanel::showEvent(QShowEvent *event)
{
    // The native window exists but is not mapped yet: give it the shapes and the desktop state decided
    // while it had none. A window manager reads the state once, at the map that follows.
    m_mapping = true;
    // Where the window manager could neither place her nor keep her above (weston's), she does without it.
    m_placement = X11Desktop::applyPlacement(this);
    applyShapes();
    X11Desktop::setInitialState(this, X11Desktop::panelStates(m_allSpaces, flags().testFlag(Qt::WindowStaysOnTopHint)), m_allSpaces);
    QQuickWindow::showEvent(event);
    m_mapping = false;
    m_justMapped = true;
}

void PetPanel::exposeEvent(QExposeEvent *event)
{
    QQuickWindow::exposeEvent(event);
    if (!m_justMapped || !isExposed())
        return;
    m_justMapped = false;
    // KWin reads the desktop a window asks for at map, then puts a window that is transient for its group
    // (Qt makes every tool window so) on the current desktop all the same: ask again, now it is managed.
    if (m_allSpaces)
        X11Desktop::requestAllDesktops(this, true);
    // Some window managers (mutter) flag a window that did not take the focus at map for attention when it
    // overlaps the focused one, and the shell then announces her. She never wants attention: take it back.
    X11Desktop::requestState(this, "DEMANDS_ATTENTION", false);
}

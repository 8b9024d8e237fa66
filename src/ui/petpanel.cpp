#include "petpanel.h"

#include "petstageview.h"

#include <QQuickItem>

PetPanel::PetPanel(QWindow *parent)
    : QQuickWindow(parent)
    , m_stage(new PetStageView(contentItem()))
{
    // A managed tool window (no taskbar entry) that never takes the keyboard focus.
    setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint);
    setColor(Qt::transparent);
    QSurfaceFormat format = requestedFormat();
    format.setAlphaBufferSize(8);
    setFormat(format);
    setTitle(QStringLiteral("Yuzuha"));
    m_stage->setSize(size());
}

PetPanel::~PetPanel() = default;

void PetPanel::setOverlay(QQuickItem *overlay)
{
    m_overlay = overlay;
    if (!overlay)
        return;
    overlay->setParentItem(contentItem());
    overlay->setZ(1);
    overlay->setSize(size());
    // The overlay only draws; every pointer event belongs to the stage beneath.
    overlay->setAcceptedMouseButtons(Qt::NoButton);
    overlay->setAcceptHoverEvents(false);
    overlay->setAcceptTouchEvents(false);
}

void PetPanel::setKeepOnTop(bool on)
{
    if (flags().testFlag(Qt::WindowStaysOnTopHint) == on)
        return;
    // Changing flags on a mapped X11 window updates its state in place; it is not unmapped.
    setFlag(Qt::WindowStaysOnTopHint, on);
    if (m_inputRegionSet)
        PassThrough::applyInputRegion(this, m_inputRegion);
}

void PetPanel::setAllSpaces(bool on)
{
    m_allSpaces = on;
    if (handle())
        PassThrough::setOnAllDesktops(this, on);
}

void PetPanel::setInputRegion(const QRegion &deviceRegion)
{
    if (m_inputRegionSet && deviceRegion == m_inputRegion)
        return;
    m_inputRegion = deviceRegion;
    m_inputRegionSet = true;
    if (handle())
        PassThrough::applyInputRegion(this, m_inputRegion);
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
    m_stage->setSize(size());
    if (m_overlay)
        m_overlay->setSize(size());
}

void PetPanel::showEvent(QShowEvent *event)
{
    // The native window exists now: give it the input shape and desktop placement decided while it had none.
    if (m_inputRegionSet)
        PassThrough::applyInputRegion(this, m_inputRegion);
    PassThrough::setOnAllDesktops(this, m_allSpaces);
    QQuickWindow::showEvent(event);
}

#include "sessionspopover.h"

#include "dimensions.h"
#include "passthrough.h"
#include "pointerpresses.h"
#include "popupdismissal.h"
#include "sessionlistmodel.h"
#include "sessionwatcher.h"
#include "theme.h"
#include "x11desktop.h"

#include <QBitmap>
#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>

using namespace Qt::StringLiterals;

SessionsPopover::SessionsPopover(SessionWatcher *watcher, QQmlEngine *engine, QObject *parent)
    : QObject(parent)
    , m_watcher(watcher)
    , m_engine(engine)
    , m_model(new SessionListModel(this))
{
    reload();
    if (m_watcher) {
        connect(m_watcher, &SessionWatcher::sessionsChanged, this, &SessionsPopover::reload);
        connect(m_watcher, &SessionWatcher::pinnedIDChanged, this, &SessionsPopover::reload);
    }
}

SessionsPopover::~SessionsPopover()
{
    // A window still up at exit, open or fading out, goes with the popover; its last signals must not
    // reach a popover that is half gone.
    m_leaving.append(m_view);
    for (QQuickView *view : std::as_const(m_leaving)) {
        if (!view)
            continue;
        view->removeEventFilter(this);
        disconnect(view, nullptr, this, nullptr);
        if (QQuickItem *root = view->rootObject())
            disconnect(root, nullptr, this, nullptr);
        delete view;
    }
}

void SessionsPopover::toggle(QWindow *panel, const QRect &anchor)
{
    // A second click while it is open takes it away.
    if (isShown()) {
        close();
        return;
    }
    open(panel, anchor);
}

void SessionsPopover::open(QWindow *panel, const QRect &anchor)
{
    close();
    m_panel = panel;
    m_anchor = anchor;
    m_wasActive = false;
    QScreen *screen = panel ? panel->screen() : QGuiApplication::primaryScreen();
    const QRect available = screen ? screen->availableGeometry() : QRect();
    const Qt::Edge edge = Dimensions::popoverEdge(panel ? panel->geometry() : anchor, available);
    // Translucent only where a compositor blends it; elsewhere every clear pixel would show black, so
    // the card then fills the window and the window is cut to its shape.
    const bool blended = m_compositing;

    auto *view = new QQuickView(m_engine, nullptr);
    m_view = view;
    // A transient window beside her, managed so it can take the focus, with no frame, taskbar entry or
    // shadow of the window manager's: the card draws its own.
    view->setFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::NoDropShadowWindowHint);
    // Beside her wherever she goes around the window manager, or it would be put elsewhere.
    m_placement = X11Desktop::applyPlacement(view);
    view->setTransientParent(panel);
    if (blended) {
        QSurfaceFormat format = view->format();
        format.setAlphaBufferSize(8);
        view->setFormat(format);
        view->setColor(Qt::transparent);
    } else {
        view->setColor(Theme::machine());
    }
    view->setResizeMode(QQuickView::SizeViewToRootObject);
    view->setInitialProperties({ { u"sessions"_s, QVariant::fromValue(m_model) }, { u"popover"_s, QVariant::fromValue(this) },
        { u"herSide"_s, int(edge == Qt::LeftEdge ? Qt::RightEdge : Qt::LeftEdge) }, { u"blended"_s, blended }, { u"animated"_s, !m_reduceMotion } });
    view->setSource(QUrl(u"qrc:/qt/qml/Yuzuha/PopoverCard.qml"_s));
    for (const QQmlError &error : view->errors())
        qWarning().noquote() << error.toString();
    if (QQuickItem *root = view->rootObject()) {
        Theme::applyPalette(root);
        connect(root, SIGNAL(gone()), this, SLOT(cardGone()));
    }
    // The list grows and shrinks as sessions come and go; keep the window beside her and on screen.
    connect(view, &QWindow::heightChanged, this, &SessionsPopover::place);
    // Leaving it for another window closes it, once it had the focus at all.
    connect(view, &QWindow::activeChanged, this, [this, view] {
        if (view != m_view)
            return;
        if (view->isActive())
            m_wasActive = true;
        else if (m_wasActive)
            close();
    });
    view->installEventFilter(this);
    // A click elsewhere closes it without being taken from the window it was aimed at.
    m_presses = std::make_unique<PointerPresses>();
    connect(m_presses.get(), &PointerPresses::pressed, this, &SessionsPopover::pressedSomewhere);

    place();
    view->create();
    // Off the taskbar and the pager, on the desktop the user is looking at.
    X11Desktop::setInitialState(view, X11Desktop::panelStates(false, false), false);
    view->show();
    // A window around the window manager gets no keys under Xwayland, nor a focus to lose.
    if (m_placement != X11Desktop::Placement::windowManager)
        PopupDismissal::closeWhenAway(view, [this, view] {
            if (view == m_view)
                close();
        });
    else
        view->requestActivate();
    if (QQuickItem *root = view->rootObject())
        root->setProperty("open", true);
}

bool SessionsPopover::isShown() const
{
    return m_view && m_view->isVisible();
}

void SessionsPopover::follow(const QRect &anchor)
{
    if (!isShown())
        return;
    m_anchor = anchor;
    place();
}

void SessionsPopover::close()
{
    if (!m_view)
        return;
    QQuickView *view = m_view;
    m_view = nullptr;
    m_leaving.append(view);
    m_presses.reset();
    view->removeEventFilter(this);
    Q_EMIT closed();
    // The card fades out and says when it is gone; without a card there is nothing to wait for.
    QQuickItem *root = view->rootObject();
    if (root && root->property("shown").toReal() > 0)
        root->setProperty("open", false);
    else
        drop(view);
}

void SessionsPopover::cardGone()
{
    auto *root = qobject_cast<QQuickItem *>(sender());
    if (auto *view = root ? qobject_cast<QQuickView *>(root->window()) : nullptr; view && view != m_view)
        drop(view);
}

void SessionsPopover::drop(QQuickView *view)
{
    m_leaving.removeAll(view);
    view->hide();
    // A button of this window may be what closed it: let the current event finish first.
    view->deleteLater();
}

void SessionsPopover::setReduceMotion(bool on)
{
    m_reduceMotion = on;
    if (QQuickItem *root = card())
        root->setProperty("animated", !on);
}

QQuickItem *SessionsPopover::card() const
{
    return m_view ? m_view->rootObject() : nullptr;
}

QRect SessionsPopover::placement(const QRect &sprite, const QRect &bubbleBand, QSize size, Qt::Edge edge, const QRect &available)
{
    const int gap = Dimensions::popoverGap;
    QRect frame(QPoint(), size);
    const auto besides = [&](const QRect &what) {
        if (edge == Qt::LeftEdge)
            frame.moveRight(what.left() - gap - 1);
        else
            frame.moveLeft(what.right() + gap + 1);
    };
    const auto keepOn = [&] {
        if (available.isEmpty())
            return;
        frame.moveLeft(std::clamp(frame.left(), available.left(), std::max(available.left(), available.right() - size.width() + 1)));
        frame.moveTop(std::clamp(frame.top(), available.top(), std::max(available.top(), available.bottom() - size.height() + 1)));
    };
    besides(sprite);
    // Centred on her, but never up in the band where her bubble appears when she speaks.
    frame.moveTop(std::max(sprite.top() + (sprite.height() - size.height()) / 2, bubbleBand.bottom() + gap + 1));
    keepOn();
    if (frame.intersects(bubbleBand)) {
        // Too tall for the room below the band: beside the whole band instead.
        besides(bubbleBand);
        keepOn();
    }
    return frame;
}

void SessionsPopover::place()
{
    QQuickItem *root = card();
    if (!root)
        return;
    QScreen *screen = m_panel ? m_panel->screen() : QGuiApplication::primaryScreen();
    const QRect available = screen ? screen->availableGeometry() : QRect();
    const QRect panel = m_panel ? m_panel->geometry() : m_anchor;
    const int margin = qRound(root->property("margin").toReal());
    const QSize size(qRound(root->width()) - 2 * margin, qRound(root->height()) - 2 * margin);
    const QRect band(panel.topLeft(), QSize(panel.width(), qRound(Dimensions::bubbleBand())));
    const QRect frame = placement(m_anchor, band, size, Dimensions::popoverEdge(panel, available), available);
    X11Desktop::setGeometry(m_view, frame.adjusted(-margin, -margin, margin, margin), m_placement);
    // The arrow points at the middle of her sprite.
    root->setProperty("arrowY", m_anchor.center().y() - frame.top() + margin);
    shape();
}

void SessionsPopover::shape()
{
    QQuickItem *root = card();
    if (!root)
        return;
    const QRectF hit = root->property("hitRect").toRectF();
    if (root->property("blended").toBool()) {
        // Only the card takes the pointer; a click on its shadow reaches the window beneath.
        const qreal dpr = m_view->devicePixelRatio();
        PassThrough::applyInputRegion(m_view, QRect(QPointF(hit.topLeft() * dpr).toPoint(), QPointF(hit.bottomRight() * dpr).toPoint() - QPoint(1, 1)));
        return;
    }
    // Without a compositor the window itself is cut to the card and its arrow.
    const qreal radius = root->property("radius").toReal();
    const qreal depth = root->property("arrowDepth").toReal();
    const qreal half = root->property("arrowHalf").toReal();
    const qreal tipX = root->property("tipX").toReal();
    const qreal tipY = root->property("tipY").toReal();
    const qreal left = root->property("cardLeft").toReal();
    const QRectF body(left, hit.top(), hit.width() - depth, hit.height());
    QPainterPath path;
    path.addRoundedRect(body, radius, radius);
    const qreal base = tipX < body.center().x() ? body.left() + 1 : body.right() - 1;
    path.addPolygon(QPolygonF({ QPointF(base, tipY - half), QPointF(tipX, tipY), QPointF(base, tipY + half) }));
    QBitmap bitmap(m_view->size());
    bitmap.fill(Qt::color0);
    QPainter painter(&bitmap);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::color1);
    painter.drawPath(path.simplified());
    painter.end();
    m_view->setMask(QRegion(bitmap));
}

QRect SessionsPopover::cardFrame() const
{
    QQuickItem *root = card();
    if (!root)
        return {};
    return root->property("hitRect").toRectF().toAlignedRect().translated(m_view->position());
}

void SessionsPopover::pressedSomewhere()
{
    // A press on her is her own click, which toggles the popover itself.
    const QPoint at = QCursor::pos();
    if (!cardFrame().contains(at) && !m_anchor.contains(at))
        close();
}

void SessionsPopover::reload()
{
    if (!m_watcher)
        return;
    const std::optional<Session> focused = m_watcher->focused();
    m_model->update(m_watcher->sessions(), m_watcher->pinnedID(), focused ? std::optional<QString>(focused->id) : std::nullopt);
}

bool SessionsPopover::eventFilter(QObject *watched, QEvent *event)
{
    if (m_view && watched == m_view && event->type() == QEvent::KeyPress && static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape) {
        close();
        return true;
    }
    return false;
}

void SessionsPopover::toggleSession(const QString &id)
{
    if (!m_watcher)
        return;
    // Exactly one session can be pinned; choosing the pinned one again follows the fullest.
    m_watcher->setPinnedID(m_watcher->pinnedID() == id ? std::nullopt : std::optional<QString>(id));
}

void SessionsPopover::followFullest()
{
    if (m_watcher)
        m_watcher->setPinnedID(std::nullopt);
}

void SessionsPopover::openSettings()
{
    close();
    Q_EMIT settingsRequested();
}

void SessionsPopover::hidePet()
{
    close();
    Q_EMIT hideRequested();
}

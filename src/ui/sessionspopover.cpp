#include "sessionspopover.h"

#include "dimensions.h"
#include "sessionlistmodel.h"
#include "sessionwatcher.h"
#include "theme.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <QTimer>

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
    // The window may still be up at exit; its last signals must not reach a popover that is half gone.
    if (m_view) {
        m_view->removeEventFilter(this);
        disconnect(m_view, nullptr, this, nullptr);
        delete m_view;
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
    auto *view = new QQuickView(m_engine, nullptr);
    m_view = view;
    // A popup is what a transient popover is here: no frame, no taskbar entry, gone on a click elsewhere.
    view->setFlags(Qt::Popup | Qt::FramelessWindowHint);
    view->setTransientParent(panel);
    view->setColor(Theme::machine());
    view->setResizeMode(QQuickView::SizeViewToRootObject);
    view->setInitialProperties({ { u"sessions"_s, QVariant::fromValue(m_model) }, { u"popover"_s, QVariant::fromValue(this) } });
    view->setSource(QUrl(u"qrc:/qt/qml/Yuzuha/SessionsView.qml"_s));
    for (const QQmlError &error : view->errors())
        qWarning().noquote() << error.toString();
    // The list grows and shrinks as sessions come and go; keep the window beside her and on screen.
    connect(view, &QWindow::heightChanged, this, &SessionsPopover::place);
    // The window system may take a popup down by itself (another grab, a compositor's dismissal).
    connect(view, &QWindow::visibleChanged, this, [this, view](bool visible) {
        if (!visible && view == m_view)
            close();
    });
    view->installEventFilter(this);

    place();
    view->show();
    view->requestActivate();
}

bool SessionsPopover::isShown() const
{
    return m_view && m_view->isVisible();
}

void SessionsPopover::close()
{
    if (!m_view)
        return;
    QQuickView *view = m_view;
    m_view = nullptr;
    view->removeEventFilter(this);
    view->setMouseGrabEnabled(false);
    view->setKeyboardGrabEnabled(false);
    view->hide();
    Q_EMIT closed();
    // A button of this window may be what closed it: let the current event finish first.
    view->deleteLater();
}

QRect SessionsPopover::placement(const QRect &anchor, QSize size, Qt::Edge edge, const QRect &available)
{
    QRect frame(QPoint(), size);
    if (edge == Qt::LeftEdge)
        frame.moveRight(anchor.left() - Dimensions::popoverGap - 1);
    else
        frame.moveLeft(anchor.right() + Dimensions::popoverGap + 1);
    frame.moveTop(anchor.top() + (anchor.height() - size.height()) / 2);
    if (available.isEmpty())
        return frame;
    frame.moveLeft(std::clamp(frame.left(), available.left(), std::max(available.left(), available.right() - size.width() + 1)));
    frame.moveTop(std::clamp(frame.top(), available.top(), std::max(available.top(), available.bottom() - size.height() + 1)));
    return frame;
}

void SessionsPopover::place()
{
    if (!m_view)
        return;
    QScreen *screen = m_panel ? m_panel->screen() : QGuiApplication::primaryScreen();
    const QRect available = screen ? screen->availableGeometry() : QRect();
    const QRect panel = m_panel ? m_panel->geometry() : m_anchor;
    const QSize size(Dimensions::popoverWidth(), std::max(1, m_view->height()));
    m_view->setGeometry(placement(m_anchor, size, Dimensions::popoverEdge(panel, available), available));
}

void SessionsPopover::reload()
{
    if (!m_watcher)
        return;
    const std::optional<Session> focused = m_watcher->focused();
    m_model->update(m_watcher->sessions(), m_watcher->pinnedID(), focused ? std::optional<QString>(focused->id) : std::nullopt);
}

void SessionsPopover::grabInput()
{
    // Like a menu: while open, every click comes here, and one outside closes the popover and goes no
    // further, so a click on her while it is open only closes it.
    m_view->setMouseGrabEnabled(true);
    m_view->setKeyboardGrabEnabled(true);
}

bool SessionsPopover::eventFilter(QObject *watched, QEvent *event)
{
    if (!m_view || watched != m_view)
        return false;
    switch (event->type()) {
    case QEvent::Expose:
        if (m_view->isExposed())
            grabInput();
        break;
    case QEvent::MouseButtonPress: {
        const auto *press = static_cast<QMouseEvent *>(event);
        if (!QRect(QPoint(), m_view->size()).contains(press->position().toPoint())) {
            close();
            return true;
        }
        break;
    }
    case QEvent::KeyPress:
        if (static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape) {
            close();
            return true;
        }
        break;
    default:
        break;
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

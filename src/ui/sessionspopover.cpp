#include "sessionspopover.h"

#include "petcontroller.h"
#include "sessionlistmodel.h"
#include "sessionwatcher.h"
#include "theme.h"
#include "windowmanager.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickView>
#include <QScreen>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace
{
QPointer<SessionsPopover> s_current;
} // namespace

SessionsPopover::SessionsPopover(SessionWatcher *watcher, QWindow *panel, const QRect &anchor)
    : QObject(panel)
    , m_watcher(watcher)
    , m_panel(panel)
    , m_anchor(anchor)
    , m_model(new SessionListModel(this))
    , m_view(std::make_unique<QQuickView>(engine(), nullptr))
{
    reload();
    if (m_watcher) {
        connect(m_watcher, &SessionWatcher::sessionsChanged, this, &SessionsPopover::reload);
        connect(m_watcher, &SessionWatcher::pinnedIDChanged, this, &SessionsPopover::reload);
    }

    // A popup is what a transient popover is here: no frame, no taskbar entry, gone on a click elsewhere.
    m_view->setFlags(Qt::Popup | Qt::FramelessWindowHint);
    m_view->setTransientParent(panel);
    m_view->setColor(Theme::machine());
    m_view->setResizeMode(QQuickView::SizeViewToRootObject);
    m_view->setInitialProperties({ { u"sessions"_s, QVariant::fromValue(m_model) } });
    m_view->setSource(QUrl(u"qrc:/qt/qml/Yuzuha/SessionsView.qml"_s));
    if (QQuickItem *root = m_view->rootObject()) {
        connect(root, SIGNAL(toggled(QString)), this, SLOT(toggleSession(QString)));
        connect(root, SIGNAL(followFullest()), this, SLOT(followFullest()));
        connect(root, SIGNAL(settingsRequested()), this, SLOT(openSettings()));
        connect(root, SIGNAL(hideRequested()), this, SLOT(hidePet()));
    }
    // The list grows and shrinks as sessions come and go; keep the window beside her and on screen.
    connect(m_view.get(), &QWindow::heightChanged, this, &SessionsPopover::place);
    // The window system may take a popup down by itself (another grab, a compositor's dismissal).
    connect(m_view.get(), &QWindow::visibleChanged, this, [this](bool visible) {
        if (!visible)
            close();
    });
    m_view->installEventFilter(this);

    place();
    m_view->show();
    m_view->requestActivate();
}

SessionsPopover::~SessionsPopover()
{
    // The window may still be up when its owner goes (her panel at exit); its last signals must not
    // reach a popover that is half gone.
    m_closing = true;
    m_view->removeEventFilter(this);
    disconnect(m_view.get(), nullptr, this, nullptr);
}

void SessionsPopover::toggle(QWindow *panel, const QRectF &sprite)
{
    // A second click while it is open takes it away.
    if (s_current && s_current->isShown()) {
        s_current->close();
        return;
    }
    closeCurrent();
    const QRect anchor = sprite.translated(panel ? QPointF(panel->position()) : QPointF()).toAlignedRect();
    s_current = new SessionsPopover(SessionWatcher::shared(), panel, anchor);
}

SessionsPopover *SessionsPopover::current()
{
    return s_current && !s_current->m_closing ? s_current.data() : nullptr;
}

void SessionsPopover::closeCurrent()
{
    if (s_current)
        s_current->close();
}

bool SessionsPopover::isShown() const
{
    return !m_closing && m_view->isVisible();
}

void SessionsPopover::close()
{
    if (m_closing)
        return;
    m_closing = true;
    m_view->setMouseGrabEnabled(false);
    m_view->setKeyboardGrabEnabled(false);
    m_view->hide();
    Q_EMIT closed();
    deleteLater();
}

Qt::Edge SessionsPopover::edgeFor(const QRect &panel, const QRect &available)
{
    // Compared in doubles: a 1-pixel difference of an odd width still counts, equality opens to her right.
    const double panelMid = panel.x() + panel.width() / 2.0;
    const double screenMid = available.x() + available.width() / 2.0;
    return panelMid > screenMid ? Qt::LeftEdge : Qt::RightEdge;
}

QRect SessionsPopover::placement(const QRect &anchor, QSize size, Qt::Edge edge, const QRect &available)
{
    QRect frame(QPoint(), size);
    if (edge == Qt::LeftEdge)
        frame.moveRight(anchor.left() - gap - 1);
    else
        frame.moveLeft(anchor.right() + gap + 1);
    frame.moveTop(anchor.top() + (anchor.height() - size.height()) / 2);
    if (available.isEmpty())
        return frame;
    frame.moveLeft(std::clamp(frame.left(), available.left(), std::max(available.left(), available.right() - size.width() + 1)));
    frame.moveTop(std::clamp(frame.top(), available.top(), std::max(available.top(), available.bottom() - size.height() + 1)));
    return frame;
}

void SessionsPopover::place()
{
    QScreen *screen = m_panel ? m_panel->screen() : QGuiApplication::primaryScreen();
    const QRect available = screen ? screen->availableGeometry() : QRect();
    const QRect panel = m_panel ? m_panel->geometry() : m_anchor;
    const QSize size(width, std::max(1, m_view->height()));
    m_view->setGeometry(placement(m_anchor, size, edgeFor(panel, available), available));
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
    if (watched != m_view.get())
        return false;
    switch (event->type()) {
    case QEvent::Expose:
        if (m_view->isExposed() && !m_closing)
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
    WindowManager::shared()->showSettings();
}

void SessionsPopover::hidePet()
{
    close();
    // Her own hide procedure: petVisible off (stored) and the panel taken off screen.
    PetController::shared()->hideFromMenu();
}

QQmlEngine *SessionsPopover::engine()
{
    // One engine for every popover of the run: the views compile once and reopen quickly.
    static QPointer<QQmlEngine> engine;
    if (!engine) {
        engine = new QQmlEngine(QCoreApplication::instance());
        // The Yuzuha module is compiled in under this prefix.
        engine->addImportPath(u"qrc:/qt/qml"_s);
    }
    return engine;
}

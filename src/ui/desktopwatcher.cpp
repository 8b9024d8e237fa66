#include "desktopwatcher.h"

#include "x11desktop.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QGuiApplication>
#include <QTimer>

#include <cstdlib>
#include <cstring>

#ifdef YUZUHA_HAVE_XCB_XFIXES
#include <xcb/xcb.h>
#include <xcb/xfixes.h>
#endif

using namespace Qt::StringLiterals;

namespace
{
const QString notifierWatcherService = u"org.kde.StatusNotifierWatcher"_s;
const QString notifierWatcherPath = u"/StatusNotifierWatcher"_s;
const QString kwinService = u"org.kde.KWin"_s;
const QString kwinCompositor = u"/Compositor"_s;
const QString kwinCompositing = u"org.kde.kwin.Compositing"_s;

QDBusMessage propertyGet(const QString &service, const QString &path, const QString &interface, const QString &name)
{
    QDBusMessage get = QDBusMessage::createMethodCall(service, path, u"org.freedesktop.DBus.Properties"_s, u"Get"_s);
    get << interface << name;
    return get;
}
} // namespace

DesktopWatcher::DesktopWatcher(QObject *parent)
    : QObject(parent)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected()) {
        m_notifierWatcher = new QDBusServiceWatcher(notifierWatcherService, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
        // A restarted panel takes the name anew: the old registration went with the old owner.
        connect(m_notifierWatcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &DesktopWatcher::trayChanged);
        // The watcher may start before the panel that shows its items (kded before plasmashell): the tray is
        // there only once a host has registered with it.
        bus.connect(notifierWatcherService, notifierWatcherPath, notifierWatcherService, u"StatusNotifierHostRegistered"_s, this, SIGNAL(trayChanged()));
    }
#ifdef YUZUHA_HAVE_XCB_XFIXES
    xcb_connection_t *c = X11Desktop::connection();
    if (!c)
        return;
    const xcb_query_extension_reply_t *xfixes = xcb_get_extension_data(c, &xcb_xfixes_id);
    if (!xfixes || !xfixes->present)
        return;
    // Qt has agreed a version with the server already; asking again is harmless and makes this independent of it.
    std::free(xcb_xfixes_query_version_reply(c, xcb_xfixes_query_version(c, XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION), nullptr));
    m_x11 = true;
    m_xfixesEvent = xfixes->first_event;
    m_compositorAtom = X11Desktop::atom("_NET_WM_CM_S0");
    m_trayAtom = X11Desktop::atom("_NET_SYSTEM_TRAY_S0");
    m_activeAtom = X11Desktop::atom("_NET_ACTIVE_WINDOW");
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    const uint32_t mask = XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY
        | XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE;
    xcb_xfixes_select_selection_input(c, root, m_compositorAtom, mask);
    xcb_xfixes_select_selection_input(c, root, m_trayAtom, mask);
    // Qt listens to the root window's properties already; ask for them anyway so the active window is heard.
    xcb_get_window_attributes_reply_t *attributes = xcb_get_window_attributes_reply(c, xcb_get_window_attributes(c, root), nullptr);
    const uint32_t events = (attributes ? attributes->your_event_mask : 0) | XCB_EVENT_MASK_PROPERTY_CHANGE;
    std::free(attributes);
    xcb_change_window_attributes(c, root, XCB_CW_EVENT_MASK, &events);
    xcb_flush(c);
    m_compositing = X11Desktop::compositorRunning();
    QCoreApplication::instance()->installNativeEventFilter(this);
    // KWin keeps the compositor selection while its compositing is suspended (by the user's shortcut, a
    // full-screen game, or a driver it gave up on): only KWin itself can say whether it draws transparency.
    if (bus.isConnected()) {
        m_kwinWatcher = new QDBusServiceWatcher(kwinService, bus, QDBusServiceWatcher::WatchForOwnerChange, this);
        connect(m_kwinWatcher, &QDBusServiceWatcher::serviceOwnerChanged, this, [this] {
            m_kwinCompositing.reset();
            updateCompositing();
            askKWin();
        });
        bus.connect(kwinService, kwinCompositor, kwinCompositing, u"compositingToggled"_s, this, SLOT(kwinCompositingToggled(bool)));
        askKWin();
    }
#endif
}

DesktopWatcher::~DesktopWatcher()
{
    if (m_x11 && QCoreApplication::instance())
        QCoreApplication::instance()->removeNativeEventFilter(this);
}

bool DesktopWatcher::trayPresent() const
{
    return notifierHostRegistered() || X11Desktop::xembedTrayRunning();
}

bool DesktopWatcher::notifierHostRegistered() const
{
    if (!m_notifierWatcher || !m_notifierWatcher->connection().interface()->isServiceRegistered(notifierWatcherService))
        return false;
    // Qt asks the same before it makes a StatusNotifier item, and keeps the answer for the process's life:
    // an item made while no host is there becomes an XEmbed icon that no StatusNotifier panel shows.
    const QDBusMessage get = propertyGet(notifierWatcherService, notifierWatcherPath, notifierWatcherService, u"IsStatusNotifierHostRegistered"_s);
    const QDBusReply<QDBusVariant> reply = m_notifierWatcher->connection().call(get, QDBus::Block, notifierTimeoutMs);
    return reply.isValid() && reply.value().variant().toBool();
}

void DesktopWatcher::askKWin()
{
    QDBusMessage get = propertyGet(kwinService, kwinCompositor, kwinCompositing, u"active"_s);
    // Only a running KWin is asked; none is started for it.
    get.setAutoStartService(false);
    auto *call = new QDBusPendingCallWatcher(m_kwinWatcher->connection().asyncCall(get), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *call) {
        call->deleteLater();
        // No KWin, or one too old to say: the selection alone decides.
        const QDBusPendingReply<QDBusVariant> reply = *call;
        if (reply.isValid() && reply.value().variant().typeId() == QMetaType::Bool)
            kwinCompositingToggled(reply.value().variant().toBool());
    });
}

void DesktopWatcher::kwinCompositingToggled(bool on)
{
    m_kwinCompositing = on;
    updateCompositing();
}

void DesktopWatcher::updateCompositing()
{
    const bool on = X11Desktop::compositorRunning() && m_kwinCompositing.value_or(true);
    if (on == m_compositing)
        return;
    m_compositing = on;
    Q_EMIT compositingChanged(on);
}

bool DesktopWatcher::nativeEventFilter(const QByteArray &eventType, void *message, qintptr *)
{
#ifdef YUZUHA_HAVE_XCB_XFIXES
    if (!m_x11 || eventType != "xcb_generic_event_t")
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    const uint8_t type = event->response_type & 0x7f;
    if (type == m_xfixesEvent + XCB_XFIXES_SELECTION_NOTIFY) {
        const auto *notify = reinterpret_cast<const xcb_xfixes_selection_notify_event_t *>(event);
        // Handled after Qt has seen the event too, outside its event dispatch.
        if (notify->selection == m_compositorAtom)
            QTimer::singleShot(0, this, &DesktopWatcher::updateCompositing);
        else if (notify->selection == m_trayAtom)
            QTimer::singleShot(0, this, &DesktopWatcher::trayChanged);
    } else if (type == XCB_PROPERTY_NOTIFY) {
        const auto *notify = reinterpret_cast<const xcb_property_notify_event_t *>(event);
        if (notify->atom == m_activeAtom)
            QTimer::singleShot(0, this, &DesktopWatcher::activeWindowChanged);
    }
#else
    Q_UNUSED(eventType)
    Q_UNUSED(message)
#endif
    return false;
}

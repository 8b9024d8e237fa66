#include "x11desktop.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#ifdef YUZUHA_HAVE_XCB_SHAPE
#include <xcb/shape.h>
#include <xcb/xcb.h>
#endif

namespace X11Desktop
{
#ifdef YUZUHA_HAVE_XCB_SHAPE
xcb_connection_t *connection()
{
    // The offscreen platform may answer the X11 interface without a connection behind it.
    if (QGuiApplication::platformName() != QLatin1StringView("xcb"))
        return nullptr;
    auto *x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

namespace
{
xcb_window_t rootWindow(xcb_connection_t *c)
{
    return xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
}

xcb_atom_t atom(xcb_connection_t *c, const QByteArray &name)
{
    xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, uint16_t(name.size()), name.constData()), nullptr);
    const xcb_atom_t result = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    std::free(reply);
    return result;
}

bool selectionOwned(const char *name)
{
    xcb_connection_t *c = connection();
    if (!c)
        return false;
    const xcb_atom_t selection = atom(c, name);
    xcb_get_selection_owner_reply_t *reply = xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, selection), nullptr);
    const bool owned = reply && reply->owner != XCB_WINDOW_NONE;
    std::free(reply);
    return owned;
}

// The 32-bit items of a window's property of `type`, at most `count` of them (none when it has no such property).
QList<uint32_t> property32(xcb_connection_t *c, xcb_window_t window, const char *name, xcb_atom_t type, uint32_t count)
{
    xcb_get_property_reply_t *reply = xcb_get_property_reply(c, xcb_get_property(c, 0, window, atom(c, name), type, 0, count), nullptr);
    QList<uint32_t> items;
    if (reply && reply->format == 32) {
        items.resize(xcb_get_property_value_length(reply) / 4);
        std::memcpy(items.data(), xcb_get_property_value(reply), size_t(items.size()) * 4);
    }
    std::free(reply);
    return items;
}

std::optional<uint32_t> rootCardinal(xcb_connection_t *c, const char *name)
{
    const QList<uint32_t> items = property32(c, rootWindow(c), name, XCB_ATOM_CARDINAL, 1);
    return items.isEmpty() ? std::nullopt : std::optional(items.first());
}

void sendToRoot(xcb_connection_t *c, xcb_window_t window, xcb_atom_t type, std::initializer_list<uint32_t> data)
{
    xcb_client_message_event_t event {};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = window;
    event.type = type;
    std::copy(data.begin(), data.end(), event.data.data32);
    xcb_send_event(c, 0, rootWindow(c), XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY, reinterpret_cast<const char *>(&event));
    xcb_flush(c);
}

constexpr uint32_t allDesktopsValue = 0xFFFFFFFF;
constexpr uint32_t sourceApplication = 1;

// The desktop she goes to when she leaves "all desktops": the one the user is looking at.
uint32_t desktopFor(xcb_connection_t *c, bool allDesktops)
{
    return allDesktops ? allDesktopsValue : rootCardinal(c, "_NET_CURRENT_DESKTOP").value_or(0);
}
} // namespace

quint32 atom(const char *name)
{
    xcb_connection_t *c = connection();
    return c ? atom(c, name) : 0;
}

bool isXwayland()
{
    xcb_connection_t *c = connection();
    if (!c)
        return false;
    // Xwayland names itself through its own extension; older releases only through the Wayland socket.
    const char name[] = "XWAYLAND";
    xcb_query_extension_reply_t *reply = xcb_query_extension_reply(c, xcb_query_extension(c, uint16_t(std::strlen(name)), name), nullptr);
    const bool present = reply && reply->present;
    std::free(reply);
    if (present || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return true;
    // Without the variable (a session started by hand), its screens still carry its name.
    const QScreen *screen = QGuiApplication::primaryScreen();
    return screen && screen->name().startsWith(QLatin1StringView("XWAYLAND"));
}

namespace
{
Placement placement()
{
    xcb_connection_t *c = connection();
    if (!c || !isXwayland())
        return Placement::windowManager;
    const xcb_window_t root = rootWindow(c);
    const QList<uint32_t> supported = property32(c, root, "_NET_SUPPORTED", XCB_ATOM_ATOM, 1024);
    if (supported.isEmpty() || supported.contains(atom(c, "_NET_WM_STATE_ABOVE")))
        return Placement::windowManager;
    // The window manager names itself on the window its check property points at.
    const QList<uint32_t> check = property32(c, root, "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW, 1);
    if (check.isEmpty())
        return Placement::herself;
    xcb_get_property_reply_t *reply
        = xcb_get_property_reply(c, xcb_get_property(c, 0, check.first(), atom(c, "_NET_WM_NAME"), XCB_GET_PROPERTY_TYPE_ANY, 0, 64), nullptr);
    const bool weston = reply && QByteArrayView(static_cast<const char *>(xcb_get_property_value(reply)), xcb_get_property_value_length(reply)) == "Weston WM";
    std::free(reply);
    return weston ? Placement::herselfAtMap : Placement::herself;
}
} // namespace

Placement applyPlacement(QWindow *window)
{
    const Placement decided = placement();
    if (const bool bypass = decided != Placement::windowManager; bypass != window->flags().testFlag(Qt::X11BypassWindowManagerHint))
        window->setFlag(Qt::X11BypassWindowManagerHint, bypass);
    return decided;
}

void setGeometry(QWindow *window, const QRect &rect, Placement placement)
{
    const bool moves = rect.topLeft() != window->geometry().topLeft();
    window->setGeometry(rect);
    xcb_connection_t *c = connection();
    if (!c || !moves || !window->isVisible() || placement != Placement::herselfAtMap)
        return;
    const auto id = xcb_window_t(window->winId());
    xcb_unmap_window(c, id);
    xcb_map_window(c, id);
    xcb_flush(c);
}

bool pointerOnAWindow()
{
    xcb_connection_t *c = connection();
    if (!c)
        return true;
    xcb_query_pointer_reply_t *reply = xcb_query_pointer_reply(c, xcb_query_pointer(c, rootWindow(c)), nullptr);
    const bool onAWindow = !reply || reply->child != XCB_WINDOW_NONE;
    std::free(reply);
    return onAWindow;
}

bool compositorRunning()
{
    // Off X11 transparency is the platform's business: count it as composited.
    return !connection() || selectionOwned("_NET_WM_CM_S0");
}

bool xembedTrayRunning()
{
    return selectionOwned("_NET_SYSTEM_TRAY_S0");
}

void setInitialState(QWindow *window, const QList<QByteArray> &states, bool allDesktops)
{
    xcb_connection_t *c = connection();
    if (!window || !c)
        return;
    const auto id = xcb_window_t(window->winId());
    QList<xcb_atom_t> atoms;
    for (const QByteArray &state : states)
        atoms.append(atom(c, "_NET_WM_STATE_" + state));
    // Qt adds its own states (above, modal) to this list when it maps the window, keeping ours.
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, id, atom(c, "_NET_WM_STATE"), XCB_ATOM_ATOM, 32, uint32_t(atoms.size()), atoms.constData());
    const uint32_t desktop = desktopFor(c, allDesktops);
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, id, atom(c, "_NET_WM_DESKTOP"), XCB_ATOM_CARDINAL, 32, 1, &desktop);
    xcb_flush(c);
}

void requestState(QWindow *window, const QByteArray &state, bool on)
{
    xcb_connection_t *c = connection();
    if (!window || !c)
        return;
    sendToRoot(c, xcb_window_t(window->winId()), atom(c, "_NET_WM_STATE"), { on ? 1u : 0u, atom(c, "_NET_WM_STATE_" + state), 0, sourceApplication });
}

void requestAllDesktops(QWindow *window, bool on)
{
    xcb_connection_t *c = connection();
    if (!window || !c)
        return;
    // Sticky and the all-desktops number say the same thing; window managers listen to one or the other.
    requestState(window, "STICKY", on);
    sendToRoot(c, xcb_window_t(window->winId()), atom(c, "_NET_WM_DESKTOP"), { desktopFor(c, on), sourceApplication });
}

void setBoundingShape(QWindow *window, const std::optional<QRegion> &deviceRegion)
{
    xcb_connection_t *c = connection();
    if (!window || !c)
        return;
    const auto id = xcb_window_t(window->winId());
    if (!deviceRegion) {
        xcb_shape_mask(c, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, id, 0, 0, XCB_PIXMAP_NONE);
    } else {
        QList<xcb_rectangle_t> rects;
        rects.reserve(deviceRegion->rectCount());
        for (const QRect &r : *deviceRegion)
            rects.append({ qint16(r.x()), qint16(r.y()), quint16(r.width()), quint16(r.height()) });
        xcb_shape_rectangles(c, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_UNSORTED, id, 0, 0, uint32_t(rects.size()), rects.constData());
    }
    xcb_flush(c);
}
#else
xcb_connection_t *connection()
{
    return nullptr;
}
quint32 atom(const char *)
{
    return 0;
}
bool isXwayland()
{
    return false;
}
Placement applyPlacement(QWindow *)
{
    return Placement::windowManager;
}
void setGeometry(QWindow *window, const QRect &rect, Placement)
{
    window->setGeometry(rect);
}
bool pointerOnAWindow()
{
    return true;
}
bool compositorRunning()
{
    return true;
}
bool xembedTrayRunning()
{
    return false;
}
void setInitialState(QWindow *, const QList<QByteArray> &, bool)
{
}
void requestState(QWindow *, const QByteArray &, bool)
{
}
void requestAllDesktops(QWindow *, bool)
{
}
void setBoundingShape(QWindow *, const std::optional<QRegion> &)
{
}
#endif

QList<QByteArray> panelStates(bool allDesktops, bool keepOnTop)
{
    // Explicitly off the taskbar and the pager: some panels list a utility window all the same.
    QList<QByteArray> states { "SKIP_TASKBAR", "SKIP_PAGER" };
    if (allDesktops)
        states.append("STICKY");
    if (keepOnTop)
        states.append("ABOVE");
    return states;
}
} // namespace X11Desktop

#pragma once

#include <QByteArray>
#include <QList>
#include <QRegion>

#include <optional>

class QWindow;
struct xcb_connection_t;

/// What her window asks of an X11 window manager, and what it learns about the desktop around it.
/// Every function does nothing (or answers "no") when the program does not run on X11.
namespace X11Desktop
{
/// The X connection when the program runs on the X11 platform, else null.
xcb_connection_t *connection();
/// The atom of `name`, interned on the X connection (0 without one).
quint32 atom(const char *name);
/// Whether that X server is Xwayland: a Wayland compositor decides where the pointer goes, and it
/// ignores the input shape of an X window, so only the window's own rectangle counts.
bool isXwayland();
/// Who puts her floating windows (her own and her popover) in place.
enum class Placement {
    windowManager, ///< the X window manager places and stacks them
    /// They go around it (override-redirect), and the compositor shows them where they are, above its windows.
    /// So under Xwayland when the window manager cannot keep a window above others (wlroots' and weston's list
    /// no `_NET_WM_STATE_ABOVE`, and weston's also ignores where a window asks to be).
    herself,
    /// The same, but the compositor takes a window's place only when it is mapped (weston 10).
    herselfAtMap,
};
/// Decides how `window`, not yet mapped, is placed on this desktop (no window manager yet counts as a
/// full one), and lets it go around the window manager when it is to place itself.
Placement applyPlacement(QWindow *window);
/// Gives `window` the geometry `rect`; placed `herselfAtMap`, a visible window that moves is mapped anew.
void setGeometry(QWindow *window, const QRect &rect, Placement placement);
/// Whether the X pointer is over any window but the root. Xwayland puts it on the root, where it
/// was, once the pointer went to a Wayland window. True when not on X11.
bool pointerOnAWindow();
/// Whether a compositing manager owns the `_NET_WM_CM_S0` selection (always so off X11).
bool compositorRunning();
/// Whether an XEmbed tray owns the `_NET_SYSTEM_TRAY_S0` selection.
bool xembedTrayRunning();

/// The `_NET_WM_STATE_*` names (without the prefix) she asks for on every map.
QList<QByteArray> panelStates(bool allDesktops, bool keepOnTop);
/// Writes the initial `_NET_WM_STATE` and `_NET_WM_DESKTOP` of an unmapped window: a window manager
/// reads them when the window is mapped, and ignores later property changes.
void setInitialState(QWindow *window, const QList<QByteArray> &states, bool allDesktops);
/// Asks the window manager to add or remove one state of a mapped window.
void requestState(QWindow *window, const QByteArray &state, bool on);
/// Asks the window manager to move a mapped window to every desktop, or to the current one.
void requestAllDesktops(QWindow *window, bool on);

/// Clips what the window shows to `deviceRegion` (the X11 bounding shape); no region lifts the clip.
void setBoundingShape(QWindow *window, const std::optional<QRegion> &deviceRegion);
} // namespace X11Desktop

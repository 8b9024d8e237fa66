#pragma once

#include <QPoint>
#include <QRect>

#include <chrono>
#include <functional>

class QMenu;
class QObject;

/// Closes her popup menus where the window system cannot: under a Wayland compositor her X pointer
/// grab never sees a click on a Wayland window, and keys go to that window too. What does reach
/// her is where Xwayland puts its pointer: on the bare root once the pointer went to a Wayland
/// window. A menu the pointer has been away from for a while is let go.
namespace PopupDismissal
{
/// How long the pointer may stay away from all of her windows before her open menus close.
inline constexpr std::chrono::milliseconds patience { 1200 };
/// How often the pointer is looked for while a menu is open.
inline constexpr std::chrono::milliseconds lookInterval { 100 };

/// The top-left corner of a menu of `size` for a press at `pointer`: right of and below it, or left
/// of and above it where `available` ends, but never over the pointer. Xwayland only moves its
/// pointer to the root when the window under it is the one the compositor last sent it into, so a
/// menu opened under the pointer would keep it there for good.
QPoint besidePointer(QPoint pointer, QSize size, const QRect &available);

/// Opens `menu` beside `pointer` and watches it (and the submenus it opens) while it is open;
/// closes them all once the pointer has been away from every window of hers for `patience`.
void popupBeside(QMenu *menu, QPoint pointer);

/// Calls `close` once the pointer has been away from every window of hers for `patience`, for as
/// long as `owner` lives: for a window beside her that cannot hold the focus to lose it.
void closeWhenAway(QObject *owner, std::function<void()> close);
} // namespace PopupDismissal

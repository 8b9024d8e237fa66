#pragma once

#include <chrono>

class QMenu;

/// Closes her popup menus where the window system cannot: under a Wayland compositor her X pointer
/// grab never sees a click on a Wayland window, and keys go to that window too. What does reach
/// her is the pointer leaving her windows; a menu the pointer has left for a while is let go.
namespace PopupDismissal
{
/// How long the pointer may stay away from all of her windows before her open menus close.
inline constexpr std::chrono::milliseconds patience { 1200 };

/// Watches `menu` (and the submenus it opens) while it is open; closes them all once the pointer has
/// been away from every window of hers for `patience`.
void closeWhenLeft(QMenu *menu);
} // namespace PopupDismissal

#pragma once

#include <QString>

#include <optional>

/// The desktop's "reduce animations" setting: no breathing, hop or fade while it is on.
namespace ReduceMotion
{
/// What the desktop says, each absent when it cannot be read.
struct Sources {
    /// Output of `gsettings get org.gnome.desktop.interface enable-animations`.
    std::optional<QString> gnomeEnableAnimations;
    /// Contents of ~/.config/kdeglobals.
    std::optional<QString> kdeGlobals;
};

/// On when GNOME has animations disabled or KDE's animation speed factor is 0; off otherwise.
bool decide(const Sources &sources);

/// Reads the sources of the running desktop: gsettings only when it is installed, kdeglobals
/// under `configHome`.
Sources read(const QString &configHome);

/// The setting of this session, read once on first use.
bool isOn();
} // namespace ReduceMotion

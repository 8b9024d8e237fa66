#pragma once

#include "fleetaccess.h"
#include "loginitem.h"
#include "reducemotion.h"
#include "sprites.h"

#include <QObject>
#include <QSettings>
#include <QString>

#include <memory>

class DesktopWatcher;
class PetController;
class Preferences;
class SessionWatcher;
class SessionsPopover;
class StatusItemController;
class ViewEngine;
class WindowManager;

/// Builds every long-lived object of the program once, hands each its collaborators and connects
/// them: the settings, the agent folders, the session watcher, the one QML engine, the windows, the
/// popover, her controller and the tray item. Nothing looks another object up.
class Application : public QObject
{
    Q_OBJECT

public:
    /// What the objects stand on; tests hand in a scratch settings file and home folder.
    struct Environment {
        std::unique_ptr<QSettings> store;
        QString home;
        LoginItem loginItem;
        /// The desktop's reduced-motion setting, followed live; without one she always animates.
        std::unique_ptr<ReduceMotion> motion;
        /// The folder holding "Sprites" (":/" for the compiled-in resources).
        QString resources;
        /// What tells whether an agent folder can be read; the file system when empty.
        FleetAccess::Probe folderProbe;
    };
    /// The running user's settings file, home folder, login item and desktop setting.
    static Environment userEnvironment();

    explicit Application(Environment environment, QObject *parent = nullptr);
    ~Application() override;

    DesktopWatcher *desktop() const { return m_desktop.get(); }

    /// Starts the watcher, puts her on the desktop and opens the welcome window until it was seen.
    void launch();
    /// Launched again while running: show her.
    void reopen();

    Preferences *preferences() const { return m_preferences.get(); }
    FleetAccess *access() const { return m_access.get(); }
    SessionWatcher *watcher() const { return m_watcher.get(); }
    ViewEngine *engine() const { return m_engine.get(); }
    WindowManager *windows() const { return m_windows.get(); }
    SessionsPopover *popover() const { return m_popover.get(); }
    PetController *pet() const { return m_pet.get(); }
    StatusItemController *tray() const { return m_tray.get(); }

private:
    // In the order of building; they go in the reverse order, views before the engine that made them.
    std::unique_ptr<ReduceMotion> m_motion;
    std::unique_ptr<Preferences> m_preferences;
    std::unique_ptr<FleetAccess> m_access;
    std::unique_ptr<SessionWatcher> m_watcher;
    std::unique_ptr<Sprites::Store> m_sprites;
    std::unique_ptr<ViewEngine> m_engine;
    std::unique_ptr<WindowManager> m_windows;
    std::unique_ptr<SessionsPopover> m_popover;
    std::unique_ptr<DesktopWatcher> m_desktop;
    std::unique_ptr<PetController> m_pet;
    std::unique_ptr<StatusItemController> m_tray;
};

#pragma once

#include "singleinstance.h"

#include <QObject>
#include <QString>

/// Brings the program up in a fixed order and brings her back when the program is launched again
/// while it runs. There is only ever one Yuzuha per user session: a second launch hands the
/// re-open request to the running one (see SingleInstance) and exits.
class AppDelegate : public QObject
{
    Q_OBJECT

public:
    /// Runs before the application object exists: on a Wayland session use X11 through XWayland
    /// (a Wayland client cannot place its own window) unless the user chose a platform.
    static void preparePlatform();

    explicit AppDelegate(QObject *parent = nullptr);

    /// Becomes the one instance; false when another one runs and was asked to show her instead.
    bool claimInstance();

    /// Fonts, the folder gate, the session watcher, the tray item, then her on the desktop.
    void launch();
    /// Launched again while running: show her.
    void reopen();

private:
    SingleInstance m_instance;
};

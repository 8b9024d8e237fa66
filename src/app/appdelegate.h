#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>

#include <memory>

class Application;

/// Brings the program up and brings her back when the program is launched again while it runs.
/// There is only ever one Yuzuha per user session: a second launch hands the re-open request to the
/// running one over a per-user local socket and exits.
class AppDelegate : public QObject
{
    Q_OBJECT

public:
    /// Runs before the application object exists: on a Wayland session use X11 through XWayland
    /// (a Wayland client cannot place its own window) unless the user chose a platform.
    static void preparePlatform();
    /// Whether the environment names a display to draw on; the application object aborts without one.
    static bool hasGraphicalSession();

    /// The local socket name of the running user, e.g. "app.yuzuha.Yuzuha-1000".
    static QString socketName();

    explicit AppDelegate(QObject *parent = nullptr);
    ~AppDelegate() override;

    /// Becomes the one instance; false when another one runs and was asked to show her instead.
    bool claimInstance();

    /// Builds the program's objects and puts her on the desktop.
    void launch();
    /// Launched again while running: show her.
    void reopen();

private:
    QLocalServer m_server;
    std::unique_ptr<Application> m_application;
};

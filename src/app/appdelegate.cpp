#include "appdelegate.h"

#include "appinfo.h"
#include "application.h"

#include <QApplication>
#include <QQuickWindow>

using namespace Qt::StringLiterals;

void AppDelegate::preparePlatform()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qgetenv("XDG_SESSION_TYPE") == "wayland")
        qputenv("QT_QPA_PLATFORM", "xcb");
    // She is on screen all day and redraws only a few pixels at a time: the software renderer repaints
    // just those, where OpenGL redraws the whole window and loads a GL driver. Measured with
    // bench/pet_idle.sh under Xvfb: 0.23 % of a core and 60 MB against 0.48 % and 146 MB with OpenGL.
    if (!qEnvironmentVariableIsSet("QT_QUICK_BACKEND") && !qEnvironmentVariableIsSet("QSG_RHI_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

bool AppDelegate::hasGraphicalSession()
{
    // A platform the user chose other than X11 or Wayland (offscreen, vnc, …) brings its own display.
    const QString platform = qEnvironmentVariable("QT_QPA_PLATFORM");
    if (!platform.isEmpty() && !platform.startsWith(u"xcb"_s) && !platform.startsWith(u"wayland"_s))
        return true;
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

AppDelegate::AppDelegate(QObject *parent)
    : QObject(parent)
    , m_instance(SingleInstance::privateFolder().value_or(QString()))
{
    // Settings land in ~/.config/Yuzuha/Yuzuha.conf.
    QCoreApplication::setOrganizationName(AppInfo::name.toString());
    QCoreApplication::setApplicationName(AppInfo::name.toString());
    QCoreApplication::setApplicationVersion(AppInfo::version.toString());
    QGuiApplication::setDesktopFileName(u"yuzuha"_s);
    // She lives in a tool window and the tray; closing a window never ends the program.
    QGuiApplication::setQuitOnLastWindowClosed(false);

    connect(&m_instance, &SingleInstance::reopenRequested, this, &AppDelegate::reopen);
}

bool AppDelegate::claimInstance()
{
    return m_instance.claim();
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::launch()
{
    m_application = std::make_unique<Application>(Application::userEnvironment());
    m_application->launch();
}

void AppDelegate::reopen()
{
    if (m_application)
        m_application->reopen();
}

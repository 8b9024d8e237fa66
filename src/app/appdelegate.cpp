#include "appdelegate.h"

#include "appinfo.h"
#include "fleetaccess.h"
#include "folderprompt.h"
#include "fonts.h"
#include "petcontroller.h"
#include "preferences.h"
#include "sessionwatcher.h"
#include "statusitemcontroller.h"
#include "windowmanager.h"

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

void AppDelegate::launch()
{
    Fonts::registerAll();
    FleetAccess::shared()->setPrompt(std::make_unique<DialogFolderPrompt>());
    SessionWatcher::shared()->start();
    new StatusItemController(SessionWatcher::shared(), this);
    PetController::shared()->showOnLaunch();
    // Her context menu and a click while she sees no folder open the ordinary windows.
    connect(PetController::shared(), &PetController::settingsRequested, WindowManager::shared(), &WindowManager::showSettings);
    connect(PetController::shared(), &PetController::welcomeRequested, WindowManager::shared(), &WindowManager::showWelcome);
    // Only the welcome's own button sets the flag, so closing it from the title bar brings it back next time.
    if (!Preferences::shared()->defaults().value(Preferences::hasSeenWelcomeKey.toString(), false).toBool())
        WindowManager::shared()->showWelcome();
}

void AppDelegate::reopen()
{
    PetController::shared()->showPet();
}

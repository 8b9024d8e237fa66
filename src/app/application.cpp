#include "application.h"

#include "desktopwatcher.h"
#include "fleetaccess.h"
#include "fonts.h"
#include "petcontroller.h"
#include "petpanel.h"
#include "preferences.h"
#include "qmlregistration.h"
#include "reducemotion.h"
#include "sessionspopover.h"
#include "sessionwatcher.h"
#include "statusitemcontroller.h"
#include "trayimage.h"
#include "windowmanager.h"

#include <QDBusConnection>
#include <QDate>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

Application::Environment Application::userEnvironment()
{
    return { Preferences::userStore(), FleetAccess::homeFolder(), LoginItem(),
        std::make_unique<ReduceMotion>(QDBusConnection::sessionBus(), QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)), u":/"_s, {} };
}

Application::Application(Environment environment, QObject *parent)
    : QObject(parent)
{
    // The views need the bundled faces before the first one is built.
    Fonts::registerAll();
    m_motion = std::move(environment.motion);
    const bool reduceMotion = m_motion && m_motion->isOn();

    m_preferences = std::make_unique<Preferences>(std::move(environment.store), std::move(environment.loginItem));
    Preferences *prefs = m_preferences.get();
    m_access = std::make_unique<FleetAccess>(environment.home, std::move(environment.folderProbe));
    FleetAccess *access = m_access.get();
    m_watcher = std::make_unique<SessionWatcher>(SessionWatcher::Config { [access] { return access->snapshots(); }, {}, {} });
    SessionWatcher *watcher = m_watcher.get();
    m_sprites = std::make_unique<Sprites::Store>(
        environment.resources.isEmpty() ? u":/"_s : environment.resources, [prefs] { return prefs->outfit(); }, [] { return QDate::currentDate(); });

    m_engine = std::make_unique<ViewEngine>(prefs, access, m_sprites.get());
    m_windows = std::make_unique<WindowManager>(prefs, m_engine.get());
    m_popover = std::make_unique<SessionsPopover>(watcher, m_engine.get());
    m_popover->setReduceMotion(reduceMotion);

    m_desktop = std::make_unique<DesktopWatcher>();
    // The watcher knows more than the selection owner (a suspended KWin keeps it); the popover asks it.
    m_popover->setCompositing(m_desktop->compositing());
    connect(m_desktop.get(), &DesktopWatcher::compositingChanged, m_popover.get(), &SessionsPopover::setCompositing);
    PetController::Inputs inputs;
    inputs.preferences = prefs;
    inputs.sprites = m_sprites.get();
    inputs.focused = [watcher] { return watcher->focused(); };
    inputs.outOfReach = [access] { return !access->unreadableIds().isEmpty(); };
    inputs.reduceMotion = reduceMotion;
    inputs.desktop = m_desktop.get();
    m_pet = std::make_unique<PetController>(std::move(inputs), m_engine.get());
    PetController *pet = m_pet.get();
    m_tray = std::make_unique<StatusItemController>(watcher, access, pet->model(), TrayImage::faces(u":/"_s), m_desktop.get());
    StatusItemController *tray = m_tray.get();
    WindowManager *windows = m_windows.get();
    SessionsPopover *popover = m_popover.get();

    // Every pass gets the bedtime as a value; a new one recomputes every window at once.
    watcher->setBedtime(prefs->bedtime());
    connect(prefs, &Preferences::bedtimeChanged, watcher, [watcher](qint64 tokens) {
        watcher->setBedtime(tokens);
        watcher->refresh();
    });

    // Permissions change without notice; two checks after each pass keep up with them cheaply.
    connect(watcher, &SessionWatcher::passFinished, access, &FleetAccess::check);
    // She follows the latest of the watcher's list, its pin and the folders' reach, coalesced on the main thread.
    connect(watcher, &SessionWatcher::sessionsChanged, pet, &PetController::scheduleUpdate);
    connect(watcher, &SessionWatcher::pinnedIDChanged, pet, &PetController::scheduleUpdate);
    connect(access, &FleetAccess::unreadableIdsChanged, pet, &PetController::scheduleUpdate);
    connect(pet, &PetController::updated, tray, &StatusItemController::refresh);

    connect(pet, &PetController::sessionsRequested, popover, [pet, popover](const QRect &anchor) { popover->toggle(pet->panel(), anchor); });
    connect(pet, &PetController::movedTo, popover, &SessionsPopover::follow);
    connect(pet, &PetController::hidden, popover, &SessionsPopover::close);
    connect(pet, &PetController::settingsRequested, windows, &WindowManager::showSettings);

    connect(popover, &SessionsPopover::settingsRequested, windows, &WindowManager::showSettings);
    connect(popover, &SessionsPopover::hideRequested, pet, &PetController::hideFromMenu);

    connect(tray, &StatusItemController::showPetRequested, pet, &PetController::showPet);
    connect(tray, &StatusItemController::hidePetRequested, pet, &PetController::hideFromMenu);
    connect(tray, &StatusItemController::settingsRequested, windows, &WindowManager::showSettings);

    connect(windows, &WindowManager::welcomeFinished, pet, &PetController::showPet);

    // Everything that moves follows the desktop's setting as it changes.
    if (m_motion) {
        connect(m_motion.get(), &ReduceMotion::changed, pet, &PetController::setReduceMotion);
        connect(m_motion.get(), &ReduceMotion::changed, popover, &SessionsPopover::setReduceMotion);
    }
}

Application::~Application() = default;

void Application::launch()
{
    m_watcher->start();
    m_pet->showOnLaunch();
    // Only the welcome's own button sets the flag, so closing it from the title bar brings it back next time.
    if (!m_preferences->defaults().value(Preferences::hasSeenWelcomeKey.toString(), false).toBool())
        m_windows->showWelcome();
}

void Application::reopen()
{
    m_pet->showPet();
}

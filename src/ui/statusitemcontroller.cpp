#include "statusitemcontroller.h"

#include "desktopwatcher.h"

#include "fleetaccess.h"
#include "formatting.h"
#include "petmodel.h"
#include "sessionwatcher.h"
#include "trayimage.h"

#include <QAction>
#include <QCoreApplication>
#include <QCursor>
#include <QKeyEvent>
#include <QMenu>
#include <QSystemTrayIcon>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace
{
constexpr const char *commandProperty = "command";

// Menu texts treat "&" as a mnemonic marker and a tab as the start of the shortcut column.
QString menuSafe(QString text)
{
    return text.replace(u'&', u"&&"_s).replace(u'\t', u' ');
}

QAction *addItem(QMenu *menu, const QString &text, StatusItemController::Command command)
{
    QAction *action = menu->addAction(text);
    action->setProperty(commandProperty, QVariant::fromValue(command));
    return action;
}
} // namespace

StatusItemController::StatusItemController(
    SessionWatcher *watcher, FleetAccess *access, PetModel *pet, QMap<int, QImage> faces, DesktopWatcher *desktop, QObject *parent)
    : QObject(parent)
    , m_watcher(watcher)
    , m_access(access)
    , m_pet(pet)
    , m_menu(std::make_unique<QMenu>())
    , m_desktop(desktop)
    , m_faces(std::move(faces))
{
    connect(m_menu.get(), &QMenu::aboutToShow, this, &StatusItemController::rebuildMenu);
    connect(m_menu.get(), &QMenu::triggered, this, &StatusItemController::perform);
    m_menu->installEventFilter(this);
    refresh();
    // Qt settles on one kind of tray (StatusNotifier or XEmbed) when the item is made: make it once a tray is there.
    if (!m_desktop || m_desktop->trayPresent())
        makeItem();
    if (m_desktop) {
        // A panel that hosts both kinds announces them one after the other (XEmbed selection, watcher name,
        // host): wait until its start has settled, so the item goes the StatusNotifier way where it can.
        m_trayGrace.setSingleShot(true);
        m_trayGrace.setInterval(trayGraceMs);
        connect(&m_trayGrace, &QTimer::timeout, this, &StatusItemController::trayChanged);
        connect(m_desktop, &DesktopWatcher::trayChanged, &m_trayGrace, qOverload<>(&QTimer::start));
    }
}

void StatusItemController::makeItem()
{
    m_tray = std::make_unique<QSystemTrayIcon>();
    m_tray->setContextMenu(m_menu.get());
    // A status item opens its menu on any click; trays only do so on the secondary button by themselves.
    connect(m_tray.get(), &QSystemTrayIcon::activated, this, [this](QSystemTrayIcon::ActivationReason reason) {
        if (reason == QSystemTrayIcon::Trigger && !m_menu->isVisible())
            m_menu->popup(QCursor::pos());
    });
    m_tray->setToolTip(m_toolTip);
    m_tray->setIcon(m_icon);
    if (m_desktop || QSystemTrayIcon::isSystemTrayAvailable())
        m_tray->show();
}

void StatusItemController::trayChanged()
{
    // Once made, the item follows trays by itself: Qt embeds it in each new XEmbed tray and registers it
    // with each new StatusNotifier watcher.
    if (!m_tray && m_desktop->trayPresent())
        makeItem();
}

StatusItemController::~StatusItemController() = default;

void StatusItemController::refresh()
{
    const std::optional<Session> focused = m_watcher ? m_watcher->focused() : std::nullopt;
    // Trays show no text beside the icon, so the percentage rides on the icon's badge and in the tooltip.
    m_toolTip = toolTipText(focused);
    if (m_tray)
        m_tray->setToolTip(m_toolTip);
    updateIcon(focused ? std::optional<int>(focused->percent()) : std::nullopt);
}

void StatusItemController::updateIcon(std::optional<int> percent)
{
    if (m_iconDrawn && percent == m_iconPercent)
        return;
    m_icon = TrayImage::icon(m_faces, percent);
    if (m_tray)
        m_tray->setIcon(m_icon);
    m_iconDrawn = true;
    m_iconPercent = percent;
}

StatusItemController::State StatusItemController::currentState() const
{
    State state;
    if (m_watcher) {
        state.focused = m_watcher->focused();
        state.sessions = m_watcher->sessions();
        state.pinnedID = m_watcher->pinnedID();
    }
    if (m_access) {
        for (const FleetFolder &folder : FleetAccess::folders()) {
            if (m_access->unreadableIds().contains(folder.id))
                state.unreadable.append(u"~/"_s + folder.relativePath);
        }
    }
    state.petVisible = m_pet && m_pet->shown();
    return state;
}

QString StatusItemController::toolTipText(const std::optional<Session> &focused)
{
    if (!focused)
        return u"Yuzuha"_s;
    return u"Yuzuha: "_s + focused->project + u", "_s + QString::number(focused->percent()) + u"% of the context window"_s;
}

QString StatusItemController::headerText(const std::optional<Session> &focused)
{
    const Tiers::Tier &tier = Tiers::all.at(focused ? focused->tier() : 0);
    return tier.romaji.toString() + u"  "_s + tier.english.toString();
}

QString StatusItemController::sessionText(const Session &session, const QFontMetrics &metrics)
{
    const QString tokens = session.tokens ? shortTokens(*session.tokens) : u"fresh"_s;
    return metrics.elidedText(session.project, Qt::ElideMiddle, menuProjectWidth) + u"  "_s + QString::number(session.percent()) + u"%  ("_s + tokens + u')';
}

void StatusItemController::populate(QMenu *menu, const State &state)
{
    menu->clear();

    addItem(menu, menuSafe(headerText(state.focused)), Command::none)->setEnabled(false);
    menu->addSeparator();

    if (state.sessions.isEmpty()) {
        addItem(menu, u"No sessions today"_s, Command::none)->setEnabled(false);
    } else {
        QAction *fullest = addItem(menu, u"Follow the Fullest"_s, Command::followFullest);
        fullest->setCheckable(true);
        fullest->setChecked(!state.pinnedID);
        for (const Session &session : state.sessions.first(std::min<qsizetype>(state.sessions.size(), menuSessionLimit))) {
            // Menus here have no indentation levels; leading em spaces set the sessions under "Follow the Fullest".
            QAction *item = addItem(menu, u"\u2003\u2003"_s + menuSafe(sessionText(session, menu->fontMetrics())), Command::follow);
            item->setData(session.id);
            item->setCheckable(true);
            item->setChecked(state.pinnedID == session.id);
        }
    }
    // A folder out of reach is named, so the user knows where to look.
    for (const QString &folder : state.unreadable)
        addItem(menu, menuSafe(u"Cannot read "_s + folder), Command::none)->setEnabled(false);
    menu->addSeparator();

    addItem(menu, state.petVisible ? u"Hide Yuzuha"_s : u"Show Yuzuha"_s, Command::toggleVisible);
    QAction *settings = addItem(menu, u"Settings\u2026"_s, Command::openSettings);
    settings->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    settings->setShortcutVisibleInContextMenu(true);
    menu->addSeparator();
    QAction *quit = addItem(menu, u"Quit Yuzuha"_s, Command::quit);
    quit->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    quit->setShortcutVisibleInContextMenu(true);
}

StatusItemController::Command StatusItemController::commandOf(const QAction *action)
{
    const QVariant command = action ? action->property(commandProperty) : QVariant();
    return command.canConvert<Command>() ? command.value<Command>() : Command::none;
}

bool StatusItemController::eventFilter(QObject *watched, QEvent *event)
{
    // The program has no main window, so an item's key works only while the menu is open; an open
    // menu takes keys for navigation and mnemonics only, so the two keyed items are matched here.
    if (watched == m_menu.get() && event->type() == QEvent::KeyPress) {
        const QKeySequence pressed(static_cast<QKeyEvent *>(event)->keyCombination());
        for (QAction *action : m_menu->actions()) {
            if (!action->shortcut().isEmpty() && action->shortcut() == pressed && action->isEnabled()) {
                m_menu->hide();
                action->trigger();
                return true;
            }
        }
    }
    return QObject::eventFilter(watched, event);
}

void StatusItemController::rebuildMenu()
{
    populate(m_menu.get(), currentState());
}

void StatusItemController::perform(const QAction *action)
{
    switch (commandOf(action)) {
    case Command::none:
        return;
    case Command::followFullest:
        if (m_watcher)
            m_watcher->setPinnedID(std::nullopt);
        return;
    case Command::follow: {
        const QVariant data = action->data();
        if (!m_watcher || data.typeId() != QMetaType::QString)
            return;
        // Choosing the followed session again stops following it.
        const QString id = data.toString();
        m_watcher->setPinnedID(m_watcher->pinnedID() == id ? std::nullopt : std::optional<QString>(id));
        return;
    }
    case Command::toggleVisible:
        if (m_pet && m_pet->shown())
            Q_EMIT hidePetRequested();
        else
            Q_EMIT showPetRequested();
        return;
    case Command::openSettings:
        Q_EMIT settingsRequested();
        return;
    case Command::quit:
        QCoreApplication::quit();
        return;
    }
}

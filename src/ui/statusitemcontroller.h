#pragma once

#include "session.h"

#include <QIcon>
#include <QImage>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <memory>
#include <optional>

class DesktopWatcher;
class FleetAccess;
class PetModel;
class QAction;
class QFontMetrics;
class QMenu;
class QSystemTrayIcon;
class SessionWatcher;

/// The tray item: her icon with the followed session's percentage on a badge, a tooltip naming that
/// session, and a menu rebuilt from current state each time it opens.
class StatusItemController : public QObject
{
    Q_OBJECT

public:
    /// Everything the menu shows, read at one moment.
    struct State {
        std::optional<Session> focused;
        QList<Session> sessions;
        std::optional<QString> pinnedID;
        QStringList unreadable; ///< agent folders she cannot read, as "~/.codex/sessions"
        bool petVisible = true; ///< her panel is on screen now
    };

    /// What a menu item does when chosen; kept on the item as its `command` property.
    enum class Command { none, followFullest, follow, toggleVisible, openSettings, quit };
    Q_ENUM(Command)

    /// Session items shown at most; the rest are reached through the popover.
    static constexpr int menuSessionLimit = 8;

    /// Over `watcher`, the folder gate and her model (whether she is on screen), with her tray faces by
    /// width (TrayImage::faces) to draw the tray picture from. Puts the item in the tray; with `desktop`,
    /// once a tray is there and again in each new one.
    StatusItemController(
        SessionWatcher *watcher, FleetAccess *access, PetModel *pet, QMap<int, QImage> faces, DesktopWatcher *desktop = nullptr, QObject *parent = nullptr);
    ~StatusItemController() override;

    /// Redraws the badge (only when the percentage changed) and the tooltip from the focused session.
    void refresh();

    /// The item, or null while no tray has been there to take it.
    QSystemTrayIcon *trayIcon() const { return m_tray.get(); }
    QMenu *menu() const { return m_menu.get(); }
    /// The menu's state as the watcher, the gate and her model have it now.
    State currentState() const;

    static QString toolTipText(const std::optional<Session> &focused);
    /// The focused tier's two phrases ("Makasete!  Leave it to me!" without a session).
    static QString headerText(const std::optional<Session> &focused);
    /// The widest a project name may be in the menu; longer names are cut in the middle, as the popover
    /// cuts them, so one long name does not stretch the whole menu.
    static constexpr int menuProjectWidth = 220;
    /// "api-server  42%  (84K)", or "(fresh)" before the first reply; the project cut to
    /// menuProjectWidth in `metrics`.
    static QString sessionText(const Session &session, const QFontMetrics &metrics);
    /// Fills `menu` (emptied first) with the items for `state`; each item carries its Command and, to
    /// follow a session, the session's id as its data.
    static void populate(QMenu *menu, const State &state);
    static Command commandOf(const QAction *action);

    /// Carries out the command of a chosen menu item.
    void perform(const QAction *action);

Q_SIGNALS:
    void showPetRequested();
    void hidePetRequested();
    void settingsRequested();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void rebuildMenu();
    void updateIcon(std::optional<int> percent);
    void makeItem();
    void trayChanged();

    static constexpr int trayGraceMs = 500;

    QPointer<SessionWatcher> m_watcher;
    QPointer<FleetAccess> m_access;
    QPointer<PetModel> m_pet;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_tray;
    DesktopWatcher *m_desktop = nullptr;
    QTimer m_trayGrace;
    QString m_toolTip;
    QIcon m_icon;
    QMap<int, QImage> m_faces;
    bool m_iconDrawn = false;
    std::optional<int> m_iconPercent;
};

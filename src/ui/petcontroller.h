#pragma once

#include "preferences.h"
#include "session.h"
#include "sprites.h"

#include <QObject>
#include <QPointF>
#include <QRect>
#include <QSizeF>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>

class DesktopWatcher;
class PetModel;
class PetPanel;
class PetStageView;
class QActionGroup;
class QMenu;
class QQmlEngine;
class QScreen;

/// Owns her window and decides what she shows: which session, when she hops and when she speaks.
/// It places the panel on screen, keeps it there, follows the settings and answers her clicks.
class PetController : public QObject
{
    Q_OBJECT

public:
    /// What the controller reads; the start-up code wires the session watcher, the folder gate and the sprites.
    struct Inputs {
        Preferences *preferences = nullptr;
        /// Her bitmaps; a test may leave it out and give the stage its own images.
        Sprites::Store *sprites = nullptr;
        /// The session she shows, or nothing.
        std::function<std::optional<Session>()> focused;
        /// Whether an agent folder exists that she cannot read.
        std::function<bool()> outOfReach;
        /// Whether the desktop asks for reduced motion.
        bool reduceMotion = false;
        /// What the desktop around her can do now (a compositor), or null.
        DesktopWatcher *desktop = nullptr;
    };

    static constexpr qreal cornerRight = 12;
    static constexpr qreal cornerBottom = 8;
    static constexpr int launchAnnouncementSeconds = 6;
    static constexpr int changeAnnouncementSeconds = 7;

    // "petOrigin" keeps the panel's bottom-left corner with y growing upward from the bottom of the
    // primary screen, as "{x, y}". Qt's window positions are top-left with y growing downward; these
    // two functions are the only place the two meet.
    /// The stored text of a panel frame, e.g. "{998, 8}" for a panel 8 above the bottom of an 800-high primary screen.
    static QString formatOrigin(const QRect &frame, int primaryBottom);
    /// The Qt top-left of a panel of `height` from a stored text; unreadable text reads as the origin (0, 0).
    static QPoint parseOrigin(const QString &text, int height, int primaryBottom);

    /// Whether the central 40 % × 40 % of her figure (her sprite's frame on screen) is on any of the screens' available areas.
    static bool visibleEnough(const QRect &figure, const QList<QRect> &available);
    /// Bottom-right of an available area: 12 from the right, 8 above the bottom.
    static QPoint defaultCorner(const QRect &available, QSize panel);

    /// Builds her panel with the overlay made by `engine`, which must outlive the controller.
    PetController(Inputs inputs, QQmlEngine *engine, QObject *parent = nullptr);
    ~PetController() override;

    PetModel *model() const { return m_model; }
    PetPanel *panel() const { return m_panel.get(); }
    PetStageView *stage() const;
    int shownTier() const { return m_shownTier; }
    std::optional<QString> shownSessionID() const { return m_shownSessionID; }

    /// Lays her out and, when she is meant to be visible, shows her with a 6-second greeting.
    void showOnLaunch();
    /// Re-reads which session she shows; hops on a tier change and announces a new session or tier.
    void update();
    /// Runs update() once on the next turn of the event loop, however often it is asked for before then.
    void scheduleUpdate();
    void showPet();
    void hideFromMenu();
    /// The desktop's reduced-motion setting changed: breathing, hops, fades and the bubble follow it.
    void setReduceMotion(bool on);

    /// A press on her without a drag.
    void clicked();
    /// A drag ended: remember where she stands.
    void moved();
    /// A new context menu for the current settings; the caller owns it.
    QMenu *contextMenu();

    void pickSize(int tag);
    void pickOutfit(int tag);
    void toggleTop();
    void openSettings();

    /// Sizes and places the panel; with `keepAnchor` the bottom centre stays where it was.
    void layout(bool keepAnchor);
    /// Brings her back to the default corner when too little of her is on any screen.
    void keepOnScreen();
    /// Raises the speech bubble for `seconds`, when speech bubbles are on.
    void announce(int seconds);

    /// The pointer is at `position` in the panel: update hovering.
    void pointerMoved(QPointF position);
    void pointerLeft();
    /// Re-derives the parts of the panel that take the pointer and are drawn.
    void updateInputRegion();

Q_SIGNALS:
    /// A click asks for the sessions list beside her sprite, `anchor` in global coordinates.
    void sessionsRequested(const QRect &anchor);
    /// The user dragged her; her sprite now stands at `anchor` (global coordinates).
    void movedTo(const QRect &anchor);
    void settingsRequested();
    /// She was taken off the desktop: whatever opened beside her goes too.
    void hidden();
    /// The shown session was read again; the tray follows.
    void updated();

private:
    void addPick(QMenu *menu, QActionGroup *group, const QString &title, int tag, bool checked, void (PetController::*pick)(int));
    void applyOutfit();
    void storeOrigin();
    void watchScreen(QScreen *screen);
    void workAreaChanged();
    QRect panelFrame() const;
    /// Her sprite's frame in global coordinates, what opens beside her points at.
    QRect spriteAnchor() const;

    Inputs m_inputs;
    PetModel *m_model;
    std::unique_ptr<PetPanel> m_panel;
    QTimer m_announceTimer;
    static constexpr int leaveGraceMs = 250;
    QTimer m_leaveTimer;
    int m_shownTier = -1;
    std::optional<QString> m_shownSessionID;
    bool m_updatePending = false;
    std::optional<Preferences::Outfit> m_outfit;
    // Standing in the default corner, not where the user put her: the corner follows the work area.
    bool m_atCorner = true;
};

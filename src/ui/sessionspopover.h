#pragma once

#include "x11desktop.h"

#include <QObject>
#include <QPointer>
#include <QQuickView>
#include <QRect>
#include <QSize>
#include <QtQml/qqmlregistration.h>

#include <memory>

class PointerPresses;
class QQmlEngine;
class QQuickItem;
class QWindow;
class SessionListModel;
class SessionWatcher;

/// The popover that opens beside her on a click: today's sessions on a card with an arrow toward her,
/// as wide as Dimensions::popoverWidth and as tall as its content, redrawn live while the watcher
/// publishes. It is one frameless window; where a compositor blends it, the window is translucent and
/// the card's shadow is drawn in it, while only the card takes the pointer. It is transient: it closes
/// on Escape, when it loses the focus, on a click on her and on a click anywhere else, and that click
/// still reaches what it was aimed at. One is built at start-up; each opening makes a fresh window,
/// dropped once it has faded out.
class SessionsPopover : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Built at start-up")

public:
    /// Lists `watcher`'s sessions in views made by `engine`, which must outlive the popover.
    SessionsPopover(SessionWatcher *watcher, QQmlEngine *engine, QObject *parent = nullptr);
    ~SessionsPopover() override;

    /// Her click: closes the open window, or opens one beside `anchor` (her sprite's frame, global
    /// coordinates) on the side her `panel` stands away from.
    void toggle(QWindow *panel, const QRect &anchor);
    /// Opens a window beside `anchor`, closing one that is open.
    void open(QWindow *panel, const QRect &anchor);
    bool isShown() const;
    /// Moves an open window beside her sprite's new frame `anchor`.
    void follow(const QRect &anchor);
    /// Fades the window out, tells `closed()` and drops the window once it is gone.
    void close();
    /// Whether it fades and grows in and fades out; off while the desktop asks for reduced motion.
    void setReduceMotion(bool on);
    /// Whether the desktop blends translucent windows now; the next opening draws its card accordingly.
    void setCompositing(bool on) { m_compositing = on; }

    /// The open window, or null.
    QQuickView *window() const { return m_view; }
    SessionListModel *model() const { return m_model; }

    /// The card's frame (arrow included) of `size` beside her `sprite` on `edge`: centred on her but
    /// below her `bubbleBand`, where her speech bubble appears; when there is no room for that on
    /// `available`, beside the whole band instead. Kept on `available`.
    static QRect placement(const QRect &sprite, const QRect &bubbleBand, QSize size, Qt::Edge edge, const QRect &available);

    // What the view's controls do.
    /// Follows the session `id`, or lets go of it when it is the followed one.
    Q_INVOKABLE void toggleSession(const QString &id);
    Q_INVOKABLE void followFullest();
    Q_INVOKABLE void openSettings();
    Q_INVOKABLE void hidePet();

Q_SIGNALS:
    void closed();
    /// Its Settings… button was pressed.
    void settingsRequested();
    /// Its Hide Yuzuha button was pressed.
    void hideRequested();

private Q_SLOTS:
    void cardGone();

private:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void reload();
    void place();
    void shape();
    QQuickItem *card() const;
    /// The card's frame in global coordinates, shadow left out.
    QRect cardFrame() const;
    void pressedSomewhere();
    /// Hides a closed window and deletes it on the next turn of the event loop.
    void drop(QQuickView *view);

    QPointer<SessionWatcher> m_watcher;
    QQmlEngine *m_engine;
    QPointer<QWindow> m_panel;
    QRect m_anchor;
    SessionListModel *m_model;
    QPointer<QQuickView> m_view;
    /// Windows fading out after they were closed.
    QList<QPointer<QQuickView>> m_leaving;
    std::unique_ptr<PointerPresses> m_presses;
    bool m_wasActive = false;
    bool m_reduceMotion = false;
    bool m_compositing = true;
    X11Desktop::Placement m_placement = X11Desktop::Placement::windowManager;
};

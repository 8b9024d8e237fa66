#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickView>
#include <QRect>
#include <QSize>
#include <QtQml/qqmlregistration.h>

class QQmlEngine;
class QWindow;
class SessionListModel;
class SessionWatcher;

/// The popover that opens beside her on a click: today's sessions in a frameless popup window as wide
/// as Dimensions::popoverWidth and as tall as its content, redrawn live while the watcher publishes. It
/// closes when the user clicks anywhere else or presses Escape. One is built at start-up; each opening
/// makes a fresh window, dropped once it closes.
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
    /// Hides the window, tells `closed()` and drops the window on the next turn of the event loop.
    void close();

    /// The open window, or null.
    QQuickView *window() const { return m_view; }
    SessionListModel *model() const { return m_model; }

    /// The popover's frame beside `anchor` on `edge`, centred on it vertically and kept on `available`.
    static QRect placement(const QRect &anchor, QSize size, Qt::Edge edge, const QRect &available);

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

private:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void reload();
    void place();
    void grabInput();

    QPointer<SessionWatcher> m_watcher;
    QQmlEngine *m_engine;
    QPointer<QWindow> m_panel;
    QRect m_anchor;
    SessionListModel *m_model;
    QPointer<QQuickView> m_view;
};

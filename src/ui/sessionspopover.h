#pragma once

#include <QObject>
#include <QPointer>
#include <QRect>
#include <QRectF>
#include <QSize>

#include <memory>

class QQmlEngine;
class QQuickView;
class QWindow;
class SessionListModel;
class SessionWatcher;

/// The popover that opens beside her on a click: today's sessions in a frameless popup window, 330 wide
/// and as tall as its content, redrawn live while the watcher publishes. It closes when the user clicks
/// anywhere else or presses Escape, and deletes itself once closed.
class SessionsPopover : public QObject
{
    Q_OBJECT

public:
    static constexpr int width = 330;
    /// Room left between her sprite and the popover.
    static constexpr int gap = 6;

    /// Opens beside `anchor` (her sprite's frame, global coordinates) on the side `edgeFor` picks from `panel`.
    SessionsPopover(SessionWatcher *watcher, QWindow *panel, const QRect &anchor);
    ~SessionsPopover() override;

    /// Her click: closes the open popover, or opens one over the shared watcher beside her sprite
    /// (`sprite` in the panel's coordinates). The popover stays `current()` until it closes.
    static void toggle(QWindow *panel, const QRectF &sprite);
    /// The popover opened by her click while it is open, else null.
    static SessionsPopover *current();
    /// Closes the open popover, if there is one (she is being hidden).
    static void closeCurrent();

    bool isShown() const;
    /// Hides the window, tells `closed()` and deletes the popover on the next turn of the event loop.
    void close();

    QQuickView *window() const { return m_view.get(); }
    SessionListModel *model() const { return m_model; }

    /// Her left when her panel's centre is right of the screen's centre, else her right.
    static Qt::Edge edgeFor(const QRect &panel, const QRect &available);
    /// The popover's frame beside `anchor` on `edge`, centred on it vertically and kept on `available`.
    static QRect placement(const QRect &anchor, QSize size, Qt::Edge edge, const QRect &available);

Q_SIGNALS:
    void closed();

private Q_SLOTS:
    void toggleSession(const QString &id);
    void followFullest();
    void openSettings();
    void hidePet();

private:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void reload();
    void place();
    void grabInput();

    static QQmlEngine *engine();

    QPointer<SessionWatcher> m_watcher;
    QPointer<QWindow> m_panel;
    QRect m_anchor;
    SessionListModel *m_model;
    std::unique_ptr<QQuickView> m_view;
    bool m_closing = false;
};

#pragma once

#include <QObject>

class QSocketNotifier;
class QWindow;

/// What a transient window beside her (the sessions popover) needs from the X display: whether its
/// translucent pixels can be blended, staying off the taskbar, and seeing a click anywhere else
/// without taking the pointer from the window the click was aimed at. Off X11 these do nothing.
namespace TransientWindow
{
/// Whether a compositing manager blends windows on this X screen, so translucent pixels show what
/// lies beneath.
bool compositorRuns();

/// Keeps `window` off the taskbar and the pager; call before it is first shown.
void keepOffTaskbar(QWindow *window);

/// Presses of a pointer button anywhere on the X display, seen through the X input extension's raw
/// events without grabbing the pointer, so each press still reaches its window. Wheel turns do not
/// count. Without the extension it never reports.
class PointerPresses : public QObject
{
    Q_OBJECT

public:
    explicit PointerPresses(QObject *parent = nullptr);
    ~PointerPresses() override;

    bool isWatching() const { return m_notifier != nullptr; }

Q_SIGNALS:
    /// A button went down somewhere; where the pointer is now tells where.
    void pressed();

private:
    void drain();

    struct Connection;
    Connection *m_x = nullptr;
    QSocketNotifier *m_notifier = nullptr;
};
} // namespace TransientWindow

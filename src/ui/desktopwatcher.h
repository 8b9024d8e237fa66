#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>

#include <optional>

class QDBusServiceWatcher;

/// Follows what the desktop around her can do while she runs: whether a compositing manager draws
/// transparent windows, whether a tray is there to take her item, and which window is active. Panels
/// and compositors start after her at login, and restart while she runs.
class DesktopWatcher : public QObject, public QAbstractNativeEventFilter
{
    Q_OBJECT

public:
    explicit DesktopWatcher(QObject *parent = nullptr);
    ~DesktopWatcher() override;

    /// Whether transparent pixels show what lies beneath (always so off X11).
    bool compositing() const { return m_compositing; }
    /// Whether a tray host is there: a StatusNotifier watcher with a host on the session bus, or an XEmbed tray.
    bool trayPresent() const;

    bool nativeEventFilter(const QByteArray &eventType, void *message, qintptr *result) override;

Q_SIGNALS:
    void compositingChanged(bool on);
    /// A tray host appeared, went away or was replaced: an item must register anew.
    void trayChanged();
    /// The window manager made another window active (or none).
    void activeWindowChanged();

private Q_SLOTS:
    void kwinCompositingToggled(bool on);

private:
    void updateCompositing();
    void askKWin();
    bool notifierHostRegistered() const;

    static constexpr int notifierTimeoutMs = 1000;

    QDBusServiceWatcher *m_notifierWatcher = nullptr;
    QDBusServiceWatcher *m_kwinWatcher = nullptr;
    /// What KWin says of its compositing, while KWin is there to ask.
    std::optional<bool> m_kwinCompositing;
    bool m_compositing = true;
    bool m_x11 = false;
    quint32 m_compositorAtom = 0;
    quint32 m_trayAtom = 0;
    quint32 m_activeAtom = 0;
    quint8 m_xfixesEvent = 0;
};

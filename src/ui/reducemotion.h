#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QVariant>

#include <memory>
#include <optional>

class QDBusVariant;
class QFileSystemWatcher;
class QProcess;

/// The desktop's "reduce animations" setting, followed live: no breathing, hop, fade or popover
/// animation while it is on.
///
/// The desktop portal's settings answer first and tell every change; where no portal runs, GNOME's
/// setting (through `gsettings monitor`) and KDE's kdeglobals file are watched instead. Where none
/// of them says anything, she animates.
class ReduceMotion : public QObject
{
    Q_OBJECT
    Q_PROPERTY(bool on READ isOn NOTIFY changed)

public:
    /// What the desktop says, each absent when it does not say it.
    struct Reading {
        /// org.freedesktop.appearance reduced-motion: 1 asks for less motion.
        std::optional<uint> reducedMotion;
        /// org.gnome.desktop.interface enable-animations.
        std::optional<bool> gnomeAnimations;
        /// KDE's AnimationDurationFactor: 0 switches animations off.
        std::optional<double> kdeAnimationFactor;

        /// Takes one setting as the portal names it; settings that say nothing about motion are ignored.
        void take(const QString &group, const QString &key, const QVariant &value);
        /// Takes the [KDE] AnimationDurationFactor of a kdeglobals text, or forgets it when absent.
        void takeKdeGlobals(const QString &text);
    };

    /// On when any source asks for reduced motion.
    static bool decide(const Reading &reading);

    /// Watches the desktop over `bus` (the portal) and, without a portal, gsettings and the
    /// kdeglobals file under `configHome`.
    ReduceMotion(const QDBusConnection &bus, const QString &configHome, QObject *parent = nullptr);
    ~ReduceMotion() override;

    bool isOn() const { return m_on; }

Q_SIGNALS:
    void changed(bool on);

private Q_SLOTS:
    void portalSettingChanged(const QString &group, const QString &key, const QDBusVariant &value);

private:
    void askPortal();
    void watchWithoutPortal();
    void readGnome();
    void readKde();
    void settle();

    QDBusConnection m_bus;
    QString m_configHome;
    Reading m_portal;
    Reading m_local;
    bool m_portalAnswered = false;
    QProcess *m_gnomeMonitor = nullptr;
    std::unique_ptr<QFileSystemWatcher> m_kdeWatcher;
    bool m_on = false;
};

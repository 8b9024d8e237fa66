#pragma once

#include <QObject>
#include <QSize>
#include <QVariantMap>
#include <QtQml/qqmlregistration.h>

#include <memory>

class Preferences;
class QColor;
class QQmlEngine;
class QQuickView;
class QString;

/// Opens the two ordinary windows, welcome and settings, and keeps at most one of each.
/// Closing a window only hides it for the next show; the welcome window is dropped for good by its
/// closing button (finishWelcome), so the next showWelcome() builds a fresh one.
class WindowManager : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("Built at start-up")

public:
    static constexpr QSize welcomeSize { 560, 470 };
    static constexpr QSize settingsSize { 560, 700 };

    /// Builds its windows with `engine`, which must outlive it, and keeps "hasSeenWelcome" in `preferences`.
    WindowManager(Preferences *preferences, QQmlEngine *engine, QObject *parent = nullptr);
    ~WindowManager() override;

    /// Builds the welcome window if needed, then brings it centred to the front with the keyboard.
    Q_INVOKABLE void showWelcome();
    /// Builds the settings window if needed, then brings it centred to the front with the keyboard.
    Q_INVOKABLE void showSettings();
    /// The welcome window's closing button: remembers that the welcome was seen, closes and forgets
    /// the window, and asks for her on the desktop.
    Q_INVOKABLE void finishWelcome();

    /// The windows as built so far; null until first shown (and the welcome again after finishWelcome).
    QQuickView *welcome() const { return m_welcome.get(); }
    QQuickView *settings() const { return m_settings.get(); }

Q_SIGNALS:
    /// The welcome was closed with its button: she comes onto the desktop.
    void welcomeFinished();

private:
    std::unique_ptr<QQuickView> build(const QString &view, const QString &title, QSize size, const QColor &background, const QVariantMap &properties = {});
    void present(QQuickView *window);

    Preferences *m_preferences;
    QQmlEngine *m_engine;
    std::unique_ptr<QQuickView> m_welcome;
    std::unique_ptr<QQuickView> m_settings;
};

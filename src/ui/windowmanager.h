#pragma once

#include <QObject>
#include <QSize>
#include <QtQml/qqmlregistration.h>

#include <memory>

class QColor;
class QQmlEngine;
class QJSEngine;
class QQuickView;
class QString;

/// Opens the two ordinary windows, welcome and settings, and keeps at most one of each.
/// Closing a window only hides it for the next show; the welcome window is dropped for good by its
/// closing button (finishWelcome), so the next showWelcome() builds a fresh one.
class WindowManager : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    static constexpr QSize welcomeSize { 560, 470 };
    static constexpr QSize settingsSize { 560, 700 };

    static WindowManager *shared();
    static WindowManager *create(QQmlEngine *, QJSEngine *);

    ~WindowManager() override;

    /// Builds the welcome window if needed, then brings it centred to the front with the keyboard.
    Q_INVOKABLE void showWelcome();
    /// Builds the settings window if needed, then brings it centred to the front with the keyboard.
    Q_INVOKABLE void showSettings();
    /// The welcome window's closing button: remembers that the welcome was seen, closes and forgets
    /// the window, and brings her onto the desktop.
    Q_INVOKABLE void finishWelcome();

    /// The windows as built so far; null until first shown (and the welcome again after finishWelcome).
    QQuickView *welcome() const { return m_welcome.get(); }
    QQuickView *settings() const { return m_settings.get(); }

private:
    WindowManager();
    std::unique_ptr<QQuickView> build(const QString &view, const QString &title, QSize size, const QColor &background);
    void present(QQuickView *window);

    std::unique_ptr<QQmlEngine> m_engine;
    std::unique_ptr<QQuickView> m_welcome;
    std::unique_ptr<QQuickView> m_settings;
};

#include "windowmanager.h"

#include "preferences.h"
#include "theme.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickView>
#include <QScreen>

using namespace Qt::StringLiterals;

WindowManager::WindowManager(Preferences *preferences, QQmlEngine *engine, QObject *parent)
    : QObject(parent)
    , m_preferences(preferences)
    , m_engine(engine)
{
}

WindowManager::~WindowManager() = default;

void WindowManager::showWelcome()
{
    if (!m_welcome)
        m_welcome = build(u"WelcomeView.qml"_s, u"Welcome to Yuzuha"_s, welcomeSize, Theme::nsMachine(), { { u"windows"_s, QVariant::fromValue(this) } });
    present(m_welcome.get());
}

void WindowManager::showSettings()
{
    if (!m_settings)
        m_settings = build(u"SettingsView.qml"_s, u"Yuzuha Settings"_s, settingsSize, Theme::nsSitePaper());
    present(m_settings.get());
}

void WindowManager::finishWelcome()
{
    m_preferences->defaults().setValue(Preferences::hasSeenWelcomeKey.toString(), true);
    if (m_welcome) {
        m_welcome->close();
        // The button that called us lives in this window: let the current event finish before it goes.
        m_welcome.release()->deleteLater();
    }
    Q_EMIT welcomeFinished();
}

std::unique_ptr<QQuickView> WindowManager::build(const QString &view, const QString &title, QSize size, const QColor &background, const QVariantMap &properties)
{
    auto window = std::make_unique<QQuickView>(m_engine, nullptr);
    // Titled and closable only: no minimise or maximise button, and a fixed size the user cannot drag.
    window->setFlags(Qt::Window | Qt::WindowTitleHint | Qt::WindowCloseButtonHint | Qt::CustomizeWindowHint);
    window->setTitle(title);
    window->setColor(background);
    window->setResizeMode(QQuickView::SizeRootObjectToView);
    window->resize(size);
    window->setMinimumSize(size);
    window->setMaximumSize(size);
    window->setInitialProperties(properties);
    window->setSource(QUrl(u"qrc:/qt/qml/Yuzuha/"_s + view));
    for (const QQmlError &error : window->errors())
        qWarning().noquote() << error.toString();
    return window;
}

void WindowManager::present(QQuickView *window)
{
    // Centred on its screen at every show, even when the user moved it last time.
    if (QScreen *screen = window->screen() ? window->screen() : QGuiApplication::primaryScreen()) {
        const QRect area = screen->availableGeometry();
        const QMargins frame = window->frameMargins();
        const QSize outer = window->size().grownBy(frame);
        window->setFramePosition(area.topLeft() + QPoint((area.width() - outer.width()) / 2, (area.height() - outer.height()) / 2));
    }
    window->show();
    window->raise();
    window->requestActivate();
}

#include "windowmanager.h"

#include "petcontroller.h"
#include "preferences.h"
#include "qmlregistration.h"
#include "theme.h"

#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickView>
#include <QScreen>

using namespace Qt::StringLiterals;

WindowManager *WindowManager::shared()
{
    static WindowManager *instance = new WindowManager;
    return instance;
}

WindowManager *WindowManager::create(QQmlEngine *, QJSEngine *)
{
    QQmlEngine::setObjectOwnership(shared(), QQmlEngine::CppOwnership);
    return shared();
}

WindowManager::WindowManager() = default;

WindowManager::~WindowManager() = default;

void WindowManager::showWelcome()
{
    if (!m_welcome)
        m_welcome = build(u"WelcomeView.qml"_s, u"Welcome to Yuzuha"_s, welcomeSize, Theme::nsMachine());
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
    Preferences::shared()->defaults().setValue(Preferences::hasSeenWelcomeKey.toString(), true);
    if (m_welcome) {
        m_welcome->close();
        // The button that called us lives in this window: let the current event finish before it goes.
        m_welcome.release()->deleteLater();
    }
    PetController::shared()->showPet();
}

std::unique_ptr<QQuickView> WindowManager::build(const QString &view, const QString &title, QSize size, const QColor &background)
{
    if (!m_engine) {
        // Both windows share one engine, so the module's types load once.
        m_engine = std::make_unique<QQmlEngine>();
        Yuzuha::prepareEngine(*m_engine);
    }
    auto window = std::make_unique<QQuickView>(m_engine.get(), nullptr);
    // Titled and closable only: no minimise or maximise button, and a fixed size the user cannot drag.
    window->setFlags(Qt::Window | Qt::WindowTitleHint | Qt::WindowCloseButtonHint | Qt::CustomizeWindowHint);
    window->setTitle(title);
    window->setColor(background);
    window->setResizeMode(QQuickView::SizeRootObjectToView);
    window->resize(size);
    window->setMinimumSize(size);
    window->setMaximumSize(size);
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

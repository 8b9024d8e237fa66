#include "appdelegate.h"

#include "appinfo.h"
#include "application.h"

#include <QApplication>
#include <QLocalSocket>
#include <QQuickWindow>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace
{
constexpr int connectTimeoutMs = 500;
const QByteArray reopenMessage = QByteArrayLiteral("reopen\n");
} // namespace

void AppDelegate::preparePlatform()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && qgetenv("XDG_SESSION_TYPE") == "wayland")
        qputenv("QT_QPA_PLATFORM", "xcb");
    // She is on screen all day and redraws only a few pixels at a time: the software renderer repaints
    // just those, where OpenGL redraws the whole window and loads a GL driver. Measured with
    // bench/pet_idle.sh under Xvfb: 0.23 % of a core and 60 MB against 0.48 % and 146 MB with OpenGL.
    if (!qEnvironmentVariableIsSet("QT_QUICK_BACKEND") && !qEnvironmentVariableIsSet("QSG_RHI_BACKEND"))
        QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
}

bool AppDelegate::hasGraphicalSession()
{
    // A platform the user chose other than X11 or Wayland (offscreen, vnc, …) brings its own display.
    const QString platform = qEnvironmentVariable("QT_QPA_PLATFORM");
    if (!platform.isEmpty() && !platform.startsWith(u"xcb"_s) && !platform.startsWith(u"wayland"_s))
        return true;
    return !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

QString AppDelegate::socketName()
{
    // One instance per user: the name carries who runs it.
    return AppInfo::id.toString() + u'-' + QString::number(::getuid());
}

AppDelegate::AppDelegate(QObject *parent)
    : QObject(parent)
{
    // Settings land in ~/.config/Yuzuha/Yuzuha.conf.
    QCoreApplication::setOrganizationName(AppInfo::name.toString());
    QCoreApplication::setApplicationName(AppInfo::name.toString());
    QCoreApplication::setApplicationVersion(AppInfo::version.toString());
    QGuiApplication::setDesktopFileName(u"yuzuha"_s);
    // She lives in a tool window and the tray; closing a window never ends the program.
    QGuiApplication::setQuitOnLastWindowClosed(false);

    connect(&m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket *socket = m_server.nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                if (socket->readAll().contains(reopenMessage.trimmed()))
                    reopen();
            });
        }
    });
}

bool AppDelegate::claimInstance()
{
    const QString name = socketName();
    QLocalSocket probe;
    probe.connectToServer(name);
    if (probe.waitForConnected(connectTimeoutMs)) {
        probe.write(reopenMessage);
        probe.waitForBytesWritten(connectTimeoutMs);
        probe.disconnectFromServer();
        return false;
    }
    // Nobody answered: whatever socket file is left belongs to a process that is gone.
    QLocalServer::removeServer(name);
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server.listen(name))
        qWarning("Yuzuha: cannot listen for re-open requests: %s", qPrintable(m_server.errorString()));
    return true;
}

AppDelegate::~AppDelegate() = default;

void AppDelegate::launch()
{
    m_application = std::make_unique<Application>(Application::userEnvironment());
    m_application->launch();
}

void AppDelegate::reopen()
{
    if (m_application)
        m_application->reopen();
}

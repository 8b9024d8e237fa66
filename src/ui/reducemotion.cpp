#include "reducemotion.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QFile>
#include <QFileSystemWatcher>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace
{
const QString portalService = u"org.freedesktop.portal.Desktop"_s;
const QString portalPath = u"/org/freedesktop/portal/desktop"_s;
const QString portalSettings = u"org.freedesktop.portal.Settings"_s;
const QString appearanceGroup = u"org.freedesktop.appearance"_s;
const QString gnomeGroup = u"org.gnome.desktop.interface"_s;
const QString kdeGroup = u"org.kde.kdeglobals.KDE"_s;

// The value of `key` in `[group]` of an INI text, as written; kdeglobals is too simple to need QSettings.
std::optional<QString> iniValue(const QString &text, QStringView group, QStringView key)
{
    bool inGroup = false;
    for (const QStringView raw : QStringView(text).split(u'\n')) {
        const QStringView line = raw.trimmed();
        if (line.startsWith(u'[')) {
            inGroup = line == QString(u'[' + group.toString() + u']');
            continue;
        }
        if (!inGroup)
            continue;
        const qsizetype equals = line.indexOf(u'=');
        if (equals > 0 && line.left(equals).trimmed() == key)
            return line.mid(equals + 1).trimmed().toString();
    }
    return std::nullopt;
}

QVariant unwrapped(QVariant value)
{
    // The portal's values arrive as variants, sometimes inside one more variant.
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

std::optional<double> number(const QVariant &value)
{
    bool ok = false;
    const double n = value.metaType() == QMetaType::fromType<QString>() ? value.toString().trimmed().toDouble(&ok) : value.toDouble(&ok);
    return ok ? std::optional(n) : std::nullopt;
}
} // namespace

void ReduceMotion::Reading::take(const QString &group, const QString &key, const QVariant &raw)
{
    const QVariant value = unwrapped(raw);
    if (group == appearanceGroup && key == u"reduced-motion") {
        if (const auto n = number(value); n && *n >= 0)
            reducedMotion = uint(*n);
    } else if (group == gnomeGroup && key == u"enable-animations") {
        if (value.metaType() == QMetaType::fromType<bool>())
            gnomeAnimations = value.toBool();
    } else if (group == kdeGroup && key == u"AnimationDurationFactor") {
        kdeAnimationFactor = number(value);
    }
}

void ReduceMotion::Reading::takeKdeGlobals(const QString &text)
{
    const auto factor = iniValue(text, u"KDE", u"AnimationDurationFactor");
    kdeAnimationFactor = factor ? number(*factor) : std::nullopt;
}

bool ReduceMotion::decide(const Reading &reading)
{
    return reading.reducedMotion == 1u || reading.gnomeAnimations == false || (reading.kdeAnimationFactor && *reading.kdeAnimationFactor <= 0);
}

ReduceMotion::ReduceMotion(const QDBusConnection &bus, const QString &configHome, QObject *parent)
    : QObject(parent)
    , m_bus(bus)
    , m_configHome(configHome)
{
    // The local sources answer at once; the portal, when it runs, takes over as soon as it replies.
    watchWithoutPortal();
    askPortal();
}

ReduceMotion::~ReduceMotion()
{
    // The monitor and any question to gsettings still running end with their reader.
    const QList<QProcess *> processes = findChildren<QProcess *>();
    for (QProcess *process : processes) {
        process->disconnect(this);
        process->kill();
        process->waitForFinished(1000);
    }
}

void ReduceMotion::askPortal()
{
    if (!m_bus.isConnected())
        return;
    // Listen before asking, so a change between the question and its answer is not lost.
    m_bus.connect(portalService, portalPath, portalSettings, u"SettingChanged"_s, this, SLOT(portalSettingChanged(QString, QString, QDBusVariant)));
    QDBusMessage call = QDBusMessage::createMethodCall(portalService, portalPath, portalSettings, u"ReadAll"_s);
    call << QStringList { appearanceGroup, gnomeGroup, kdeGroup };
    auto *pending = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *watcher) {
        watcher->deleteLater();
        const QDBusMessage reply = watcher->reply();
        if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
            return;
        QMap<QString, QVariantMap> groups;
        reply.arguments().constFirst().value<QDBusArgument>() >> groups;
        for (auto group = groups.cbegin(); group != groups.cend(); ++group) {
            for (auto entry = group->cbegin(); entry != group->cend(); ++entry)
                m_portal.take(group.key(), entry.key(), entry.value());
        }
        // A portal that knows none of these settings leaves the word to the local sources.
        if (!m_portal.reducedMotion && !m_portal.gnomeAnimations && !m_portal.kdeAnimationFactor)
            return;
        m_portalAnswered = true;
        if (m_gnomeMonitor) {
            m_gnomeMonitor->disconnect(this);
            m_gnomeMonitor->kill();
        }
        m_kdeWatcher.reset();
        settle();
    });
}

void ReduceMotion::portalSettingChanged(const QString &group, const QString &key, const QDBusVariant &value)
{
    m_portal.take(group, key, value.variant());
    if (m_portalAnswered)
        settle();
}

void ReduceMotion::watchWithoutPortal()
{
    readKde();
    m_kdeWatcher = std::make_unique<QFileSystemWatcher>();
    // KDE replaces the file on every write, so the folder is watched as well as the file.
    m_kdeWatcher->addPath(m_configHome);
    connect(m_kdeWatcher.get(), &QFileSystemWatcher::directoryChanged, this, &ReduceMotion::readKde);
    connect(m_kdeWatcher.get(), &QFileSystemWatcher::fileChanged, this, &ReduceMotion::readKde);

    const QString gsettings = QStandardPaths::findExecutable(u"gsettings"_s);
    if (gsettings.isEmpty())
        return;
    readGnome();
    // Prints "enable-animations: false" and the like on every change until it is ended.
    m_gnomeMonitor = new QProcess(this);
    m_gnomeMonitor->setStandardErrorFile(QProcess::nullDevice());
    connect(m_gnomeMonitor, &QProcess::readyReadStandardOutput, this, [this] {
        while (m_gnomeMonitor->canReadLine()) {
            const QString line = QString::fromUtf8(m_gnomeMonitor->readLine()).trimmed();
            if (line.endsWith(u"true") || line.endsWith(u"false"))
                m_local.gnomeAnimations = line.endsWith(u"true");
        }
        settle();
    });
    m_gnomeMonitor->start(gsettings, { u"monitor"_s, gnomeGroup, u"enable-animations"_s });
}

void ReduceMotion::readGnome()
{
    const QString gsettings = QStandardPaths::findExecutable(u"gsettings"_s);
    auto *process = new QProcess(this);
    process->setStandardErrorFile(QProcess::nullDevice());
    connect(process, &QProcess::finished, this, [this, process](int code, QProcess::ExitStatus status) {
        process->deleteLater();
        const QString text = QString::fromUtf8(process->readAllStandardOutput()).trimmed();
        if (status == QProcess::NormalExit && code == 0 && (text == u"true" || text == u"false")) {
            m_local.gnomeAnimations = text == u"true";
            settle();
        }
    });
    process->start(gsettings, { u"get"_s, gnomeGroup, u"enable-animations"_s });
}

void ReduceMotion::readKde()
{
    const QString path = m_configHome + u"/kdeglobals"_s;
    QFile file(path);
    m_local.takeKdeGlobals(file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.read(1 << 20)) : QString());
    if (m_kdeWatcher && file.exists() && !m_kdeWatcher->files().contains(path))
        m_kdeWatcher->addPath(path);
    settle();
}

void ReduceMotion::settle()
{
    const bool on = decide(m_portalAnswered ? m_portal : m_local);
    if (on == m_on)
        return;
    m_on = on;
    Q_EMIT changed(on);
}

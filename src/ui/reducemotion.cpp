#include "reducemotion.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace ReduceMotion
{
namespace
{
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
} // namespace

bool decide(const Sources &sources)
{
    if (sources.gnomeEnableAnimations && sources.gnomeEnableAnimations->trimmed() == u"false")
        return true;
    if (sources.kdeGlobals) {
        if (const auto factor = iniValue(*sources.kdeGlobals, u"KDE", u"AnimationDurationFactor")) {
            bool ok = false;
            const double value = factor->toDouble(&ok);
            if (ok && value <= 0)
                return true;
        }
    }
    return false;
}

Sources read(const QString &configHome)
{
    Sources sources;
    const QString gsettings = QStandardPaths::findExecutable(u"gsettings"_s);
    if (!gsettings.isEmpty()) {
        QProcess process;
        process.start(gsettings, { u"get"_s, u"org.gnome.desktop.interface"_s, u"enable-animations"_s });
        if (process.waitForFinished(2000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
            sources.gnomeEnableAnimations = QString::fromUtf8(process.readAllStandardOutput());
    }
    QFile kde(configHome + u"/kdeglobals"_s);
    if (kde.open(QIODevice::ReadOnly))
        sources.kdeGlobals = QString::fromUtf8(kde.read(1 << 20));
    return sources;
}

bool isOn()
{
    static const bool on = decide(read(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)));
    return on;
}
} // namespace ReduceMotion

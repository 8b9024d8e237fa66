#include "loginitem.h"

#include "appinfo.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace
{
constexpr QStringView programName = u"yuzuha";

// A program is installed when it does not sit in a CMake build tree.
bool insideBuildTree(const QString &executable)
{
    QDir dir = QFileInfo(executable).absoluteDir();
    for (int up = 0; up < 4; ++up) {
        if (dir.exists(u"CMakeCache.txt"_s))
            return true;
        if (!dir.cdUp())
            break;
    }
    return false;
}

QString defaultFolder()
{
    QString config = qEnvironmentVariable("XDG_CONFIG_HOME");
    if (config.isEmpty() || QDir::isRelativePath(config))
        config = QDir::homePath() + u"/.config"_s;
    return config + u"/autostart"_s;
}

// The quoting rules of the desktop entry Exec key: quote when needed, escape ", `, $ and \ inside.
QString execArgument(const QString &program)
{
    static const QString reserved = u" \t\n\"'\\><~|&;$*?#()`%"_s;
    if (std::none_of(program.begin(), program.end(), [](QChar c) { return reserved.contains(c); }))
        return program;
    QString quoted = u"\""_s;
    for (const QChar c : program) {
        if (c == u'%') {
            quoted += u"%%"_s;
            continue;
        }
        if (c == u'"' || c == u'`' || c == u'$' || c == u'\\')
            quoted += u'\\';
        quoted += c;
    }
    return quoted + u'"';
}

// The first word of an Exec value, without its quotes and escapes.
QString execProgram(const QString &exec)
{
    QString program;
    bool quoted = false;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar c = exec[i];
        if (quoted && c == u'\\' && i + 1 < exec.size()) {
            program += exec[++i];
        } else if (c == u'"') {
            quoted = !quoted;
        } else if (!quoted && c.isSpace()) {
            if (!program.isEmpty())
                break;
        } else {
            program += c;
        }
    }
    return program;
}

struct DesktopEntry {
    bool found = false;
    QHash<QString, QString> values;
};

// Only the [Desktop Entry] group matters; other groups (actions) are skipped.
DesktopEntry parseEntry(const QByteArray &bytes)
{
    DesktopEntry entry;
    bool inMain = false;
    for (const QByteArray &raw : bytes.split('\n')) {
        const QString line = QString::fromUtf8(raw).trimmed();
        if (line.isEmpty() || line.startsWith(u'#'))
            continue;
        if (line.startsWith(u'[')) {
            inMain = line == u"[Desktop Entry]";
            entry.found = entry.found || inMain;
            continue;
        }
        const qsizetype equals = line.indexOf(u'=');
        if (inMain && equals > 0)
            entry.values.insert(line.left(equals).trimmed(), line.mid(equals + 1).trimmed());
    }
    return entry;
}
} // namespace

QString LoginItem::installedExecutable()
{
    const QString running = QCoreApplication::instance() ? QCoreApplication::applicationFilePath() : QString();
    if (!running.isEmpty() && QFileInfo(running).fileName() == programName && !insideBuildTree(running))
        return running;
    return programName.toString();
}

LoginItem::LoginItem()
    : m_folder(defaultFolder())
{
}

LoginItem::LoginItem(QString folder, QString executable)
    : m_folder(std::move(folder))
    , m_executable(std::move(executable))
{
}

bool LoginItem::isEnabled() const
{
    QFile file(m_folder + u"/yuzuha.desktop"_s);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const DesktopEntry entry = parseEntry(file.read(64 * 1024));
    if (!entry.found || entry.values.value(u"Type"_s) != u"Application")
        return false;
    if (QFileInfo(execProgram(entry.values.value(u"Exec"_s))).fileName() != programName)
        return false;
    return entry.values.value(u"Hidden"_s) != u"true" && entry.values.value(u"X-GNOME-Autostart-enabled"_s) != u"false";
}

std::optional<QString> LoginItem::setEnabled(bool on)
{
    const QString path = m_folder + u"/yuzuha.desktop"_s;
    if (!on) {
        // Someone else's entry under our name is left alone; it does not start us anyway.
        if (QFile::exists(path) && isEnabled() && !QFile::remove(path))
            return u"could not remove "_s + path;
        return std::nullopt;
    }
    if (!QDir().mkpath(m_folder))
        return u"could not create the folder "_s + m_folder;
    const QString program = m_executable.isEmpty() ? installedExecutable() : m_executable;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return u"could not write "_s + path + u": "_s + file.errorString();
    const QString entry = u"[Desktop Entry]\n"
                          "Type=Application\n"
                          "Name=%1\n"
                          "Comment=Keeps the books on your coding-agent sessions\n"
                          "Exec=%2\n"
                          "Icon=yuzuha\n"
                          "Terminal=false\n"
                          "X-GNOME-Autostart-enabled=true\n"_s.arg(AppInfo::name.toString(), execArgument(program));
    file.write(entry.toUtf8());
    if (!file.commit())
        return u"could not write "_s + path + u": "_s + file.errorString();
    return std::nullopt;
}

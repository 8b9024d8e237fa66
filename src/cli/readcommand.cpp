#include "readcommand.h"

#include "console.h"
#include "logfile.h"

#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace ReadCommand
{
Provider providerForPath(const QString &path)
{
    // The absolute path, so that a relative name given from inside ~/.codex still counts.
    const QString absolute = QDir::fromNativeSeparators(QFileInfo(path).absoluteFilePath());
    const QStringList components = absolute.split(u'/', Qt::SkipEmptyParts);
    return components.contains(u".codex"_s) ? Provider::codex : Provider::claude;
}

QString toJson(const Journal::Reading &reading)
{
    return u"{\"tokens\":"_s + Console::jsonNumber(reading.tokens) + u",\"window\":"_s + Console::jsonNumber(reading.window) + u",\"model\":"_s
        + Console::jsonString(reading.model) + u",\"cwd\":"_s + Console::jsonString(reading.cwd) + u'}';
}

int run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption providerOption(u"provider"_s, QString(), u"claude|codex"_s);
    parser.addOption(providerOption);
    // The parser skips the first entry as the program name.
    if (!parser.parse(QStringList { u"yuzuha-books"_s } + arguments) || parser.positionalArguments().size() != 1)
        return Console::usage(synopsis);

    const QString path = parser.positionalArguments().constFirst();
    std::optional<Provider> provider;
    if (parser.isSet(providerOption)) {
        const QString name = parser.value(providerOption);
        if (name == u"claude"_s)
            provider = Provider::claude;
        else if (name == u"codex"_s)
            provider = Provider::codex;
        else
            return Console::usage(synopsis);
    } else {
        provider = providerForPath(path);
    }

    // The readers absorb every error; the tool should say when there was nothing to read at all.
    // The probe opens the way the readers do, so a FIFO is refused instead of waited on.
    if (!LogFile::open(path).isOpen()) {
        Console::err(u"yuzuha-books: cannot read "_s + path);
        return Console::usageExit;
    }

    const Journal::Reading reading = *provider == Provider::codex ? Journal::codex(path) : Journal::claude(path);
    Console::out(toJson(reading));
    return 0;
}
} // namespace ReadCommand

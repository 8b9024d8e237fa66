#include "appinfo.h"
#include "barcommand.h"
#include "bookscommand.h"
#include "console.h"
#include "logfile.h"
#include "readcommand.h"
#include "statuslinecommand.h"
#include "watchcommand.h"

#include <QCoreApplication>

#include <array>

using namespace Qt::StringLiterals;

namespace
{
struct Verb {
    QStringView name;
    QStringView synopsis;
    QStringView summary;
    int (*run)(const QStringList &arguments);
};

// Each verb: the first argument names it, the rest is its own to parse.
const std::array verbs {
    Verb { u"books", BooksCommand::synopsis, BooksCommand::summary, BooksCommand::run },
    Verb { u"watch", WatchCommand::synopsis, WatchCommand::summary, WatchCommand::run },
    Verb { u"bar", BarCommand::synopsis, BarCommand::summary, BarCommand::run },
    Verb { u"statusline", StatuslineCommand::synopsis, StatuslineCommand::summary, StatuslineCommand::run },
    Verb { u"read", ReadCommand::synopsis, ReadCommand::summary, ReadCommand::run },
};

const std::array<std::array<QStringView, 2>, 8> options { {
    { u"--home DIR", u"read the agent folders below DIR instead of your home folder" },
    { u"--bedtime N", u"count every session against N tokens (0: none; default: Yuzuha's setting)" },
    { u"--json", u"print JSON instead of the table" },
    { u"--format FORMAT", u"waybar, i3blocks, polybar, tmux or plain (the default)" },
    { u"--follow", u"keep running and print a new line whenever it changes" },
    { u"--provider NAME", u"read FILE as a claude or codex log (default: codex below ~/.codex)" },
    { u"-h, --help", u"print this help" },
    { u"-V, --version", u"print the version" },
} };

int help()
{
    for (size_t i = 0; i < verbs.size(); ++i)
        Console::out((i == 0 ? u"usage: "_s : u"       "_s) + u"yuzuha-books "_s + verbs[i].synopsis.toString());
    Console::out(QString());
    for (const Verb &verb : verbs)
        Console::out(u"  "_s + verb.name.toString().leftJustified(12) + verb.summary.toString());
    Console::out(u"\nOptions:"_s);
    for (const auto &[option, meaning] : options)
        Console::out(u"  "_s + option.toString().leftJustified(18) + meaning.toString());
    Console::out(u"\nExit status: 0 on success, 2 on bad usage or a file that cannot be read; statusline always exits 0."_s);
    Console::out(u"Bars and watch end with 0 on SIGTERM, SIGINT, q or when their reader goes away. See yuzuha-books(1)."_s);
    return 0;
}

int usage()
{
    for (const Verb &verb : verbs)
        Console::usage(verb.synopsis);
    Console::err(u"Try 'yuzuha-books --help' for more."_s);
    return Console::usageExit;
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(u"yuzuha-books"_s);
    QCoreApplication::setApplicationVersion(AppInfo::version.toString());

    // Arguments name files, and a file name need not be UTF-8: keep every byte so the file can be opened again.
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(LogFile::pathFromNative(argv[i]));
    // Asking for help or the version is not a mistake, wherever it is asked.
    if (arguments.contains(u"--help"_s) || arguments.contains(u"-h"_s))
        return help();
    if (arguments.contains(u"--version"_s) || arguments.contains(u"-V"_s)) {
        Console::out(u"yuzuha-books "_s + AppInfo::version.toString());
        return 0;
    }
    // Without a verb, or with options only, the tool prints today's books.
    if (arguments.isEmpty() || arguments.constFirst().startsWith(u'-'))
        return BooksCommand::run(arguments);
    const QString name = arguments.takeFirst();
    for (const Verb &verb : verbs) {
        if (verb.name == name)
            return verb.run(arguments);
    }
    return usage();
}

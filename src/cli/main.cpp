#include "bookscommand.h"
#include "console.h"
#include "readcommand.h"
#include "statuslinecommand.h"

#include <QCoreApplication>

#include <array>

using namespace Qt::StringLiterals;

namespace
{
struct Verb {
    QStringView name;
    QStringView synopsis;
    int (*run)(const QStringList &arguments);
};

// Each verb: the first argument names it, the rest is its own to parse.
const std::array verbs {
    Verb { u"read", ReadCommand::synopsis, ReadCommand::run },
    Verb { u"books", BooksCommand::synopsis, BooksCommand::run },
    Verb { u"statusline", StatuslineCommand::synopsis, StatuslineCommand::run },
};

int usage()
{
    for (const Verb &verb : verbs)
        Console::usage(verb.synopsis);
    return Console::usageExit;
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(u"yuzuha-books"_s);

    QStringList arguments = QCoreApplication::arguments();
    arguments.removeFirst();
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

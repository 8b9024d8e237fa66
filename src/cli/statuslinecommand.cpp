#include "statuslinecommand.h"

#include "console.h"
#include "formatting.h"
#include "preferences.h"
#include "readcommand.h"
#include "sessionscan.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace StatuslineCommand
{
namespace
{
// Status-line input is one small object; a megabyte is far more than it ever holds.
constexpr qsizetype inputLimit = 1 << 20;

/// Standard input to its end, which may come in many writes; at most `inputLimit` bytes.
QByteArray readInput()
{
    QByteArray input(inputLimit, Qt::Uninitialized);
    qsizetype size = 0;
    while (size < inputLimit) {
        const ssize_t got = ::read(STDIN_FILENO, input.data() + size, size_t(inputLimit - size));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            break;
        size += got;
    }
    input.truncate(size);
    return input;
}
} // namespace

QString meter(int tier)
{
    QString segments;
    for (int i = 0; i < 6; ++i)
        segments += i < tier ? u'▰' : u'▱';
    return segments;
}

QString lineFor(const Session &session)
{
    const QString tokens = session.tokens ? shortTokens(*session.tokens) : u"fresh"_s;
    const int tier = session.tier();
    return meter(tier) + u' ' + QString::number(session.percent()) + u"% · "_s + tokens + u'/' + shortTokens(session.window) + u" · "_s
        + Tiers::all[static_cast<size_t>(tier)].romaji.toString();
}

QString lineFor(const QByteArray &input, qint64 bedtime)
{
    const QJsonDocument document = QJsonDocument::fromJson(input);
    const QString path = document.object().value(u"transcript_path"_s).toString();
    if (path.isEmpty())
        return neutralLine.toString();
    SessionScan scan([] { return std::make_shared<const QList<FleetAccess::Snapshot>>(); }, {}, [](qsizetype, qsizetype) {});
    const std::optional<Session> session = scan.read({ path, ReadCommand::providerForPath(path) }, bedtime);
    return session ? lineFor(*session) : neutralLine.toString();
}

int run(const QStringList &arguments)
{
    if (!arguments.isEmpty())
        return Console::usage(synopsis);
    Console::out(lineFor(readInput(), Preferences::readBedtime(*Preferences::userStore())));
    return 0;
}
} // namespace StatuslineCommand

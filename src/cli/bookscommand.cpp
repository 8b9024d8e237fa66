#include "bookscommand.h"

#include "console.h"
#include "fleetaccess.h"
#include "formatting.h"
#include "preferences.h"
#include "sessionscan.h"

#include <QCommandLineParser>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace BooksCommand
{
namespace
{
QString timestamp(const QDateTime &time)
{
    return Console::jsonString(QStringView(time.toUTC().toString(Qt::ISODateWithMs)));
}
} // namespace

QString fit(const QString &text, const Column &column)
{
    if (column.width == 0)
        return text;
    // Long project names are cut with an ellipsis so the columns stay straight.
    const QString fitted = text.size() > column.width ? text.left(column.width - 1) + u'…' : text;
    return column.right ? fitted.rightJustified(column.width) : fitted.leftJustified(column.width);
}

QStringList cells(const Session &s, const QDateTime &now)
{
    return { providerRawValue(s.provider), Console::safe(s.project), QString::number(s.percent()) + u'%', s.tokens ? shortTokens(*s.tokens) : u"fresh"_s,
        shortTokens(s.window), clock(s.started, now), ago(s.lastActivity, now) };
}

QString mark(bool followed)
{
    return followed ? u"▸ "_s : u"  "_s;
}

QStringList toTable(const QList<Session> &sessions, const std::optional<Session> &focused, const QDateTime &now)
{
    if (sessions.isEmpty())
        return { emptyLine.toString() };
    const auto line = [](const QString &mark, const QStringList &cells) {
        QStringList fitted;
        for (size_t i = 0; i < columns.size(); ++i)
            fitted.append(fit(cells.at(static_cast<qsizetype>(i)), columns[i]));
        return mark + fitted.join(u"  "_s);
    };
    QStringList titles;
    for (const Column &column : columns)
        titles.append(column.title.toString());
    QStringList lines { line(mark(false), titles) };
    for (const Session &s : sessions)
        lines.append(line(mark(focused && focused->id == s.id), cells(s, now)));
    return lines;
}

QString toJson(const QList<Session> &sessions, const std::optional<Session> &focused)
{
    QStringList rows;
    for (const Session &s : sessions) {
        rows.append(u"{\"id\":"_s + Console::jsonString(QStringView(s.id)) + u",\"provider\":\""_s + providerRawValue(s.provider) + u"\",\"project\":"_s
            + Console::jsonString(QStringView(s.project)) + u",\"tokens\":"_s + Console::jsonNumber(s.tokens) + u",\"window\":"_s + QString::number(s.window)
            + u",\"percent\":"_s + QString::number(s.percent()) + u",\"tier\":"_s + QString::number(s.tier()) + u",\"started\":"_s + timestamp(s.started)
            + u",\"lastActivity\":"_s + timestamp(s.lastActivity) + u'}');
    }
    return u"{\"sessions\":["_s + rows.join(u',') + u"],\"focused\":"_s + (focused ? Console::jsonString(QStringView(focused->id)) : u"null"_s) + u'}';
}

int run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption homeOption(u"home"_s, QString(), u"DIR"_s);
    const QCommandLineOption bedtimeOption(u"bedtime"_s, QString(), u"N"_s);
    const QCommandLineOption jsonOption(u"json"_s);
    parser.addOptions({ homeOption, bedtimeOption, jsonOption });
    if (!parser.parse(QStringList { u"yuzuha-books"_s } + arguments) || !parser.positionalArguments().isEmpty())
        return Console::usage(synopsis);

    qint64 bedtime = 0;
    if (parser.isSet(bedtimeOption)) {
        bool ok = false;
        bedtime = parser.value(bedtimeOption).toLongLong(&ok);
        if (!ok || bedtime < 0)
            return Console::usage(synopsis);
    } else {
        bedtime = Preferences::readBedtime(*Preferences::userStore());
    }

    const std::optional<QString> home = homeFolder(parser, homeOption);
    if (!home)
        return Console::usageExit;

    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QList<Session> sessions = scan(*home, bedtime, now);
    const std::optional<Session> focused = SessionScan::focused(sessions, std::nullopt, now);

    if (parser.isSet(jsonOption)) {
        Console::out(toJson(sessions, focused));
    } else {
        for (const QString &line : toTable(sessions, focused, now))
            Console::out(line);
    }
    return 0;
}

std::optional<QString> homeFolder(const QCommandLineParser &parser, const QCommandLineOption &option)
{
    if (!parser.isSet(option))
        return FleetAccess::homeFolder();
    const QString given = parser.value(option);
    if (!QFileInfo(given).isDir()) {
        Console::err(u"yuzuha-books: no such folder: "_s + given);
        return std::nullopt;
    }
    return QFileInfo(given).absoluteFilePath();
}

FleetAccess::SnapshotList snapshots(const QString &home)
{
    return std::make_shared<const QList<FleetAccess::Snapshot>>(FleetAccess::directSnapshots(home));
}

QList<Session> scan(const QString &home, qint64 bedtime, const QDateTime &now)
{
    SessionScan scan([list = snapshots(home)] { return list; }, [now] { return now; }, [](qsizetype, qsizetype) {});
    return scan.pass(bedtime);
}
} // namespace BooksCommand

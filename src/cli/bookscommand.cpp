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

QString cell(const QString &text, qsizetype width, bool right = false)
{
    // Long project names are cut with an ellipsis so the columns stay straight.
    const QString fitted = text.size() > width ? text.left(width - 1) + u'…' : text;
    return right ? fitted.rightJustified(width) : fitted.leftJustified(width);
}
} // namespace

QStringList toTable(const QList<Session> &sessions, const std::optional<Session> &focused, const QDateTime &now)
{
    if (sessions.isEmpty())
        return { u"No sessions in the last 24 hours: nothing on the books yet."_s };
    QStringList lines;
    lines.append(u"  "_s + cell(u"PROVIDER"_s, 8) + u"  "_s + cell(u"PROJECT"_s, 24) + u"  "_s + cell(u"FILL"_s, 4, true) + u"  "_s + cell(u"TOKENS"_s, 6, true)
        + u"  "_s + cell(u"WINDOW"_s, 6, true) + u"  "_s + cell(u"STARTED"_s, 9) + u"  "_s + u"LAST"_s);
    for (const Session &s : sessions) {
        const bool mark = focused && focused->id == s.id;
        lines.append((mark ? u"▸ "_s : u"  "_s) + cell(providerRawValue(s.provider), 8) + u"  "_s + cell(s.project, 24) + u"  "_s
            + cell(QString::number(s.percent()) + u'%', 4, true) + u"  "_s + cell(s.tokens ? shortTokens(*s.tokens) : u"fresh"_s, 6, true) + u"  "_s
            + cell(shortTokens(s.window), 6, true) + u"  "_s + cell(clock(s.started, now), 9) + u"  "_s + ago(s.lastActivity, now));
    }
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

    QString home = FleetAccess::homeFolder();
    if (parser.isSet(homeOption)) {
        home = parser.value(homeOption);
        if (!QFileInfo(home).isDir()) {
            Console::err(u"yuzuha-books: no such folder: "_s + home);
            return Console::usageExit;
        }
        home = QFileInfo(home).absoluteFilePath();
    }

    // The same pass the desktop app runs, over every agent folder of that home; a terminal run leaves no system-log line.
    auto snapshots = std::make_shared<const QList<FleetAccess::Snapshot>>(FleetAccess::directSnapshots(home));
    const QDateTime now = QDateTime::currentDateTimeUtc();
    SessionScan scan([snapshots] { return snapshots; }, [now] { return now; }, [](qsizetype, qsizetype) {});
    const QList<Session> sessions = scan.pass(bedtime);
    const std::optional<Session> focused = SessionScan::focused(sessions, std::nullopt, now);

    if (parser.isSet(jsonOption)) {
        Console::out(toJson(sessions, focused));
    } else {
        for (const QString &line : toTable(sessions, focused, now))
            Console::out(line);
    }
    return 0;
}
} // namespace BooksCommand

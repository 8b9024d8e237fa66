#include "barcommand.h"

#include "appinfo.h"
#include "bookscommand.h"
#include "console.h"
#include "formatting.h"
#include "livebooks.h"
#include "preferences.h"
#include "sessionscan.h"
#include "statuslinecommand.h"

#include <QCommandLineParser>

using namespace Qt::StringLiterals;

namespace BarCommand
{
namespace
{
struct FormatName {
    QStringView name;
    Format format;
};
const std::array<FormatName, 5> formatNames { {
    { u"plain", Format::plain },
    { u"waybar", Format::waybar },
    { u"i3blocks", Format::i3blocks },
    { u"polybar", Format::polybar },
    { u"tmux", Format::tmux },
} };

// The bars read their own markup in the text they are given; a project name must stay text.
QString pango(const QString &text)
{
    return text.toHtmlEscaped();
}

QString polybar(const QString &text)
{
    // "%{" opens a formatting tag and polybar has no escape for it; a zero-width joiner in between keeps
    // the name readable and the tag closed.
    QString result = text;
    return result.replace(u"%{"_s, u"%\u200d{"_s);
}

QString tmux(const QString &text)
{
    // "#[", "#(" and "#{" are styles, commands and formats; "##" is a plain "#".
    QString result = text;
    return result.replace(u'#', u"##"_s);
}

QString tokensOfWindow(const Session &s)
{
    return (s.tokens ? shortTokens(*s.tokens) : u"fresh"_s) + u'/' + shortTokens(s.window);
}

QString phrase(const Session &s)
{
    return Tiers::all[static_cast<size_t>(s.tier())].romaji.toString();
}

QString json(const QString &text)
{
    return Console::jsonString(QStringView(text));
}

QString jsonMember(QStringView name, const QString &value)
{
    return u'"' + name.toString() + u"\":"_s + value;
}

QString waybar(const QList<Session> &sessions, const std::optional<Session> &focused, const QDateTime &now)
{
    if (!focused) {
        return u'{' + jsonMember(u"text", json(pango(StatuslineCommand::neutralLine.toString()))) + u','
            + jsonMember(u"tooltip", json(pango(BooksCommand::emptyLine.toString()))) + u',' + jsonMember(u"class", u"[\"idle\"]"_s) + u','
            + jsonMember(u"percentage", u"0"_s) + u'}';
    }
    QStringList tooltip;
    for (const Session &s : sessions)
        tooltip.append(BooksCommand::mark(s.id == focused->id) + Console::safe(s.project) + u" · "_s + tokensOfWindow(s) + u" · "_s + phrase(s));
    QStringList classes { u"\"tier-%1\""_s.arg(focused->tier()) };
    if (!focused->tokens)
        classes.append(u"\"fresh\""_s);
    if (focused->lastActivity.msecsTo(now) >= SessionScan::idleLimitMs)
        classes.append(u"\"idle\""_s);
    const QString text = StatuslineCommand::meter(focused->tier()) + u' ' + QString::number(focused->percent()) + u'%';
    return u'{' + jsonMember(u"text", json(text)) + u',' + jsonMember(u"tooltip", json(pango(tooltip.join(u'\n')))) + u','
        + jsonMember(u"class", u'[' + classes.join(u',') + u']') + u',' + jsonMember(u"percentage", QString::number(focused->percent())) + u'}';
}
} // namespace

QString line(Format format, const QList<Session> &sessions, const QDateTime &now, bool follow)
{
    const std::optional<Session> focused = SessionScan::focused(sessions, std::nullopt, now);
    if (format == Format::waybar)
        return waybar(sessions, focused, now);

    // The meter, which the bars colour, and the words after it.
    const QString meter = focused ? StatuslineCommand::meter(focused->tier()) : QString();
    const QString colour = (focused ? tierColours[static_cast<size_t>(focused->tier())] : neutralColour).toString();
    QString words = StatuslineCommand::neutralLine.toString();
    if (focused)
        words = QString::number(focused->percent()) + u"% · "_s + Console::safe(focused->project) + u" · "_s + tokensOfWindow(*focused);
    const QString separator = focused ? u" "_s : QString();

    switch (format) {
    case Format::i3blocks: {
        const QString full = meter + separator + words;
        const QString brief = focused ? QString::number(focused->percent()) + u'%' : AppInfo::name.toString();
        if (!follow)
            return full + u'\n' + brief + u'\n' + colour;
        return u'{' + jsonMember(u"full_text", json(full)) + u',' + jsonMember(u"short_text", json(brief)) + u',' + jsonMember(u"color", json(colour)) + u'}';
    }
    case Format::polybar:
        return u"%{F"_s + colour + u'}' + (focused ? meter + u"%{F-} "_s + polybar(words) : polybar(words) + u"%{F-}"_s);
    case Format::tmux:
        return u"#[fg="_s + colour + u']' + (focused ? meter + u"#[default] "_s + tmux(words) : tmux(words) + u"#[default]"_s);
    case Format::plain:
    case Format::waybar:
        break;
    }
    return meter + separator + words;
}

int run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption formatOption(u"format"_s, QString(), u"FORMAT"_s, u"plain"_s);
    const QCommandLineOption followOption(u"follow"_s);
    const QCommandLineOption homeOption(u"home"_s, QString(), u"DIR"_s);
    parser.addOptions({ formatOption, followOption, homeOption });
    if (!parser.parse(QStringList { u"yuzuha-books"_s } + arguments) || !parser.positionalArguments().isEmpty())
        return Console::usage(synopsis);
    const QString formatName = parser.value(formatOption);
    const auto named = std::find_if(formatNames.begin(), formatNames.end(), [&](const FormatName &f) { return f.name == formatName; });
    if (named == formatNames.end())
        return Console::usage(synopsis);
    const Format format = named->format;

    const std::optional<QString> home = BooksCommand::homeFolder(parser, homeOption);
    if (!home)
        return Console::usageExit;

    if (!parser.isSet(followOption)) {
        const QDateTime now = QDateTime::currentDateTimeUtc();
        Console::out(line(format, BooksCommand::scan(*home, Preferences::readBedtime(*Preferences::userStore()), now), now));
        return 0;
    }
    // A bar redraws on every line it reads, so a line is written only when it would read differently.
    LiveBooks live(*home);
    QString last;
    return live.run([format, &last](const QList<Session> &sessions) {
        const QString next = line(format, sessions, QDateTime::currentDateTimeUtc(), true);
        if (next == last)
            return true;
        last = next;
        return Console::out(next);
    });
}
} // namespace BarCommand

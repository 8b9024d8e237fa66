#include "watchcommand.h"

#include "barcommand.h"
#include "bookscommand.h"
#include "console.h"
#include "formatting.h"
#include "livebooks.h"
#include "sessionscan.h"

#include <QCommandLineParser>
#include <QSize>
#include <QSocketNotifier>

#include <cstdio>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace WatchCommand
{
namespace
{
constexpr int meterCells = 10;
const QString reset = u"\x1b[0m"_s;

// A piece of a line in one style; the style is a terminal escape sequence, empty for plain text.
struct Piece {
    QString text;
    QString style;
};
using Line = QList<Piece>;

// "#rrggbb" as a 24-bit foreground colour.
QString foreground(QStringView hex)
{
    const auto channel = [hex](qsizetype at) { return hex.mid(at, 2).toInt(nullptr, 16); };
    return u"\x1b[38;2;%1;%2;%3m"_s.arg(channel(1)).arg(channel(3)).arg(channel(5));
}

// Ten cells of block characters, drawn to the eighth of a cell, in the tier's colour.
Line meter(const Session &s)
{
    static const QString eighths = u" ▏▎▍▌▋▊▉"_s;
    const int filled = s.percent() * meterCells * 8 / 100;
    QString blocks(filled / 8, u'█');
    if (filled % 8 != 0)
        blocks += eighths.at(filled % 8);
    return { { blocks, foreground(BarCommand::tierColours[static_cast<size_t>(s.tier())]) }, { QString(meterCells - blocks.size(), u'░'), u"\x1b[2m"_s } };
}

Line row(const QString &mark, const QStringList &cells, const Line &meter)
{
    Line line { { mark, mark.trimmed().isEmpty() ? QString() : u"\x1b[1m"_s } };
    for (size_t i = 0; i < BooksCommand::columns.size(); ++i) {
        line.append({ BooksCommand::fit(cells.at(static_cast<qsizetype>(i)), BooksCommand::columns[i]), QString() });
        if (i + 1 < BooksCommand::columns.size())
            line.append({ u"  "_s, QString() });
        if (i == BooksCommand::fillColumn)
            line += meter + Line { { u"  "_s, QString() } };
    }
    return line;
}

// The line's text up to `columns` characters, each piece in its style.
QString render(const Line &line, int columns)
{
    QString out;
    qsizetype room = columns;
    for (const Piece &piece : line) {
        if (room <= 0)
            break;
        const QString text = piece.text.left(room);
        room -= text.size();
        out += piece.style.isEmpty() ? text : piece.style + text + reset;
    }
    return out;
}

// The terminal as the table needs it, and as the user had it again on the way out, whichever way that is.
class Screen
{
public:
    Screen()
    {
        if (::isatty(STDIN_FILENO) && ::tcgetattr(STDIN_FILENO, &m_saved) == 0) {
            m_keys = true;
            termios raw = m_saved;
            // Keys arrive one at a time and unechoed; Ctrl-C arrives as a key, so leaving is one path.
            raw.c_lflag &= ~tcflag_t(ICANON | ECHO | ISIG | IEXTEN);
            raw.c_iflag &= ~tcflag_t(IXON | ICRNL);
            raw.c_cc[VMIN] = 1;
            raw.c_cc[VTIME] = 0;
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &raw);
        }
        write("\x1b[?1049h\x1b[?25l");
    }
    ~Screen()
    {
        write("\x1b[?25h\x1b[?1049l");
        if (m_keys)
            ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_saved);
    }
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    bool keys() const { return m_keys; }

    static bool write(QByteArrayView bytes)
    {
        const size_t written = std::fwrite(bytes.data(), 1, static_cast<size_t>(bytes.size()), stdout);
        return std::fflush(stdout) == 0 && written == static_cast<size_t>(bytes.size());
    }

    static QSize size()
    {
        winsize size = {};
        if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
            return { 80, 24 };
        return { size.ws_col, size.ws_row };
    }

private:
    termios m_saved = {};
    bool m_keys = false;
};
} // namespace

QByteArray frame(const QList<Session> &sessions, const QDateTime &now, int columns, int rows)
{
    QList<Line> lines { { { u"Yuzuha · today's books · "_s + clock(now, now), u"\x1b[1m"_s }, { u" · q to leave"_s, u"\x1b[2m"_s } }, {} };
    if (sessions.isEmpty()) {
        lines.append({ { BooksCommand::emptyLine.toString(), QString() } });
    } else {
        QStringList titles;
        for (const BooksCommand::Column &column : BooksCommand::columns)
            titles.append(column.title.toString());
        lines.append(row(BooksCommand::mark(false), titles, { { u"METER"_s.leftJustified(meterCells), QString() } }));
        const std::optional<Session> focused = SessionScan::focused(sessions, std::nullopt, now);
        for (const Session &s : sessions)
            lines.append(row(BooksCommand::mark(focused && focused->id == s.id), BooksCommand::cells(s, now), meter(s)));
    }
    QStringList shown;
    for (const Line &line : lines.first(std::min<qsizetype>(lines.size(), rows)))
        shown.append(render(line, columns));
    // Each line clears what an earlier, longer frame left to its right; the rest of the screen is cleared below.
    return (shown.join(u"\x1b[K\r\n"_s) + u"\x1b[K\x1b[J"_s).toUtf8();
}

int run(const QStringList &arguments)
{
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption homeOption(u"home"_s, QString(), u"DIR"_s);
    parser.addOption(homeOption);
    if (!parser.parse(QStringList { u"yuzuha-books"_s } + arguments) || !parser.positionalArguments().isEmpty())
        return Console::usage(synopsis);
    const std::optional<QString> home = BooksCommand::homeFolder(parser, homeOption);
    if (!home)
        return Console::usageExit;

    // Into a file or a pipe there is no screen to keep: the plain table, once.
    if (!::isatty(STDOUT_FILENO))
        return BooksCommand::run(arguments);

    LiveBooks live(*home);
    Screen screen;
    QByteArray shown;
    const auto draw = [&shown](const QList<Session> &sessions, bool force) {
        const QSize size = Screen::size();
        const QByteArray next = frame(sessions, QDateTime::currentDateTimeUtc(), size.width(), size.height());
        if (next == shown && !force)
            return true;
        shown = next;
        return Screen::write("\x1b[H" + next);
    };
    QObject::connect(&live, &LiveBooks::resized, &live, [&] {
        if (!draw(live.sessions(), true))
            live.stop();
    });
    if (screen.keys()) {
        auto *keys = new QSocketNotifier(STDIN_FILENO, QSocketNotifier::Read, &live);
        QObject::connect(keys, &QSocketNotifier::activated, &live, [&live] {
            char bytes[64];
            const ssize_t count = ::read(STDIN_FILENO, bytes, sizeof bytes);
            const QByteArrayView typed(bytes, std::max<ssize_t>(count, 0));
            if (count <= 0 || typed.contains('q') || typed.contains('Q') || typed.contains('\x03') || typed.contains('\x04'))
                live.stop();
        });
    }
    return live.run([&draw](const QList<Session> &sessions) { return draw(sessions, false); });
}
} // namespace WatchCommand

#include "livebooks.h"

#include "bookscommand.h"
#include "preferences.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
SessionWatcher::Config configFor(const QString &home)
{
    return { [list = BooksCommand::snapshots(home)] { return list; }, {}, [](qsizetype, qsizetype) {} };
}

// The app keeps the bedtime in its settings file; another process can only read it from there.
qint64 userBedtime()
{
    return Preferences::readBedtime(*Preferences::userStore());
}
} // namespace

LiveBooks::LiveBooks(const QString &home, QObject *parent)
    : QObject(parent)
    , m_watcher(configFor(home))
    , m_signals({ SIGTERM, SIGINT, SIGHUP, SIGWINCH })
{
    connect(&m_signals, &SignalPipe::received, this, [this](int number) {
        if (number == SIGWINCH)
            Q_EMIT resized();
        else
            stop();
    });
}

int LiveBooks::run(Show show)
{
    // A reader that goes away shows up as a failed write, not as a signal that kills us mid-line.
    std::signal(SIGPIPE, SIG_IGN);
    // A bar that closes its end of a pipe is noticed at once, not only at the next change: the write end
    // of a pipe polls as an error then, and never as readable otherwise.
    struct stat out = {};
    if (::fstat(STDOUT_FILENO, &out) == 0 && S_ISFIFO(out.st_mode)) {
        auto *gone = new QSocketNotifier(STDOUT_FILENO, QSocketNotifier::Read, this);
        connect(gone, &QSocketNotifier::activated, this, &LiveBooks::stop);
    }
    connect(&m_watcher, &SessionWatcher::passFinished, this, [this, show = std::move(show)] {
        if (!show(m_watcher.sessions()))
            stop();
        // A bedtime chosen in the app meanwhile counts from the next pass on.
        m_watcher.setBedtime(userBedtime());
    });
    m_watcher.setBedtime(userBedtime());
    m_watcher.start();
    return QCoreApplication::exec();
}

void LiveBooks::stop()
{
    QCoreApplication::exit(0);
}

#pragma once

#include "session.h"
#include "sessionwatcher.h"
#include "signalpipe.h"

#include <QObject>

#include <functional>

/// The books kept live for a terminal view: the desktop app's session watcher, polled every 3 s on
/// its own thread, over the agent folders of one home, with the user's bedtime from the settings.
/// A run ends cleanly, with exit code 0, on SIGTERM, SIGINT or SIGHUP and when the reader of
/// standard output goes away.
class LiveBooks : public QObject
{
    Q_OBJECT

public:
    /// Shows the sessions after a pass; false ends the run (as when the line could not be written).
    using Show = std::function<bool(const QList<Session> &sessions)>;

    explicit LiveBooks(const QString &home, QObject *parent = nullptr);

    /// Runs the event loop, calling `show` after every pass; returns the exit code.
    int run(Show show);
    /// Ends the run.
    void stop();
    QList<Session> sessions() const { return m_watcher.sessions(); }

Q_SIGNALS:
    /// The terminal changed its size.
    void resized();

private:
    SessionWatcher m_watcher;
    SignalPipe m_signals;
};

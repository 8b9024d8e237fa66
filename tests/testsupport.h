#pragma once

// Builders the tests share: agent log lines, log files, sessions, a watcher over a scratch home
// and a way to run the terminal tool.

#include "fleetaccess.h"
#include "session.h"
#include "sessionwatcher.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>

namespace TestSupport
{
using namespace Qt::StringLiterals;

/// A Claude Code assistant reply with the given usage members; `extra` goes in front of the record's own keys.
inline QByteArray claudeReply(QByteArrayView usage, QByteArrayView model = "claude-sonnet-4-5", QByteArrayView cwd = "/w/app", QByteArrayView extra = {})
{
    return R"({"type":"assistant",)" + extra.toByteArray() + R"("cwd":")" + cwd.toByteArray() + R"(","message":{"model":")" + model.toByteArray()
        + R"(","role":"assistant","usage":{)" + usage.toByteArray() + "}}}";
}

/// A Claude Code reply whose context is `input` tokens, none of them from the cache.
inline QByteArray claudeTokens(qint64 input, QByteArrayView model = "claude-sonnet-4-5", QByteArrayView cwd = "/w/app")
{
    return claudeReply("\"input_tokens\":" + QByteArray::number(input) + ",\"cache_creation_input_tokens\":0,\"cache_read_input_tokens\":0", model, cwd);
}

/// A Codex token-count event with the given info members.
inline QByteArray codexEvent(QByteArrayView info, QByteArrayView type = "event_msg")
{
    return R"({"type":")" + type.toByteArray() + R"(","payload":{"type":"token_count","info":)" + info.toByteArray() + "}}";
}

/// A Codex token-count event for `input` tokens, stating `window` when there is one.
inline QByteArray codexTokens(qint64 input, std::optional<qint64> window = 258'400)
{
    const QByteArray stated = window ? ",\"model_context_window\":" + QByteArray::number(*window) : QByteArray();
    return codexEvent(R"({"last_token_usage":{"input_tokens":)" + QByteArray::number(input) + R"(,"output_tokens":9})" + stated + "}");
}

/// The record opening a Codex log, which carries its working directory.
inline QByteArray codexMeta(QByteArrayView cwd = "/w/codex")
{
    return R"({"type":"session_meta","payload":{"id":"s1","cwd":")" + cwd.toByteArray() + R"(","originator":"cli"}})";
}

inline QByteArray lines(const QByteArrayList &records)
{
    return records.isEmpty() ? QByteArray() : records.join('\n') + '\n';
}

/// Writes `bytes` to `path`, making its folder, and dates it `modified` when given; the path, or empty on failure.
inline QString writeFile(const QString &path, const QByteArray &bytes, const QDateTime &modified = {}, QIODevice::OpenMode mode = QIODevice::WriteOnly)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(mode) || file.write(bytes) != bytes.size() || !file.flush())
        return {};
    // After the flush, or closing would write the bytes, and a new modification time, afterwards.
    if (modified.isValid() && !file.setFileTime(modified, QFileDevice::FileModificationTime))
        return {};
    return path;
}

/// A Claude session `project` with its log under /logs, started an hour before its last activity.
inline Session session(const QString &project, std::optional<qint64> tokens = 84'000, qint64 window = 200'000,
    const QDateTime &lastActivity = QDateTime::currentDateTime().addSecs(-60))
{
    return Session { u"/logs/"_s + project + u".jsonl"_s, Provider::claude, project, tokens, window, lastActivity.addSecs(-3'600), lastActivity };
}

/// A watcher reading the agent folders below `home`.
inline SessionWatcher::Config watcherConfig(const QString &home, SessionScan::Clock clock = {})
{
    auto snapshots = std::make_shared<const QList<FleetAccess::Snapshot>>(FleetAccess::directSnapshots(home));
    return { [snapshots] { return snapshots; }, std::move(clock), [](qsizetype, qsizetype) {} };
}

struct Run {
    int exitCode = -1;
    QByteArray out;
    QByteArray err;
};

/// Runs `program` to its end with `input` on its standard input.
inline Run run(const QString &program, const QStringList &arguments, const QByteArray &input = {},
    const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment())
{
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(30'000) || process.exitStatus() != QProcess::NormalExit)
        return {};
    return { process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError() };
}
} // namespace TestSupport

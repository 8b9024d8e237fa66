// Prints what one poll pass and one sweep cost, for a person to compare with the budgets:
// an unchanged pass well under 1 ms, a pass over 12 changed 64 MiB logs under 15 ms, a sweep
// of 5,000 day-old logs beside 12 recent ones under 100 ms.

#include "sessionscan.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{
constexpr qint64 bigLog = 64LL * 1024 * 1024;

QByteArray usageLine(qint64 tokens)
{
    return "{\"type\":\"assistant\",\"cwd\":\"/Users/a/shop\",\"message\":{\"model\":\"claude-sonnet-4-5\",\"usage\":{\"input_tokens\":"
        + QByteArray::number(tokens) + ",\"cache_creation_input_tokens\":1200,\"cache_read_input_tokens\":45000,\"output_tokens\":300}}}\n";
}

// A 64 MiB log: a sparse hole, then 2 MiB of realistic records ending with a usage record. The
// reader only ever looks at the tail, so the hole costs nothing it would not cost anyway.
bool writeBigLog(const QString &path, qint64 tokens)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    const QByteArray filler = "{\"type\":\"user\",\"message\":{\"role\":\"user\",\"content\":\"" + QByteArray(900, 'x') + "\"}}\n";
    QByteArray tail;
    while (tail.size() < 2 * 1024 * 1024)
        tail += filler;
    tail += usageLine(tokens);
    if (!file.resize(bigLog - tail.size()) || !file.seek(bigLog - tail.size()))
        return false;
    return file.write(tail) == tail.size();
}

bool writeSmallLog(const QString &path, const QDateTime &modified)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite))
        return false;
    file.write(usageLine(40'000));
    file.flush();
    return file.setFileTime(modified, QFileDevice::FileModificationTime);
}

template <typename F> double medianMs(int runs, F &&run)
{
    QList<double> times;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        run(i);
        times.append(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(times.begin(), times.end());
    return times.at(times.size() / 2);
}

SessionScan scanOf(const QString &home)
{
    auto snapshots = std::make_shared<const QList<FleetAccess::Snapshot>>(FleetAccess::directSnapshots(home));
    return SessionScan([snapshots] { return snapshots; }, {}, [](qsizetype, qsizetype) {});
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    const QString home = dir.path();
    const QString projects = home + u"/.claude/projects/-Users-a-shop"_s;
    QDir().mkpath(projects);

    // 12 changed 64 MiB logs: every pass finds new modification times and reads each tail again.
    QStringList big;
    for (int i = 0; i < 12; ++i) {
        big.append(projects + u"/big%1.jsonl"_s.arg(i));
        if (!writeBigLog(big.last(), 10'000 + i)) {
            std::fprintf(stderr, "could not write %s\n", qPrintable(big.last()));
            return 1;
        }
    }
    SessionScan scan = scanOf(home);
    scan.pass(0); // sweeps and fills the cache
    const double unchanged = medianMs(200, [&](int) { scan.pass(0); });
    const double changed = medianMs(20, [&](int run) {
        // Outside the timer would be fairer, but touching 12 files costs microseconds; keep it honest and simple.
        for (const QString &path : std::as_const(big)) {
            QFile file(path);
            if (file.open(QIODevice::ReadWrite))
                file.setFileTime(QDateTime::currentDateTimeUtc().addSecs(-run - 1), QFileDevice::FileModificationTime);
        }
        scan.pass(0);
    });

    // A sweep over a long history: 5,000 day-old logs in 100 projects, beside 12 recent ones.
    QTemporaryDir historyDir;
    const QString history = historyDir.path();
    const QDateTime dayOld = QDateTime::currentDateTimeUtc().addSecs(-25 * 3600);
    for (int i = 0; i < 5'000; ++i)
        writeSmallLog(history + u"/.claude/projects/-Users-a-p%1/s%2.jsonl"_s.arg(i % 100).arg(i), dayOld);
    for (int i = 0; i < 12; ++i)
        writeSmallLog(history + u"/.claude/projects/-Users-a-p%1/recent%2.jsonl"_s.arg(i).arg(i), QDateTime::currentDateTimeUtc().addSecs(-60 * i));
    SessionScan sweeper = scanOf(history);
    sweeper.sweep(); // warm the directory cache, as a running app's sweeps are
    const double sweep = medianMs(20, [&](int) { sweeper.sweep(); });

    std::printf("poll pass, 12 unchanged logs (metadata only): %8.3f ms   (budget 1 ms)\n", unchanged);
    std::printf("poll pass, 12 changed 64 MiB logs:            %8.3f ms   (budget 15 ms; includes touching the 12 files)\n", changed);
    std::printf("sweep, 5,000 day-old + 12 recent logs:        %8.3f ms   (budget 100 ms; %lld candidates)\n", sweep,
        static_cast<long long>(sweeper.candidates().size()));
    return 0;
}

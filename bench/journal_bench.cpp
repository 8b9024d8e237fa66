// Prints how long the log readers take on this machine, next to the floor (one 256 KiB read from
// the page cache plus one JSON parse) and a naive reader that parses every line, for scale.
#include "journal.h"
#include "tailreader.h"
#include "testsupport.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace
{
constexpr qint64 KiB = 1024;
constexpr qint64 MiB = 1024 * KiB;

// Realistically sized lines: a user turn, a tool result and an assistant reply of about 1–3 KiB.
QByteArray padded(QByteArray prefix, qsizetype size, QByteArray suffix)
{
    const qsizetype fill = std::max<qsizetype>(0, size - prefix.size() - suffix.size() - 1);
    return prefix + QByteArray(fill, 'a') + suffix + '\n';
}
const QByteArray claudeUser = padded(R"({"type":"user","cwd":"/home/u/app","message":{"role":"user","content":")", 1200, R"("}})");
const QByteArray claudeTool = padded(R"({"type":"user","cwd":"/home/u/app","toolUseResult":{"stdout":")", 3000, R"("}})");
const QByteArray claudeReply
    = padded(R"({"type":"assistant","cwd":"/home/u/app","isSidechain":false,"message":{"model":"claude-opus-4-7","content":[{"type":"text","text":")", 2000,
        R"("}],"usage":{"input_tokens":3,"cache_creation_input_tokens":1200,"cache_read_input_tokens":45000,"output_tokens":310}}})");
const QByteArray codexMeta = R"({"timestamp":"2025-01-01T00:00:00Z","type":"session_meta","payload":{"id":"s1","cwd":"/home/u/app","originator":"cli"}})"
                             "\n";
const QByteArray codexItem = padded(R"({"timestamp":"2025-01-01T00:00:00Z","type":"response_item","payload":{"type":"message","content":")", 2000, R"("}})");
const QByteArray codexTokens
    = R"({"timestamp":"2025-01-01T00:00:00Z","type":"event_msg","payload":{"type":"token_count","info":{"total_token_usage":{"input_tokens":90000},"last_token_usage":{"input_tokens":12000,"output_tokens":9},"model_context_window":258400}}})"
      "\n";

/// Writes `size` bytes of repeated `pattern` lines, then `tail`, to a new file.
QString writeLog(const QTemporaryDir &dir, const QString &name, const QByteArray &head, const QByteArray &pattern, qint64 size, const QByteArray &tail)
{
    QByteArray chunk;
    while (chunk.size() < 4 * MiB)
        chunk += pattern;
    QFile file(dir.filePath(name));
    if (!file.open(QIODevice::WriteOnly))
        qFatal("cannot write %s", qPrintable(file.fileName()));
    file.write(head);
    qint64 written = head.size();
    const qint64 body = size - tail.size();
    while (written < body) {
        const qint64 n = std::min<qint64>(chunk.size(), body - written);
        file.write(chunk.constData(), n);
        written += n;
    }
    file.write(tail);
    return file.fileName();
}

struct Figure {
    double medianMs;
    qint64 bytes;
};

/// Median wall time of `runs` warm calls, and the bytes one call reads.
Figure measure(int runs, const std::function<void()> &call)
{
    call(); // warm the page cache and the allocator
    const qint64 before = TestSupport::bytesRead();
    call();
    // The /proc read itself goes through read(); measure it so it can be subtracted.
    const qint64 probe = TestSupport::bytesRead();
    const qint64 overhead = TestSupport::bytesRead() - probe;
    const qint64 bytes = probe - before - overhead;
    std::vector<double> times;
    QElapsedTimer timer;
    for (int i = 0; i < runs; ++i) {
        timer.start();
        call();
        times.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    std::nth_element(times.begin(), times.begin() + runs / 2, times.end());
    return { times[size_t(runs / 2)], bytes };
}

void print(const char *what, const Figure &figure)
{
    std::printf("  %-52s %10.3f ms %12.2f KiB read\n", what, figure.medianMs, double(figure.bytes) / double(KiB));
}

/// The floor: one 256 KiB tail read and one JSON parse of a usage line.
void floorCall(const QString &path, const QByteArray &line)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return;
    QByteArray bytes(Journal::tailSizes[0], Qt::Uninitialized);
    file.seek(file.size() - bytes.size());
    file.read(bytes.data(), bytes.size());
    const QJsonDocument document = QJsonDocument::fromJson(line);
    if (document.object().isEmpty() || bytes.isEmpty())
        std::printf("floor: nothing parsed\n");
}

/// The floor for the worst case: the three tails read into fresh buffers, nothing scanned.
void threeTailsCall(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return;
    for (const qint64 size : Journal::tailSizes) {
        QByteArray bytes(std::min(size, file.size()), Qt::Uninitialized);
        file.seek(file.size() - bytes.size());
        if (file.read(bytes.data(), bytes.size()) != bytes.size())
            std::printf("floor: short read\n");
    }
}

/// The floor for the worst case as read now: the last 32 MiB walked backwards in chunks through
/// one reused buffer, nothing scanned.
void chunkedTailCall(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return;
    const qint64 chunk = Journal::TailReader::defaultChunkSize;
    const auto buffer = std::make_unique_for_overwrite<char[]>(size_t(chunk));
    const qint64 start = std::max<qint64>(0, file.size() - Journal::tailSizes.back());
    for (qint64 end = file.size(); end > start; end -= chunk) {
        const qint64 count = std::min(chunk, end - start);
        file.seek(end - count);
        if (file.read(buffer.get(), count) != count)
            std::printf("floor: short read\n");
    }
}

/// A /proc/self/status figure in KiB (Linux), or -1.
qint64 statusKiB(QByteArrayView key)
{
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith(key))
            return line.mid(key.size()).trimmed().split(' ').value(0).toLongLong();
    }
    return -1;
}

/// How far one call lifts the resident set above where it started, in KiB: the peak is reset
/// through /proc/self/clear_refs first (Linux).
qint64 peakGrowthKiB(const std::function<void()> &call)
{
    QFile clear(u"/proc/self/clear_refs"_s);
    if (!clear.open(QIODevice::WriteOnly) || clear.write("5") != 1)
        return -1;
    clear.close();
    const qint64 before = statusKiB("VmRSS:");
    call();
    return statusKiB("VmHWM:") - before;
}

/// For scale: reads the whole file and parses every line, keeping the last usage seen.
qint64 naiveClaude(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray all = file.readAll();
    qint64 tokens = -1;
    for (qsizetype start = 0; start < all.size();) {
        qsizetype end = all.indexOf('\n', start);
        if (end < 0)
            end = all.size();
        const QJsonObject record = QJsonDocument::fromJson(all.mid(start, end - start)).object();
        start = end + 1;
        const QJsonObject usage = record.value("message"_L1).toObject().value("usage"_L1).toObject();
        if (!usage.isEmpty())
            tokens = usage.value("input_tokens"_L1).toInteger() + usage.value("cache_creation_input_tokens"_L1).toInteger()
                + usage.value("cache_read_input_tokens"_L1).toInteger();
    }
    return tokens;
}
} // namespace

int main()
{
    QTemporaryDir dir;
    if (!dir.isValid())
        qFatal("no temporary folder");
    std::printf("Building logs in %s ...\n", qPrintable(dir.path()));

    // Common case: 64 MiB, newest usage record about 200 KiB from the end, only user turns and tool
    // results after it, so the reader has to walk back over ~60 lines that the byte search rejects.
    QByteArray afterUsage;
    while (afterUsage.size() < 200 * KiB)
        afterUsage += claudeUser + claudeTool;
    const QByteArray conversation = claudeUser + claudeReply + claudeTool + claudeReply;
    const QString claudeCommon = writeLog(dir, u"claude-64.jsonl"_s, {}, conversation, 64 * MiB, claudeReply + afterUsage);
    QByteArray codexAfter;
    while (codexAfter.size() < 200 * KiB)
        codexAfter += codexItem;
    const QString claudeRecent = writeLog(dir, u"claude-64-recent.jsonl"_s, {}, conversation, 64 * MiB, claudeReply + claudeUser + claudeTool);
    const QString codexCommon = writeLog(dir, u"codex-64.jsonl"_s, codexMeta, codexItem + codexTokens, 64 * MiB, codexTokens + codexAfter);
    // Worst case: 40 MiB without any decisive record, so all three tails are read and scanned.
    const QString claudeWorst = writeLog(dir, u"claude-40.jsonl"_s, {}, claudeUser + claudeTool, 40 * MiB, {});
    const QString codexWorst = writeLog(dir, u"codex-40.jsonl"_s, codexMeta, codexItem, 40 * MiB, {});
    // Pathological: every line carries the key but none decides (sidechain replies), so every
    // line of 32 MiB is parsed. Not a real log's shape; shown to bound what the filter saves.
    QByteArray sidechain = claudeReply;
    sidechain.replace("\"isSidechain\":false", "\"isSidechain\":true");
    const QString claudeSidechains = writeLog(dir, u"claude-sidechains.jsonl"_s, {}, sidechain, 40 * MiB, {});
    // One line of 40 MiB: no newline anywhere in the last 32 MiB, so every tail step comes up empty.
    const QString claudeOneLine = writeLog(dir, u"claude-one-line.jsonl"_s, {}, QByteArray(MiB, 'a'), 40 * MiB, "\n");

    if (Journal::claude(claudeCommon).tokens != 46'203 || Journal::claude(claudeRecent).tokens != 46'203 || Journal::codex(codexCommon).tokens != 12'000
        || !Journal::claude(claudeWorst).isEmpty() || Journal::codex(codexWorst).tokens)
        qFatal("the generated logs do not read as intended");

    const QByteArray usageLine = claudeReply.trimmed();
    std::printf("\nWarm page cache, median of repeated calls:\n");
    print("floor: 256 KiB tail read + one JSON parse", measure(501, [&] { floorCall(claudeCommon, usageLine); }));
    print("Journal::claude, 64 MiB, usage 4 KiB from the end", measure(501, [&] { Journal::claude(claudeRecent); }));
    print("Journal::claude, 64 MiB, usage 200 KiB from the end", measure(501, [&] { Journal::claude(claudeCommon); }));
    print("Journal::codex, 64 MiB, event 200 KiB from the end", measure(501, [&] { Journal::codex(codexCommon); }));
    print("floor (old): the three tails read whole, fresh buffers", measure(21, [&] { threeTailsCall(claudeWorst); }));
    print("floor: the 32 MiB tail read back in chunks, one buffer", measure(21, [&] { chunkedTailCall(claudeWorst); }));
    print("Journal::claude, 40 MiB, nothing decisive", measure(21, [&] { Journal::claude(claudeWorst); }));
    print("Journal::codex, 40 MiB, nothing decisive", measure(21, [&] { Journal::codex(codexWorst); }));
    print("Journal::claude, 40 MiB, no newline in the last 32 MiB", measure(21, [&] { Journal::claude(claudeOneLine); }));
    print("Journal::claude, 40 MiB, every line a sidechain reply", measure(5, [&] { Journal::claude(claudeSidechains); }));
    print("naive: parse every line of the 64 MiB Claude log", measure(3, [&] { naiveClaude(claudeCommon); }));

    std::printf("\nResident set growth of one call above where it started:\n");
    std::printf("  %-52s %10lld KiB\n", "floor (old): the three tails read whole, fresh buffers", peakGrowthKiB([&] { threeTailsCall(claudeWorst); }));
    std::printf("  %-52s %10lld KiB\n", "Journal::claude, 64 MiB, usage 200 KiB from the end", peakGrowthKiB([&] { Journal::claude(claudeCommon); }));
    std::printf("  %-52s %10lld KiB\n", "Journal::claude, 40 MiB, nothing decisive", peakGrowthKiB([&] { Journal::claude(claudeWorst); }));
    std::printf("  %-52s %10lld KiB\n", "Journal::codex, 40 MiB, nothing decisive", peakGrowthKiB([&] { Journal::codex(codexWorst); }));
    std::printf("  %-52s %10lld KiB\n", "Journal::claude, 40 MiB, no newline in the last 32 MiB", peakGrowthKiB([&] { Journal::claude(claudeOneLine); }));
    return 0;
}

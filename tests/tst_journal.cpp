#include "journal.h"
#include "tailreader.h"
#include "testsupport.h"

#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <future>
#include <limits>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using Journal::Reading;

Q_DECLARE_METATYPE(Journal::Reading)
using OptionalText = std::optional<QString>;
Q_DECLARE_METATYPE(OptionalText)

namespace Journal
{
char *toString(const Reading &reading)
{
    const auto number = [](std::optional<qint64> n) { return n ? QByteArray::number(*n) : QByteArray("-"); };
    const auto text = [](const std::optional<QString> &s) { return s ? "\"" + s->toUtf8() + "\"" : QByteArray("-"); };
    return qstrdup("tokens " + number(reading.tokens) + ", window " + number(reading.window) + ", model " + text(reading.model) + ", cwd " + text(reading.cwd));
}
} // namespace Journal

namespace
{
using namespace TestSupport;
constexpr qint64 KiB = 1024;
constexpr qint64 MiB = 1024 * KiB;

Reading reading(std::optional<qint64> tokens, std::optional<qint64> window = {}, OptionalText model = {}, OptionalText cwd = {})
{
    return Reading { tokens, window, std::move(model), std::move(cwd) };
}
/// What a reply built by claudeTokens() or claudeReply() reads as.
Reading fromApp(qint64 tokens, const QString &model = u"claude-sonnet-4-5"_s)
{
    return reading(tokens, {}, model, u"/w/app"_s);
}
QByteArray usage(QByteArrayView members, QByteArrayView extra = {})
{
    return claudeReply(members, "m", "/w/app", extra);
}
const QByteArray meta = codexMeta();
const QByteArray compacted = R"({"type":"compacted","payload":{"message":"summary"}})";

/// Exactly `size` bytes of ordinary log lines that mention none of the readers' keys.
QByteArray filler(qint64 size)
{
    QByteArray bytes(size, 'x');
    for (qint64 at = 0; at < size; at += KiB) {
        bytes[at] = '\n';
        if (at + 1 < size)
            bytes[at + 1] = '{';
    }
    bytes[size - 1] = '\n';
    return bytes;
}

/// A log-like byte soup: lines of random length (some empty, some holding '\r'), separated by
/// runs of one to three newlines, with or without a final newline.
QByteArray generatedLog(QRandomGenerator &random, int lineCount, int maxLine)
{
    static constexpr char alphabet[] = "ab{}\r";
    QByteArray bytes;
    for (int i = 0; i < lineCount; ++i) {
        if (random.bounded(4) != 0) {
            const int length = random.bounded(maxLine + 1);
            for (int c = 0; c < length; ++c)
                bytes += alphabet[random.bounded(int(sizeof alphabet) - 1)];
        }
        if (i + 1 < lineCount || random.bounded(2) == 0)
            bytes += QByteArray(1 + (random.bounded(4) == 0 ? random.bounded(3) : 0), '\n');
    }
    return bytes;
}

/// The lines of a file's last `byteCount` bytes, newest first, found the simplest way: split at '\n',
/// empty pieces dropped, and the oldest piece dropped when the tail starts past the file's start.
QByteArrayList tailLines(const QString &path, qint64 byteCount)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = file.readAll();
    QByteArrayList lines = bytes.last(std::min(byteCount, qint64(bytes.size()))).split('\n');
    lines.removeAll(QByteArray());
    if (byteCount < bytes.size() && !lines.isEmpty())
        lines.removeFirst();
    std::reverse(lines.begin(), lines.end());
    return lines;
}

QByteArrayList drain(Journal::TailReader &reader)
{
    QByteArrayList lines;
    while (const std::optional<QByteArrayView> line = reader.next())
        lines.append(line->toByteArray());
    return lines;
}
} // namespace

class TestJournal : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(m_dir.isValid()); }

    // A FIFO named like a log, or a log swapped for one after the sweep listed it, has no writer:
    // opening it for reading would wait forever. Each reader must refuse it at once, as it refuses
    // anything but a regular file.
    void fifoIsRefusedAtOnce()
    {
        const QString path = m_dir.filePath(u"fifo.jsonl"_s);
        QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        auto refused = std::async(std::launch::async, [path] {
            return !Journal::headCwd(path) && Journal::claude(path).isEmpty() && Journal::codex(path).isEmpty() && !Journal::TailReader(path).isOpen();
        });
        using namespace std::chrono_literals;
        const bool finished = refused.wait_for(5s) == std::future_status::ready;
        // A reader stuck in open() is released by a writer that comes and goes, so the test ends either way.
        while (refused.wait_for(20ms) != std::future_status::ready) {
            if (const int fd = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_NONBLOCK); fd >= 0)
                ::close(fd);
        }
        QVERIFY2(finished, "a reader waited on a FIFO");
        QVERIFY(refused.get());
    }

    void readers_data()
    {
        QTest::addColumn<QByteArrayList>("lines");
        QTest::addColumn<Reading>("expected");
        const QByteArray compaction = R"({"type":"system","subtype":"compact_boundary","cwd":"/w/compacted","content":"Conversation compacted"})";
        const QByteArray t100 = claudeTokens(100);
        constexpr qint64 max = std::numeric_limits<qint64>::max();

        QTest::addRow("empty file") << QByteArrayList() << Reading();
        QTest::addRow("input, cache creation and cache read are summed, output is not")
            << QByteArrayList { usage(R"("input_tokens":3,"cache_creation_input_tokens":1200,"cache_read_input_tokens":45000,"output_tokens":999)") }
            << fromApp(46'203, u"m"_s);
        QTest::addRow("the newest usage record wins, other lines are passed over")
            << QByteArrayList { t100, claudeTokens(200), R"({"type":"user","message":{"content":"hi"}})", "not json" } << fromApp(200);
        QTest::addRow("a sidechain reply gives way to an older main one") << QByteArrayList { usage(R"("input_tokens":100)", R"("isSidechain":false,)"),
            usage(R"("input_tokens":200)", R"("isSidechain":true,)") } << fromApp(100, u"m"_s);
        QTest::addRow("a compaction newer than any usage empties the count") << QByteArrayList { t100, compaction } << reading({}, {}, {}, u"/w/compacted"_s);
        QTest::addRow("compaction is tested before usage on the same line")
            << QByteArrayList { t100, usage(R"("input_tokens":5)", R"("subtype":"compact_boundary",)") } << reading({}, {}, {}, u"/w/app"_s);
        QTest::addRow("compact_boundary in a message body is not a boundary")
            << QByteArrayList { t100, usage(R"("input_tokens":200)", R"("note":"ran /compact, see compact_boundary",)") } << fromApp(200, u"m"_s);
        QTest::addRow("a synthetic reply is skipped") << QByteArrayList { t100, claudeTokens(200, "<synthetic>") } << fromApp(100);
        QTest::addRow("a zero sum is skipped") << QByteArrayList { t100, claudeTokens(0) } << fromApp(100);
        QTest::addRow("only assistant replies with object members count")
            << QByteArrayList { t100, R"({"type":"user","message":{"usage":{"input_tokens":200}}})", R"({"type":1,"message":{"usage":{"input_tokens":300}}})",
                   R"({"type":"assistant","message":{"usage":[1,2]}})", R"({"type":"assistant","message":"usage","usage":{}})" }
            << fromApp(100);
        QTest::addRow("counts of the wrong type are zero")
            << QByteArrayList { usage(R"("input_tokens":"12","cache_creation_input_tokens":30,"cache_read_input_tokens":null)") } << fromApp(30, u"m"_s);
        QTest::addRow("a count past the int64 range saturates") << QByteArrayList { usage(R"("input_tokens":1e300)") } << fromApp(max, u"m"_s);

        const QString cwd = u"/w/codex"_s;
        const Reading found = reading(12'000, 258'400, {}, cwd);
        const QByteArray t12k = codexTokens(12'000);
        QTest::addRow("tokens and the stated window") << QByteArrayList { meta, t12k } << found;
        QTest::addRow("an event with null info gives way to an older one") << QByteArrayList { meta, t12k, codexEvent("null") } << found;
        QTest::addRow("missing input count is zero, not absent")
            << QByteArrayList { meta, codexEvent(R"({"last_token_usage":{"output_tokens":5},"model_context_window":258400})") } << reading(0, 258'400, {}, cwd);
        QTest::addRow("no stated window") << QByteArrayList { meta, codexTokens(5, {}) } << reading(5, {}, {}, cwd);
        QTest::addRow("a compaction newer than any event empties the count, cwd stays") << QByteArrayList { meta, t12k, compacted } << reading({}, {}, {}, cwd);
    }

    // Codex logs open with their session record.
    void readers()
    {
        QFETCH(QByteArrayList, lines);
        const QString path = write(TestSupport::lines(lines));
        QTEST(lines.value(0) == meta ? Journal::codex(path) : Journal::claude(path), "expected");
    }

    void headCwd_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<OptionalText>("cwd");
        QTest::addRow("UTF-8 is decoded") << R"({"cwd":"/w/日本"})"_ba << OptionalText(u"/w/日本"_s);
        QTest::addRow("invalid UTF-8 is absent") << "{\"cwd\":\"/w/\xff\xfe\"}"_ba << OptionalText();
        QTest::addRow("the value across the head's end") << filler(Journal::headSize - 10) + R"("cwd":"/w/late")" << OptionalText();
        QTest::addRow("the value ending at the head's end") << filler(Journal::headSize - 13) + R"("cwd":"/w/ok")" << OptionalText(u"/w/ok"_s);
    }
    void headCwd()
    {
        QFETCH(QByteArray, content);
        QTEST(Journal::headCwd(write(content)), "cwd");
    }

    // Multi-MiB logs: a record past the first tail steps is found, and nothing past 32 MiB is read.
    // When a tail step comes up empty, the larger one reuses what it read, so one call reads at most
    // 32 MiB, even through one line with no newline at all.
    void tailSteps_data()
    {
        QTest::addColumn<qint64>("fileSize");
        QTest::addColumn<qint64>("fromEnd");
        QTest::addColumn<bool>("newlines");
        QTest::addColumn<Reading>("expected");
        QTest::addRow("found at the 32 MiB step") << 10 * MiB << 5 * MiB << true << fromApp(4'242);
        QTest::addRow("nothing past 32 MiB") << 40 * MiB << 35 * MiB << true << Reading();
        QTest::addRow("no newline in the last 40 MiB") << 40 * MiB << 40 * MiB << false << Reading();
    }
    void tailSteps()
    {
        QFETCH(qint64, fileSize);
        QFETCH(qint64, fromEnd);
        QFETCH(bool, newlines);
        const QByteArray record = claudeTokens(4'242) + '\n';
        QFile file(m_dir.filePath(u"big.jsonl"_s));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        const auto padTo = [&, chunk = newlines ? filler(MiB) : QByteArray(MiB, '\0')](qint64 end) {
            for (qint64 left = end - file.pos(); left > 0; left -= MiB)
                file.write(left >= MiB ? chunk : chunk.last(left));
        };
        padTo(fileSize - fromEnd - record.size());
        file.write(record);
        padTo(fileSize);
        file.close();
        QCOMPARE(file.size(), fileSize);
        const qint64 before = bytesRead();
        QVERIFY(before >= 0);
        QTEST(Journal::claude(file.fileName()), "expected");
        const qint64 read = bytesRead() - before;
        QVERIFY2(read <= Journal::tailSizes.back() + 4 * KiB, qPrintable(u"%1 bytes read"_s.arg(read)));
    }

    // A line whose end happens to be a valid record, cut by the 256 KiB tail right at that record:
    // the cut piece is dropped, and the whole line is not JSON, so the older record counts.
    void lineCutByTheTailIsNeverParsed()
    {
        const QByteArray cutRecord = claudeTokens(7) + '\n';
        const QString path
            = write(claudeTokens(5) + '\n' + filler(100 * KiB) + "garbage before the cut " + cutRecord + filler(Journal::tailSizes[0] - cutRecord.size()));
        QCOMPARE(Journal::claude(path), fromApp(5));
    }

    // One backward reader taken through growing tails against tailLines(), which reads each tail whole:
    // after each pass, all it yielded is exactly that tail's lines, newest first, so a reader that
    // stops at the first decisive line decides as if it had read every tail whole. Lines several
    // chunks long, several lines to a chunk, and the shipped chunk.
    void backwardReader_data()
    {
        QTest::addColumn<int>("lineCount");
        QTest::addColumn<int>("maxLine");
        QTest::addColumn<qint64>("chunkSize");
        QTest::addColumn<int>("seeds");
        QTest::addRow("chunks of a few bytes") << 20 << 12 << qint64(3) << 200;
        QTest::addRow("lines around half a chunk") << 30 << 48 << qint64(64) << 200;
        QTest::addRow("lines of hundreds of KiB, the shipped chunk") << 8 << int(600 * KiB) << Journal::TailReader::defaultChunkSize << 3;
    }
    void backwardReader()
    {
        QFETCH(int, lineCount);
        QFETCH(int, maxLine);
        QFETCH(qint64, chunkSize);
        QFETCH(int, seeds);
        for (int seed = 1; seed <= seeds; ++seed) {
            QRandomGenerator random(seed);
            const QByteArray content = generatedLog(random, lineCount, maxLine);
            const QString path = write(content);
            Journal::TailReader reader(path, chunkSize);
            QByteArrayList seen;
            qint64 byteCount = 0;
            do {
                byteCount += 1 + random.bounded(qint64(content.size() / 5 + 1));
                reader.setTail(byteCount);
                seen += drain(reader);
                if (seen != tailLines(path, byteCount) || reader.complete() != (byteCount >= content.size()) || !reader.intact())
                    QFAIL(qPrintable(u"seed %1, tail of %2 of %3 bytes"_s.arg(seed).arg(byteCount).arg(content.size())));
            } while (!reader.complete());
        }
    }

    // The reader keeps to the length it found on opening; a file cut short under it ends the data
    // instead of mixing in bytes of another version of the file.
    void fileChangesWhileRead_data()
    {
        QTest::addColumn<qint64>("newLength");
        QTest::addColumn<bool>("intact");
        QTest::addRow("grown: the appended lines are not read") << qint64(-1) << true;
        QTest::addRow("cut to half") << qint64(2000) << false;
    }
    void fileChangesWhileRead()
    {
        QFETCH(qint64, newLength);
        QFETCH(bool, intact);
        QByteArrayList written;
        for (int i = 0; i < 400; ++i)
            written.append("line " + QByteArray::number(i));
        const QString path = write(lines(written));
        const QByteArrayList whole = tailLines(path, Journal::tailSizes[0]);

        Journal::TailReader reader(path, 64);
        reader.setTail(Journal::tailSizes[0]);
        QByteArrayList got;
        for (int i = 0; i < 10; ++i)
            got.append(reader.next()->toByteArray());
        QVERIFY(newLength < 0 ? !writeFile(path, "appended\n", {}, QIODevice::Append).isEmpty() : QFile::resize(path, newLength));
        got += drain(reader);
        QCOMPARE(reader.intact(), intact);
        if (intact)
            QCOMPARE(got, whole);
        else
            QVERIFY(got.size() < whole.size() && got == whole.first(got.size()));
        reader.setTail(Journal::tailSizes[1]);
        QCOMPARE(reader.next().has_value(), false);
    }

private:
    QString write(const QByteArray &content) { return writeFile(m_dir.filePath(u"log-%1.jsonl"_s.arg(++m_files)), content); }

    QTemporaryDir m_dir;
    int m_files = 0;
};

QTEST_GUILESS_MAIN(TestJournal)
#include "tst_journal.moc"

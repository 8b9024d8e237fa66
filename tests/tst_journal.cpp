#include "journal.h"
#include "taillines.h"
#include "tailreader.h"
#include "testsupport.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <limits>

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

/// Lines newest first, as the reader's scan sees them.
QByteArrayList reversedTail(const QString &path, qint64 byteCount)
{
    QByteArrayList lines;
    if (const std::optional<TestSupport::Tail> tail = TestSupport::tailLines(path, byteCount)) {
        for (auto line = tail->lines.crbegin(); line != tail->lines.crend(); ++line)
            lines.append(line->toByteArray());
    }
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

    void tailLines_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<qint64>("byteCount");
        QTest::addColumn<QByteArrayList>("lines");
        QTest::addColumn<bool>("complete");
        QTest::addRow("empty file") << QByteArray() << Journal::tailSizes[0] << QByteArrayList() << true;
        QTest::addRow("a trailing newline adds no line") << "a\nb\n"_ba << qint64(100) << QByteArrayList { "a", "b" } << true;
        QTest::addRow("blank lines are dropped") << "\n\na\n\n\nb"_ba << qint64(100) << QByteArrayList { "a", "b" } << true;
        QTest::addRow("carriage returns are kept") << "a\r\nb\r\n"_ba << qint64(100) << QByteArrayList { "a\r", "b\r" } << true;
        QTest::addRow("byte count equal to the length reads it all") << "abc\ndef\n"_ba << qint64(8) << QByteArrayList { "abc", "def" } << true;
        QTest::addRow("a cut inside a line drops its end") << "abc\ndef\nghi\n"_ba << qint64(6) << QByteArrayList { "ghi" } << false;
        QTest::addRow("a cut on a line boundary still drops the first line") << "abc\ndef\nghi\n"_ba << qint64(8) << QByteArrayList { "ghi" } << false;
        QTest::addRow("the dropped line is the first non-empty one") << "abc\n\n\ndef\nghi\n"_ba << qint64(10) << QByteArrayList { "ghi" } << false;
        QTest::addRow("only a partial line in view") << "abcdef\n"_ba << qint64(3) << QByteArrayList() << false;
        QTest::addRow("zero bytes") << "abc\n"_ba << qint64(0) << QByteArrayList() << false;
    }
    void tailLines()
    {
        QFETCH(QByteArray, content);
        QFETCH(qint64, byteCount);
        const std::optional<TestSupport::Tail> tail = TestSupport::tailLines(write(content), byteCount);
        QVERIFY(tail);
        QByteArrayList got;
        for (const QByteArrayView line : tail->lines)
            got.append(line.toByteArray());
        QTEST(got, "lines");
        QTEST(tail->complete, "complete");
    }

    void unreadableFiles_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addRow("missing file") << m_dir.filePath(u"missing.jsonl"_s);
        QTest::addRow("a folder") << m_dir.path();
    }
    void unreadableFiles()
    {
        QFETCH(QString, path);
        QVERIFY(!TestSupport::tailLines(path, Journal::tailSizes[0]));
        QVERIFY(!Journal::headCwd(path));
        QCOMPARE(Journal::claude(path), Reading());
        QCOMPARE(Journal::codex(path), Reading());
    }

    void claude_data()
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
        QTest::addRow("isSidechain other than boolean true passes")
            << QByteArrayList { t100, usage(R"("input_tokens":200)", R"("isSidechain":"true",)") } << fromApp(200, u"m"_s);
        QTest::addRow("a compaction newer than any usage empties the count") << QByteArrayList { t100, compaction } << reading({}, {}, {}, u"/w/compacted"_s);
        QTest::addRow("a usage record newer than the compaction counts") << QByteArrayList { compaction, claudeTokens(300) } << fromApp(300);
        QTest::addRow("a compaction without cwd still decides") << QByteArrayList { t100, R"({"subtype":"compact_boundary"})" } << Reading();
        QTest::addRow("compaction is tested before usage on the same line")
            << QByteArrayList { t100, usage(R"("input_tokens":5)", R"("subtype":"compact_boundary",)") } << reading({}, {}, {}, u"/w/app"_s);
        QTest::addRow("compact_boundary in a message body is not a boundary")
            << QByteArrayList { t100, usage(R"("input_tokens":200)", R"("note":"ran /compact, see compact_boundary",)") } << fromApp(200, u"m"_s);
        QTest::addRow("a subtype that is not a string is not a boundary")
            << QByteArrayList { t100, R"({"subtype":["compact_boundary"],"cwd":"/w/x"})" } << fromApp(100);
        QTest::addRow("a synthetic reply is skipped") << QByteArrayList { t100, claudeTokens(200, "<synthetic>") } << fromApp(100);
        QTest::addRow("a zero sum is skipped") << QByteArrayList { t100, claudeTokens(0) } << fromApp(100);
        QTest::addRow("no cwd") << QByteArrayList { R"({"type":"assistant","message":{"model":"m","usage":{"input_tokens":7}}})" } << reading(7, {}, u"m"_s);
        QTest::addRow("model and cwd of the wrong type are absent")
            << QByteArrayList { R"({"type":"assistant","cwd":null,"message":{"model":5,"usage":{"input_tokens":7}}})" } << reading(7);
        QTest::addRow("only assistant replies with object members count")
            << QByteArrayList { t100, R"({"type":"user","message":{"usage":{"input_tokens":200}}})", R"({"type":1,"message":{"usage":{"input_tokens":300}}})",
                   R"({"type":"assistant","message":{"usage":[1,2]}})", R"({"type":"assistant","message":"usage","usage":{}})" }
            << fromApp(100);
        QTest::addRow("a broken line with the key is skipped")
            << QByteArrayList { t100, R"({"type":"assistant","message":{"usage":{"input_tokens":5})" } << fromApp(100);
        QTest::addRow("counts of the wrong type are zero")
            << QByteArrayList { usage(R"("input_tokens":"12","cache_creation_input_tokens":30,"cache_read_input_tokens":null)") } << fromApp(30, u"m"_s);
        QTest::addRow("each fraction truncates on its own, toward zero")
            << QByteArrayList { usage(R"("input_tokens":1.9,"cache_creation_input_tokens":2.9,"cache_read_input_tokens":-1.5)") } << fromApp(2, u"m"_s);
        QTest::addRow("integers past 2^53 stay exact")
            << QByteArrayList { usage(R"("input_tokens":9007199254740993)") } << fromApp(9'007'199'254'740'993, u"m"_s);
        QTest::addRow("a count past the int64 range saturates") << QByteArrayList { usage(R"("input_tokens":1e300)") } << fromApp(max, u"m"_s);
        QTest::addRow("an overflowing sum saturates") << QByteArrayList {
            usage(R"("input_tokens":9000000000000000000,"cache_read_input_tokens":9000000000000000000)")
        } << fromApp(max, u"m"_s);
        QTest::addRow("a key spelled with an escape is not found by the byte search")
            << QByteArrayList { t100, R"({"type":"assistant","message":{"us\u0061ge":{"input_tokens":200}}})" } << fromApp(100);
        QTest::addRow("CRLF lines parse") << QByteArrayList { t100 + '\r', claudeTokens(200) + '\r' } << fromApp(200);
    }
    void claude()
    {
        QFETCH(QByteArrayList, lines);
        QTEST(Journal::claude(write(TestSupport::lines(lines))), "expected");
    }

    void codex_data()
    {
        QTest::addColumn<QByteArrayList>("lines");
        QTest::addColumn<Reading>("expected");
        const QString cwd = u"/w/codex"_s;
        const Reading found = reading(12'000, 258'400, {}, cwd);
        const QByteArray t12k = codexTokens(12'000);
        QTest::addRow("tokens and the stated window") << QByteArrayList { meta, t12k } << found;
        QTest::addRow("an event with null info gives way to an older one") << QByteArrayList { meta, t12k, codexEvent("null") } << found;
        QTest::addRow("an empty info is passed over") << QByteArrayList { meta, t12k, codexEvent("{}") } << found;
        QTest::addRow("missing input count is zero, not absent")
            << QByteArrayList { meta, codexEvent(R"({"last_token_usage":{"output_tokens":5},"model_context_window":258400})") } << reading(0, 258'400, {}, cwd);
        QTest::addRow("no stated window") << QByteArrayList { meta, codexTokens(5, {}) } << reading(5, {}, {}, cwd);
        QTest::addRow("a fractional window is no window")
            << QByteArrayList { codexEvent(R"({"last_token_usage":{"input_tokens":5},"model_context_window":258400.5})") } << reading(5);
        QTest::addRow("an integral window written with an exponent")
            << QByteArrayList { codexEvent(R"({"last_token_usage":{"input_tokens":5},"model_context_window":2.584e5})") } << reading(5, 258'400);
        QTest::addRow("a window past the int64 range is no window")
            << QByteArrayList { codexEvent(R"({"last_token_usage":{"input_tokens":5},"model_context_window":1e300})") } << reading(5);
        QTest::addRow("a fractional input count truncates")
            << QByteArrayList { codexEvent(R"({"last_token_usage":{"input_tokens":12000.9}})") } << reading(12'000);
        QTest::addRow("a compaction newer than any event empties the count, cwd stays") << QByteArrayList { meta, t12k, compacted } << reading({}, {}, {}, cwd);
        QTest::addRow("an event newer than the compaction counts") << QByteArrayList { meta, compacted, codexTokens(40) } << reading(40, 258'400, {}, cwd);
        QTest::addRow("the word compacted inside an event is no compaction")
            << QByteArrayList { codexTokens(1), codexEvent(R"({"last_token_usage":{"input_tokens":7},"reason":"compacted"})") } << reading(7);
        QTest::addRow("the top-level type of an event is not examined") << QByteArrayList { codexTokens(7, {}).replace("event_msg", "whatever") } << reading(7);
        QTest::addRow("other payloads that mention token_count are skipped")
            << QByteArrayList { codexTokens(1), "{\"type\":\"event_msg\",\"payload\":{\"type\":\"agent_message\",\"message\":\"\\\"token_count\\\"\"}}" }
            << reading(1, 258'400);
        QTest::addRow("a key spelled with an escape is not found by the byte search")
            << QByteArrayList { codexTokens(1), R"({"payload":{"type":"token\u005fcount","info":{"last_token_usage":{"input_tokens":7}}}})" }
            << reading(1, 258'400);
        QTest::addRow("only the working directory") << QByteArrayList { meta, R"({"type":"response_item","payload":{}})" } << reading({}, {}, {}, cwd);
    }
    void codex()
    {
        QFETCH(QByteArrayList, lines);
        QTEST(Journal::codex(write(TestSupport::lines(lines))), "expected");
    }

    void headCwd_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<OptionalText>("cwd");
        QTest::addRow("the session record's cwd") << lines({ meta, codexTokens(1) }) << OptionalText(u"/w/codex"_s);
        QTest::addRow("a blank after the colon is not matched") << R"({"cwd": "/w/a"})"_ba << OptionalText();
        QTest::addRow("an escaped quote cuts the path, the backslash stays") << "{\"cwd\":\"/w/a\\\"b\"}"_ba << OptionalText(u"/w/a\\"_s);
        QTest::addRow("escapes are not decoded") << R"({"cwd":"C:\\Users\u00e9"})"_ba << OptionalText(uR"(C:\\Users\u00e9)"_s);
        QTest::addRow("the first match wins") << R"({"x":{"cwd":"/w/first"}})"_ba + "\n" + R"({"cwd":"/w/second"})" << OptionalText(u"/w/first"_s);
        QTest::addRow("UTF-8 is decoded") << R"({"cwd":"/w/日本"})"_ba << OptionalText(u"/w/日本"_s);
        QTest::addRow("invalid UTF-8 is absent") << "{\"cwd\":\"/w/\xff\xfe\"}"_ba << OptionalText();
        QTest::addRow("no closing quote") << "{\"cwd\":\"/w/a"_ba << OptionalText();
        QTest::addRow("past the head") << filler(Journal::headSize) + R"({"cwd":"/w/late"})" << OptionalText();
        QTest::addRow("the key across the head's end") << filler(Journal::headSize - 3) + R"("cwd":"/w/late")" << OptionalText();
        QTest::addRow("the value across the head's end") << filler(Journal::headSize - 10) + R"("cwd":"/w/late")" << OptionalText();
        QTest::addRow("the value ending at the head's end") << filler(Journal::headSize - 13) + R"("cwd":"/w/ok")" << OptionalText(u"/w/ok"_s);
    }
    void headCwd()
    {
        QFETCH(QByteArray, content);
        QTEST(Journal::headCwd(write(content)), "cwd");
    }

    // Multi-MiB logs: which tail step finds a record, and that nothing past 32 MiB is read.
    void tailSteps_data()
    {
        QTest::addColumn<bool>("isCodex");
        QTest::addColumn<qint64>("fileSize");
        QTest::addColumn<qint64>("fromEnd");
        QTest::addColumn<Reading>("expected");
        const Reading claudeFound = fromApp(4'242);
        QTest::addRow("claude: found in the first tail") << false << 1 * MiB << 100 * KiB << claudeFound;
        QTest::addRow("claude: found at the 4 MiB step") << false << 6 * MiB << 1 * MiB << claudeFound;
        QTest::addRow("claude: found at the 32 MiB step") << false << 10 * MiB << 5 * MiB << claudeFound;
        QTest::addRow("claude: nothing past 32 MiB") << false << 40 * MiB << 35 * MiB << Reading();
        QTest::addRow("codex: found at the 32 MiB step") << true << 10 * MiB << 5 * MiB << reading(4'242, 258'400, {}, u"/w/codex"_s);
        QTest::addRow("codex: nothing past 32 MiB, cwd still read") << true << 40 * MiB << 35 * MiB << reading({}, {}, {}, u"/w/codex"_s);
    }
    void tailSteps()
    {
        QFETCH(bool, isCodex);
        QFETCH(qint64, fileSize);
        QFETCH(qint64, fromEnd);
        QFETCH(Reading, expected);
        const QByteArray record = (isCodex ? codexTokens(4'242) : claudeTokens(4'242)) + '\n';
        const QByteArray head = isCodex ? meta + '\n' : QByteArray();
        const QByteArray chunk = filler(MiB);
        QFile file(m_dir.filePath(u"big.jsonl"_s));
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(head);
        const qint64 before = fileSize - fromEnd - record.size() - head.size();
        for (qint64 left = before; left > 0; left -= MiB)
            file.write(left >= MiB ? chunk : filler(left));
        file.write(record);
        for (qint64 left = fromEnd; left > 0; left -= MiB)
            file.write(left >= MiB ? chunk : filler(left));
        file.close();
        QCOMPARE(file.size(), fileSize);
        QCOMPARE(isCodex ? Journal::codex(file.fileName()) : Journal::claude(file.fileName()), expected);
    }

    // A line whose end happens to be a valid record, cut by the 256 KiB tail right at that record:
    // the cut piece is dropped, and the whole line is not JSON, so the older record counts.
    void lineCutByTheTailIsNeverParsed()
    {
        const QByteArray cutRecord = claudeTokens(7) + '\n';
        const QByteArray content
            = claudeTokens(5) + '\n' + filler(100 * KiB) + "garbage before the cut " + cutRecord + filler(Journal::tailSizes[0] - cutRecord.size());
        const QString path = write(content);
        const std::optional<TestSupport::Tail> tail = TestSupport::tailLines(path, Journal::tailSizes[0]);
        QVERIFY(tail && !tail->lines.isEmpty());
        QVERIFY(!tail->lines.constFirst().contains("input_tokens"));
        QCOMPARE(Journal::claude(path), fromApp(5));
    }

    // The backward reader against tailLines, which reads a tail whole: same lines, newest first,
    // for every tail length of many generated logs and for chunks far smaller than a line.
    void backwardReader_data()
    {
        QTest::addColumn<int>("lineCount");
        QTest::addColumn<int>("maxLine");
        QTest::addColumn<qint64>("chunkSize");
        QTest::addColumn<int>("seeds");
        for (const qint64 chunk : { 1, 3, 7 })
            QTest::addRow("short lines, %lld-byte chunks", chunk) << 24 << 12 << chunk << 25;
        QTest::addRow("lines many chunks long") << 12 << 400 << qint64(64) << 40;
        QTest::addRow("lines around half a chunk") << 30 << 48 << qint64(64) << 40;
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
            const qint64 length = content.size();
            // Every cut for small logs; for bigger ones a sample, also just before chunk boundaries.
            QList<qint64> byteCounts;
            const qint64 step = length <= 512 ? 1 : length / (length < 64 * KiB ? 61 : 13);
            for (qint64 n = 0; n <= length + 1; n += step) {
                byteCounts << n;
                if (step > 1)
                    byteCounts << std::min(n + chunkSize - 1, length) << random.bounded(length + 2);
            }
            for (const qint64 byteCount : byteCounts) {
                Journal::TailReader reader(path, chunkSize);
                reader.setTail(byteCount);
                const QByteArrayList got = drain(reader);
                if (got != reversedTail(path, byteCount) || reader.complete() != (byteCount >= length))
                    QFAIL(qPrintable(u"seed %1, last %2 of %3 bytes"_s.arg(seed).arg(byteCount).arg(length)));
                QVERIFY(reader.intact());
            }
        }
    }

    // Growing tails on one reader skip what the smaller tail yielded: after each pass, all lines
    // yielded so far are exactly the larger tail's lines. So a reader that stops at the first
    // decisive line decides as if it had read every tail whole.
    void growingTailsYieldEachLineOnce()
    {
        for (int seed = 1; seed <= 600; ++seed) {
            const qint64 chunkSize = std::array { 1, 5, 64 }[seed % 3];
            QRandomGenerator random(seed);
            const QByteArray content = generatedLog(random, 30, 20);
            const QString path = write(content);
            Journal::TailReader reader(path, chunkSize);
            QByteArrayList seen;
            qint64 byteCount = 0;
            while (true) {
                byteCount += 1 + random.bounded(qint64(content.size() / 3 + 1));
                reader.setTail(byteCount);
                seen += drain(reader);
                if (seen != reversedTail(path, byteCount))
                    QFAIL(qPrintable(u"seed %1, tail of %2 bytes"_s.arg(seed).arg(byteCount)));
                if (reader.complete())
                    break;
            }
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
        QTest::addRow("emptied") << qint64(0) << false;
    }
    void fileChangesWhileRead()
    {
        QFETCH(qint64, newLength);
        QFETCH(bool, intact);
        QByteArrayList written;
        for (int i = 0; i < 400; ++i)
            written.append("line " + QByteArray::number(i));
        const QString path = write(lines(written));
        const QByteArrayList whole = reversedTail(path, Journal::tailSizes[0]);

        Journal::TailReader reader(path, 64);
        reader.setTail(Journal::tailSizes[0]);
        QByteArrayList got;
        for (int i = 0; i < 10; ++i)
            got.append(reader.next()->toByteArray());
        QFile file(path);
        if (newLength < 0) {
            QVERIFY(file.open(QIODevice::Append));
            file.write("appended\n");
        } else {
            QVERIFY(file.resize(newLength));
        }
        file.close();
        got += drain(reader);
        QCOMPARE(reader.intact(), intact);
        if (intact)
            QCOMPARE(got, whole);
        else
            QVERIFY(got.size() < whole.size() && got == whole.first(got.size()));
        reader.setTail(Journal::tailSizes[1]);
        QCOMPARE(reader.next().has_value(), false);
    }

    void claudeWindow_data()
    {
        QTest::addColumn<OptionalText>("model");
        QTest::addColumn<qint64>("window");
        QTest::addRow("no model") << OptionalText() << qint64(1'000'000);
        QTest::addRow("opus 4.7") << OptionalText(u"claude-opus-4-7"_s) << qint64(1'000'000);
        QTest::addRow("a 1M marker") << OptionalText(u"claude-sonnet-4-5[1m]"_s) << qint64(1'000'000);
        for (const char *model :
            { "claude-fable", "claude-mythos-1", "claude-opus-5", "claude-sonnet-5-20260101", "claude-opus-4-6", "claude-opus-4-8", "claude-sonnet-4-6" })
            QTest::addRow("%s", model) << OptionalText(QString::fromLatin1(model)) << qint64(1'000'000);
        QTest::addRow("sonnet 4.5") << OptionalText(u"claude-sonnet-4-5"_s) << qint64(200'000);
        QTest::addRow("matching is case-sensitive") << OptionalText(u"Claude-Opus-4-6"_s) << qint64(200'000);
        QTest::addRow("an upper-case marker is not the 1M marker") << OptionalText(u"claude-sonnet-4-5[1M]"_s) << qint64(200'000);
    }
    void claudeWindow()
    {
        QFETCH(OptionalText, model);
        QTEST(Journal::claudeWindow(model), "window");
    }

private:
    QString write(const QByteArray &content)
    {
        QFile file(m_dir.filePath(u"log-%1.jsonl"_s.arg(++m_files)));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write a test log");
        return file.fileName();
    }

    QTemporaryDir m_dir;
    int m_files = 0;
};

QTEST_GUILESS_MAIN(TestJournal)
#include "tst_journal.moc"

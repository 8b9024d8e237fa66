// Feeds arbitrary bytes to the log readers as a log file and checks what they promise: they
// never crash, the Claude reader never states a window, the Codex reader never names a model,
// the tail reader hands out non-empty lines without newlines that lie inside its buffer, and the
// backward reader, in tiny chunks, yields the same lines newest first.
#include "../taillines.h"
#include "journal.h"
#include "tailreader.h"

#include <QByteArrayList>
#include <QFile>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

using namespace Qt::StringLiterals;

namespace
{
void require(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "journal_fuzz: broken promise: %s\n", what);
        std::abort();
    }
}

void checkTail(const QString &path, qint64 fileSize, qint64 byteCount)
{
    const std::optional<TestSupport::Tail> tail = TestSupport::tailLines(path, byteCount);
    require(tail.has_value(), "a readable file gives a tail");
    require(tail->complete == (fileSize <= byteCount), "complete exactly when the whole file is in view");
    require(tail->bytes.size() == std::min(fileSize, byteCount), "the tail holds the last byteCount bytes");
    const char *const begin = tail->bytes.constData();
    const char *const end = begin + tail->bytes.size();
    const char *previousEnd = begin;
    for (const QByteArrayView line : tail->lines) {
        require(!line.isEmpty(), "no empty lines");
        require(!line.contains('\n'), "no newline inside a line");
        require(line.data() >= previousEnd && line.data() + line.size() <= end, "lines lie in the buffer, oldest first");
        previousEnd = line.data() + line.size();
    }
    if (!tail->complete && !tail->lines.isEmpty())
        require(tail->lines.constFirst().data() > begin, "a partial tail never starts with its first byte");
}

/// One backward reader taken through a growing series of tails: after each pass, everything it
/// yielded so far is that tail's lines, newest first.
void checkBackwardReader(const QString &path, qint64 chunkSize, std::initializer_list<qint64> byteCounts)
{
    Journal::TailReader reader(path, chunkSize);
    require(reader.isOpen(), "the backward reader opens a readable file");
    QByteArrayList seen;
    for (const qint64 byteCount : byteCounts) {
        reader.setTail(byteCount);
        while (const std::optional<QByteArrayView> line = reader.next())
            seen.append(line->toByteArray());
        require(reader.intact(), "a file that does not change reads intact");
        const std::optional<TestSupport::Tail> tail = TestSupport::tailLines(path, byteCount);
        require(tail && seen.size() == tail->lines.size(), "the backward reader yields as many lines as tailLines");
        for (qsizetype i = 0; i < seen.size(); ++i)
            require(seen.at(i) == tail->lines.at(tail->lines.size() - 1 - i), "the backward reader yields tailLines' lines newest first");
        if (reader.complete())
            break;
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static QTemporaryDir dir;
    static const QString path = dir.filePath(u"fuzz.jsonl"_s);
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return 0;
        file.write(reinterpret_cast<const char *>(data), static_cast<qint64>(size));
    }
    const auto fileSize = static_cast<qint64>(size);

    for (const qint64 byteCount : { qint64(0), qint64(1), qint64(7), qint64(64), qint64(4096) })
        checkTail(path, fileSize, byteCount);
    for (const qint64 byteCount : Journal::tailSizes)
        checkTail(path, fileSize, byteCount);
    for (const qint64 byteCount : { qint64(0), qint64(1), qint64(7), qint64(64), qint64(4096) })
        checkBackwardReader(path, 5, { byteCount });
    checkBackwardReader(path, 3, { 1, 7, 64, 4096, Journal::tailSizes[0] });

    const Journal::Reading claude = Journal::claude(path);
    require(!claude.window, "a Claude reading has no window");
    require(!claude.tokens || *claude.tokens != 0, "a zero sum never decides");
    require(!claude.model || *claude.model != u"<synthetic>"_s, "synthetic replies are skipped");
    require(claude.tokens || !claude.model, "a model comes only with tokens");

    const std::optional<QString> cwd = Journal::headCwd(path);
    require(!cwd || !cwd->contains(u'"'), "a head cwd stops at the first quote");
    const Journal::Reading codex = Journal::codex(path);
    require(!codex.model, "a Codex reading has no model");
    require(codex.cwd == cwd, "the Codex cwd is the head's");
    require(codex.tokens || !codex.window, "a window comes only with tokens");
    return 0;
}

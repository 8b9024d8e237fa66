// Feeds arbitrary bytes to the log readers as a log file and checks what they promise: they
// never crash, the Claude reader never states a window, the Codex reader never names a model, and
// the backward reader, in tiny chunks, yields the whole-tail reader's lines newest first. The same bytes, read as a
// file name, turn into text that leads back to them and shows without lone surrogates.
#include "../taillines.h"
#include "journal.h"
#include "logfile.h"
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

void checkName(QByteArrayView bytes)
{
    const QString text = LogFile::pathFromNative(bytes);
    require(LogFile::nativePath(text) == bytes, "a name's text leads back to its bytes");
    if (bytes.isValidUtf8())
        require(text == QString::fromUtf8(bytes), "a UTF-8 name's text is the usual one");
    const QString shown = LogFile::displayText(text);
    require(shown.size() == text.size() && QString::fromUtf8(shown.toUtf8()) == shown, "a name shows without lone surrogates");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    checkName(QByteArrayView(reinterpret_cast<const char *>(data), qsizetype(size)));
    static QTemporaryDir dir;
    static const QString path = dir.filePath(u"fuzz.jsonl"_s);
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            return 0;
        file.write(reinterpret_cast<const char *>(data), static_cast<qint64>(size));
    }

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

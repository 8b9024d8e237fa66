// Feeds arbitrary bytes to the log readers as a log file and checks what they promise: they
// never crash, the Claude reader never states a window, the Codex reader never names a model.
// The same bytes, read as a file name, turn into text that leads back to them and shows without
// lone surrogates.
#include "journal.h"
#include "logfile.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

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

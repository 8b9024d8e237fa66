#include "logfile.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace LogFile
{
namespace
{
constexpr char16_t escapeBase = 0xDC00; // a stray byte b is written as escapeBase + b, b ≥ 0x80

bool isContinuation(unsigned char byte)
{
    return (byte & 0xC0) == 0x80;
}

/// The length of the valid UTF-8 sequence at `at`, or 0. Strict: no overlong forms, no encoded
/// surrogates, nothing past U+10FFFF.
qsizetype sequenceLength(QByteArrayView bytes, qsizetype at)
{
    const auto byte = [&](qsizetype i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = byte(at);
    const qsizetype left = bytes.size() - at;
    if (lead < 0x80)
        return 1;
    if (lead >= 0xC2 && lead <= 0xDF)
        return left >= 2 && isContinuation(byte(at + 1)) ? 2 : 0;
    if (lead >= 0xE0 && lead <= 0xEF) {
        if (left < 3 || !isContinuation(byte(at + 1)) || !isContinuation(byte(at + 2)))
            return 0;
        if ((lead == 0xE0 && byte(at + 1) < 0xA0) || (lead == 0xED && byte(at + 1) >= 0xA0))
            return 0;
        return 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        if (left < 4 || !isContinuation(byte(at + 1)) || !isContinuation(byte(at + 2)) || !isContinuation(byte(at + 3)))
            return 0;
        if ((lead == 0xF0 && byte(at + 1) < 0x90) || (lead == 0xF4 && byte(at + 1) >= 0x90))
            return 0;
        return 4;
    }
    return 0;
}

bool isEscape(char16_t c)
{
    return c >= escapeBase + 0x80 && c <= escapeBase + 0xFF;
}

QDateTime utcTime(const statx_timestamp &time)
{
    return QDateTime::fromMSecsSinceEpoch(qint64(time.tv_sec) * 1000 + time.tv_nsec / 1'000'000, Qt::UTC);
}
} // namespace

QString pathFromNative(QByteArrayView native)
{
    QString text;
    text.reserve(native.size());
    qsizetype at = 0;
    while (at < native.size()) {
        qsizetype valid = at;
        while (valid < native.size()) {
            const qsizetype length = sequenceLength(native, valid);
            if (length == 0)
                break;
            valid += length;
        }
        text += QString::fromUtf8(native.sliced(at, valid - at));
        if (valid < native.size()) {
            text += QChar(char16_t(escapeBase + static_cast<unsigned char>(native[valid])));
            ++valid;
        }
        at = valid;
    }
    return text;
}

QByteArray nativePath(QStringView path)
{
    QByteArray bytes;
    bytes.reserve(path.size());
    qsizetype at = 0;
    while (at < path.size()) {
        qsizetype plain = at;
        while (plain < path.size() && !(isEscape(path[plain].unicode()) && (plain == 0 || !path[plain - 1].isHighSurrogate())))
            ++plain;
        bytes += path.sliced(at, plain - at).toUtf8();
        if (plain < path.size())
            bytes += char(path[plain].unicode() - escapeBase);
        at = plain + 1;
    }
    return bytes;
}

QString displayText(QStringView path)
{
    QString text = path.toString();
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate())
            ++i;
        else if (c.isSurrogate())
            text[i] = QChar::ReplacementCharacter;
    }
    return text;
}

std::optional<Status> status(QStringView path)
{
    struct statx info {
    };
    if (::statx(AT_FDCWD, nativePath(path).constData(), 0, STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_BTIME, &info) != 0)
        return std::nullopt;
    if (!(info.stx_mask & STATX_MTIME) || !(info.stx_mask & STATX_SIZE))
        return std::nullopt;
    Status result;
    result.regular = S_ISREG(info.stx_mode);
    result.size = qint64(info.stx_size);
    result.modified = utcTime(info.stx_mtime);
    if (info.stx_mask & STATX_BTIME)
        result.born = utcTime(info.stx_btime);
    return result;
}

Descriptor::~Descriptor()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

Descriptor::Descriptor(Descriptor &&other) noexcept
    : m_fd(std::exchange(other.m_fd, -1))
    , m_length(other.m_length)
{
}

Descriptor &Descriptor::operator=(Descriptor &&other) noexcept
{
    if (this != &other) {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = std::exchange(other.m_fd, -1);
        m_length = other.m_length;
    }
    return *this;
}

qint64 Descriptor::readAt(char *buffer, qint64 count, qint64 offset) const
{
    qint64 done = 0;
    while (done < count) {
        const ssize_t got = ::pread(m_fd, buffer + done, size_t(count - done), off_t(offset + done));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return -1;
        if (got == 0)
            break;
        done += got;
    }
    return done;
}

Descriptor open(QStringView path)
{
    Descriptor file;
    // Non-blocking so that opening a FIFO returns at once; the flag means nothing for the regular
    // files that are kept.
    const int fd = ::open(nativePath(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd < 0)
        return file;
    file.m_fd = fd;
    struct stat info {
    };
    if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode))
        return Descriptor();
    file.m_length = qint64(info.st_size);
    return file;
}
} // namespace LogFile

#include "tailreader.h"

#include <algorithm>
#include <cstring>

namespace Journal
{
namespace
{
/// Index of the last '\n' in buffer[from, to), or -1.
qint64 lastNewline(const char *buffer, qint64 from, qint64 to)
{
    if (to <= from)
        return -1;
#if defined(__GLIBC__)
    const void *found = memrchr(buffer + from, '\n', size_t(to - from));
    return found ? static_cast<const char *>(found) - buffer : -1;
#else
    for (qint64 at = to - 1; at >= from; --at) {
        if (buffer[at] == '\n')
            return at;
    }
    return -1;
#endif
}
} // namespace

TailReader::TailReader(const QString &path, qint64 chunkSize)
    : m_file(LogFile::open(path))
    , m_chunkSize(std::max<qint64>(chunkSize, 1))
    , m_length(m_file.length())
    , m_open(m_file.isOpen())
{
}

void TailReader::setTail(qint64 byteCount)
{
    const qint64 regionStart = m_length - std::clamp<qint64>(byteCount, 0, m_length);
    // The last pass ran out at its region's start, and what it had not handed out (the piece it
    // dropped, and the blank lines before it) is still in the buffer: reach further back from there.
    if (m_passDone && m_intact && m_regionStart > 0 && regionStart < m_regionStart) {
        m_regionStart = regionStart;
        m_passDone = false;
        return;
    }
    // After a finished pass over the whole file nothing is left; after one that was stopped early
    // nothing is known to be examined.
    const qint64 end = !m_passDone ? m_length : m_regionStart == 0 ? 0 : m_unexaminedEnd;
    m_regionStart = regionStart;
    const qint64 regionEnd = std::max(end, m_regionStart);
    m_unexaminedEnd = regionEnd;
    m_dataFileStart = regionEnd;
    m_dataBegin = m_capacity;
    m_cursor = m_capacity;
    m_newlineFreeFrom = regionEnd;
    m_passDone = !m_intact;
}

std::optional<QByteArrayView> TailReader::next()
{
    while (!m_passDone) {
        const char *const buffer = m_buffer.get();
        const bool moreToRead = m_dataFileStart > m_regionStart;
        // Bytes from m_newlineFreeFrom on were searched already: a line longer than a chunk is
        // searched once, not again after every refill.
        const qint64 searchEnd = m_newlineFreeFrom >= fileOffset(m_cursor) ? m_cursor : m_dataBegin + (m_newlineFreeFrom - m_dataFileStart);
        const qint64 newline = lastNewline(buffer, m_dataBegin, searchEnd);
        if (newline < 0)
            m_newlineFreeFrom = m_dataFileStart;
        if (newline >= 0) {
            if (newline + 1 == m_cursor) {
                m_cursor = newline;
                continue;
            }
            // A line with a newline before it is not the region's first piece, but it is still the
            // one to drop when only newlines lie between it and the region's start. When the
            // buffer holds nothing but newlines before it, read further back before deciding.
            bool olderText = m_regionStart == 0;
            for (qint64 at = newline - 1; !olderText && at >= m_dataBegin; --at)
                olderText = buffer[at] != '\n';
            if (olderText) {
                const QByteArrayView line(buffer + newline + 1, m_cursor - newline - 1);
                m_cursor = newline;
                return line;
            }
            if (moreToRead) {
                refill();
                continue;
            }
            m_unexaminedEnd = fileOffset(m_cursor);
            m_passDone = true;
            break;
        }
        if (moreToRead) {
            refill();
            continue;
        }
        // What is left reaches back to the region's start: its first piece.
        m_passDone = true;
        if (m_cursor == m_dataBegin)
            break;
        if (m_regionStart == 0)
            return QByteArrayView(buffer + m_dataBegin, m_cursor - m_dataBegin);
        m_unexaminedEnd = fileOffset(m_cursor);
    }
    return std::nullopt;
}

void TailReader::refill()
{
    const qint64 carry = m_cursor - m_dataBegin;
    const qint64 want = std::min(m_chunkSize, m_dataFileStart - m_regionStart);
    reserve(carry, want);
    const qint64 count = std::min(want, m_capacity - carry);
    const qint64 at = m_dataFileStart - count;
    char *const target = m_buffer.get() + (m_capacity - carry - count);
    // A short read means the file shrank under us: what it would have held is gone, so the data
    // ends here rather than being pieced together from two versions of the file.
    if (m_file.readAt(target, count, at) != count) {
        m_intact = false;
        m_passDone = true;
        return;
    }
    m_dataBegin = m_capacity - carry - count;
    m_cursor = m_capacity;
    m_dataFileStart = at;
}

/// Makes room for `count` more bytes in front of the `carry` unfinished bytes and moves those to
/// the buffer's end. The buffer grows only for a line longer than about half a chunk, doubling so
/// that a many-MiB line costs linear time, and never beyond what the region can still hold.
void TailReader::reserve(qint64 carry, qint64 count)
{
    const qint64 least = std::min(count, std::max<qint64>(m_chunkSize / 2, 1));
    if (m_capacity - carry >= least) {
        if (carry > 0 && m_cursor != m_capacity)
            std::memmove(m_buffer.get() + m_capacity - carry, m_buffer.get() + m_dataBegin, size_t(carry));
        return;
    }
    const qint64 regionLeft = carry + (m_dataFileStart - m_regionStart);
    const qint64 capacity = std::min(std::max(carry + count, 2 * m_capacity), regionLeft);
    auto grown = std::make_unique_for_overwrite<char[]>(size_t(capacity));
    if (carry > 0)
        std::memcpy(grown.get() + capacity - carry, m_buffer.get() + m_dataBegin, size_t(carry));
    m_buffer = std::move(grown);
    m_capacity = capacity;
}
} // namespace Journal

#pragma once

#include <QByteArrayView>
#include <QFile>
#include <QString>

#include <memory>
#include <optional>

namespace Journal
{
/// Reads the lines at the end of a file newest first, walking backwards in fixed-size chunks
/// through one reused buffer. A log with no decisive record near its end is read 32 MiB deep;
/// a buffer of that size would cost thousands of fresh pages per call, a chunk costs a few.
///
/// Lines are split at '\n', empty pieces dropped, '\r'
/// kept, and the oldest piece dropped when the region starts past offset 0 (it may be the
/// cut-off end of an older line). Plain reads, never a mapping: a log truncated while mapped
/// would raise SIGBUS. The file's length is taken once, when it is opened; a read that comes
/// back short (the file shrank) ends the data.
class TailReader
{
public:
    static constexpr qint64 defaultChunkSize = 262'144;

    explicit TailReader(const QString &path, qint64 chunkSize = defaultChunkSize);

    /// False when the file could not be opened; nothing is yielded then.
    bool isOpen() const { return m_open; }
    /// The file's length when it was opened.
    qint64 length() const { return m_length; }

    /// Starts a pass over the last `byteCount` bytes. When the previous pass ran to its end, the
    /// lines it yielded are not yielded again: the pass goes on from the line it dropped, so a
    /// growing series of tails reads each byte about once.
    void setTail(qint64 byteCount);
    /// The next older line of the pass, without its newline; valid until the next call.
    /// Absent when the pass is over.
    std::optional<QByteArrayView> next();

    /// The current pass starts at offset 0: it covers the whole file.
    bool complete() const { return m_regionStart == 0; }
    /// No read has failed or come back short; when false, nothing more is yielded.
    bool intact() const { return m_intact; }

private:
    void refill();
    void reserve(qint64 carry, qint64 count);
    qint64 fileOffset(qint64 index) const { return m_dataFileStart + (index - m_dataBegin); }

    QFile m_file;
    qint64 m_chunkSize;
    qint64 m_length = 0;
    bool m_open = false;
    bool m_intact = true;

    // The buffer holds file bytes [m_dataFileStart, …) at [m_dataBegin, m_capacity). Lines at or
    // past m_cursor were handled; bytes before it are the unfinished line and its older neighbours.
    std::unique_ptr<char[]> m_buffer;
    qint64 m_capacity = 0;
    qint64 m_dataBegin = 0;
    qint64 m_cursor = 0;
    qint64 m_dataFileStart = 0;

    qint64 m_regionStart = 0;
    bool m_passDone = false;
    /// Where the next pass may end: the end of the line this pass dropped, or its region's end.
    qint64 m_unexaminedEnd = 0;
};
} // namespace Journal

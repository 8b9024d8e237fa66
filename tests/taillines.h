#pragma once

// The whole-tail reader the backward reader is checked against: it reads the last bytes of a log at
// once and splits them into lines, the simplest way to be right.

#include <QByteArray>
#include <QByteArrayView>
#include <QFile>
#include <QList>

#include <cstring>
#include <optional>

namespace TestSupport
{
struct Tail {
    QByteArray bytes; ///< the bytes read; `lines` point into it
    QList<QByteArrayView> lines; ///< oldest first, without newlines, no empty lines
    bool complete = false; ///< the whole file was read
};

/// The last `byteCount` bytes of a file split into lines; the first line is dropped when the
/// read started past offset 0. Absent when the file cannot be opened, positioned or read.
inline std::optional<Tail> tailLines(const QString &path, qint64 byteCount)
{
    if (byteCount < 0)
        return std::nullopt;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return std::nullopt;
    const qint64 length = file.size();
    const qint64 start = length > byteCount ? length - byteCount : 0;
    if (!file.seek(start))
        return std::nullopt;

    Tail tail;
    tail.bytes.resize(length - start);
    const qint64 got = length > start ? file.read(tail.bytes.data(), length - start) : 0;
    if (got < 0)
        return std::nullopt;
    tail.bytes.truncate(got);
    tail.complete = start == 0;

    const char *const begin = tail.bytes.constData();
    const char *const end = begin + tail.bytes.size();
    const char *cursor = begin;
    bool dropFirst = start > 0; // the first line may be the cut-off end of an older one
    while (cursor < end) {
        const void *found = std::memchr(cursor, '\n', static_cast<size_t>(end - cursor));
        const char *const lineEnd = found ? static_cast<const char *>(found) : end;
        if (lineEnd > cursor) {
            if (dropFirst)
                dropFirst = false;
            else
                tail.lines.append(QByteArrayView(cursor, lineEnd - cursor));
        }
        cursor = lineEnd + 1;
    }
    return tail;
}
} // namespace TestSupport

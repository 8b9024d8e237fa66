#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QDateTime>
#include <QString>
#include <QStringView>

#include <optional>

/// How the log readers name, examine and open a log file.
///
/// A file name is a string of bytes, and the system hands out names that are not UTF-8 (a folder
/// named in Latin-1, a mangled download). Sessions are identified by their path as text, so the
/// text must lead back to the very same bytes: valid UTF-8 decodes as usual, and each byte that is
/// not part of a valid sequence becomes the lone surrogate U+DC80…U+DCFF. Valid UTF-8 never decodes
/// to a lone surrogate, so no two names share a text, and an ordinary name's text is unchanged.
/// Such text is only for looking up and reopening; `displayText` makes it fit to show.
namespace LogFile
{
/// A name as the system gave it, as text that `nativePath` turns back into the same bytes.
QString pathFromNative(QByteArrayView native);
/// The bytes of a name made by `pathFromNative`; any other text as UTF-8.
QByteArray nativePath(QStringView path);
/// The text to show for a name: a byte that was not UTF-8 is shown as U+FFFD.
QString displayText(QStringView path);

/// What one look at a file's inode tells, without opening it.
struct Status {
    bool regular = false;
    qint64 size = 0;
    QDateTime modified; ///< UTC, millisecond precision
    QDateTime born; ///< UTC; invalid where the file system keeps no creation time
};
/// The file's status, following symbolic links; absent when it cannot be examined.
std::optional<Status> status(QStringView path);

/// An open log: the descriptor and the length the file had when it was opened. Closed on destruction.
class Descriptor
{
public:
    Descriptor() = default;
    ~Descriptor();
    Descriptor(Descriptor &&other) noexcept;
    Descriptor &operator=(Descriptor &&other) noexcept;
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    bool isOpen() const { return m_fd >= 0; }
    qint64 length() const { return m_length; }
    /// Reads up to `count` bytes at `offset`, retrying short reads; fewer only at the end of the
    /// file, -1 when the read fails.
    qint64 readAt(char *buffer, qint64 count, qint64 offset) const;

private:
    friend Descriptor open(QStringView path);
    int m_fd = -1;
    qint64 m_length = 0;
};

/// Opens a log for reading without ever waiting: a FIFO or a device is refused at once (a FIFO
/// without a writer would hold a blocking open forever), and so is anything that is not a regular
/// file once open, which also catches a log swapped for something else after it was listed.
Descriptor open(QStringView path);
} // namespace LogFile

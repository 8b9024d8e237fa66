#include "systemlog.h"

#include "appinfo.h"

#include <mutex>

#include <syslog.h>

using namespace Qt::StringLiterals;

namespace
{
std::mutex sinkMutex;
SystemLog::Capture::Sink *activeSink = nullptr;
} // namespace

namespace SystemLog
{
void write(QStringView category, const QString &message)
{
    {
        const std::lock_guard lock(sinkMutex);
        if (activeSink) {
            (*activeSink)(category.toString(), message);
            return;
        }
    }
    // The ident must outlive every syslog() call, so it is kept for the life of the process.
    static const QByteArray ident = AppInfo::id.toUtf8();
    static std::once_flag opened;
    std::call_once(opened, [] { openlog(ident.constData(), LOG_PID, LOG_USER); });
    const QByteArray line = (category.toString() + u": "_s + message).toUtf8();
    syslog(LOG_NOTICE, "%s", line.constData());
}

Capture::Capture(Sink sink)
{
    const std::lock_guard lock(sinkMutex);
    activeSink = new Sink(std::move(sink));
}

Capture::~Capture()
{
    const std::lock_guard lock(sinkMutex);
    delete activeSink;
    activeSink = nullptr;
}
} // namespace SystemLog

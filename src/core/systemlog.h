#pragma once

#include <QString>
#include <QStringView>

#include <functional>

/// The one place that writes to the system log: syslog(3) under the application id.
namespace SystemLog
{
/// Writes one line under `category` (e.g. "journals").
void write(QStringView category, const QString &message);

/// Receives every line instead of the system log while it is alive; for tests.
class Capture
{
public:
    using Sink = std::function<void(const QString &category, const QString &message)>;
    explicit Capture(Sink sink);
    ~Capture();
    Capture(const Capture &) = delete;
    Capture &operator=(const Capture &) = delete;
};
} // namespace SystemLog

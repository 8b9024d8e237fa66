#pragma once

#include <QObject>

class QSocketNotifier;

/// Presses of a pointer button anywhere on the X display (what tells a transient window beside her
/// that the user turned elsewhere), seen through the X input extension's raw
/// events without grabbing the pointer, so each press still reaches its window. Wheel turns do not
/// count. Without the extension it never reports.
class PointerPresses : public QObject
{
    Q_OBJECT

public:
    explicit PointerPresses(QObject *parent = nullptr);
    ~PointerPresses() override;

Q_SIGNALS:
    /// A button went down somewhere; where the pointer is now tells where.
    void pressed();

private:
    void drain();

    struct Connection;
    Connection *m_x = nullptr;
    QSocketNotifier *m_notifier = nullptr;
};

#pragma once

#include <QObject>

#include <initializer_list>
#include <vector>

class QSocketNotifier;

/// Hands POSIX signals to the event loop: the handler only writes the signal's number into a pipe,
/// and `received` is emitted from the loop, where quitting and redrawing are safe. One at a time.
class SignalPipe : public QObject
{
    Q_OBJECT

public:
    explicit SignalPipe(std::initializer_list<int> numbers, QObject *parent = nullptr);
    ~SignalPipe() override;

Q_SIGNALS:
    void received(int number);

private:
    void drain();

    std::vector<int> m_numbers;
    QSocketNotifier *m_notifier = nullptr;
};

#include "signalpipe.h"

#include <QSocketNotifier>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace
{
int pipeFds[2] = { -1, -1 };

extern "C" void onSignal(int number)
{
    const int saved = errno;
    const unsigned char byte = static_cast<unsigned char>(number);
    // A full pipe already holds a wake-up; dropping this byte loses nothing the loop needs.
    [[maybe_unused]] const ssize_t written = ::write(pipeFds[1], &byte, 1);
    errno = saved;
}
} // namespace

SignalPipe::SignalPipe(std::initializer_list<int> numbers, QObject *parent)
    : QObject(parent)
    , m_numbers(numbers)
{
    if (::pipe2(pipeFds, O_CLOEXEC | O_NONBLOCK) != 0)
        qFatal("cannot make the signal pipe");
    m_notifier = new QSocketNotifier(pipeFds[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &SignalPipe::drain);
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int number : m_numbers)
        ::sigaction(number, &action, nullptr);
}

SignalPipe::~SignalPipe()
{
    for (const int number : m_numbers)
        std::signal(number, SIG_DFL);
    delete m_notifier;
    ::close(pipeFds[0]);
    ::close(pipeFds[1]);
    pipeFds[0] = pipeFds[1] = -1;
}

void SignalPipe::drain()
{
    unsigned char bytes[64];
    ssize_t count = 0;
    while ((count = ::read(pipeFds[0], bytes, sizeof bytes)) > 0) {
        for (ssize_t i = 0; i < count; ++i)
            Q_EMIT received(bytes[i]);
    }
}

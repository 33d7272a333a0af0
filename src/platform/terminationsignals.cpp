#include "platform/terminationsignals.h"

#include <QSocketNotifier>
#include <array>
#include <csignal>

#include <sys/socket.h>
#include <unistd.h>

namespace Nomly {

namespace {

// Written by the handler, read on the main thread; a signal handler may do
// nothing but this.
int wakeUpFds[2] = { -1, -1 };

void forward(int signal)
{
    const unsigned char number = static_cast<unsigned char>(signal);
    [[maybe_unused]] const ssize_t written = ::write(wakeUpFds[0], &number, 1);
}

} // namespace

bool TerminationSignals::install()
{
    if (m_notifier)
        return true;
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, wakeUpFds) != 0)
        return false;
    m_notifier = new QSocketNotifier(wakeUpFds[1], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] {
        unsigned char number = 0;
        while (::read(wakeUpFds[1], &number, 1) == 1)
            emit terminationRequested(number);
    });
    struct sigaction action = {};
    action.sa_handler = forward;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signal : std::array { SIGTERM, SIGINT }) {
        if (::sigaction(signal, &action, nullptr) != 0)
            return false;
    }
    return true;
}

} // namespace Nomly

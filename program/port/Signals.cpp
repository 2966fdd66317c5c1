#include "program/port/Signals.h"

#include <sys/signalfd.h>

namespace {

bool isIgnored(int signal)
{
    struct sigaction action {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

// Blocks the signals. Returns a descriptor that they can be read from.
int hold(std::initializer_list<int> signals, sigset_t& before)
{
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : signals) {
        if (!isIgnored(signal)) {  // would come in all the same
            sigaddset(&held, signal);
        }
    }
    sigprocmask(SIG_BLOCK, &held, &before);
    return signalfd(-1, &held, SFD_NONBLOCK | SFD_CLOEXEC);
}

}  // namespace

Signals::Signals(std::initializer_list<int> signals) : m_descriptor(hold(signals, m_before))
{
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &m_pipe);
}

Signals::~Signals()
{
    sigaction(SIGPIPE, &m_pipe, nullptr);
    sigprocmask(SIG_SETMASK, &m_before, nullptr);
}

int Signals::take() const
{
    signalfd_siginfo info{};
    return read(m_descriptor.number(), &info, sizeof info) == sizeof info
               ? static_cast<int>(info.ssi_signo)
               : 0;
}

#include "program/port/Signals.h"

#include <algorithm>
#include <csignal>
#include <ctime>

namespace {

// A bit for each signal. Changed by the handler, which runs in Signals::poll only.
volatile std::sig_atomic_t caught = 0;

std::sig_atomic_t bitOf(int signal)
{
    return 1 << signal;  // those that are held are below 31
}

void note(int signal)
{
    caught = caught | bitOf(signal);
}

}  // namespace

Signals::Signals(const std::vector<int>& signals)
{
    caught = 0;
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : signals) {
        Former former{signal, {}};
        sigaction(signal, nullptr, &former.action);
        if (former.action.sa_handler != SIG_IGN) {
            m_former.push_back(former);
            sigaddset(&held, signal);
        }
    }
    sigprocmask(SIG_BLOCK, &held, &m_mask);
    struct sigaction action {};
    action.sa_handler = note;
    action.sa_mask = held;
    for (const Former& former : m_former) {
        sigaction(former.signal, &action, nullptr);
    }
}

// A signal that waits is dropped: the program is about to end, and has put everything back.
Signals::~Signals()
{
    poll({}, std::chrono::milliseconds(0));
    for (const Former& former : m_former) {
        sigaction(former.signal, &former.action, nullptr);
    }
    sigprocmask(SIG_SETMASK, &m_mask, nullptr);
}

int Signals::poll(std::span<pollfd> files, std::chrono::milliseconds timeout) const
{
    const auto count = timeout.count();
    const timespec time{count / 1000, count % 1000 * 1'000'000};
    return ppoll(files.data(), files.size(), &time, &m_mask);
}

bool Signals::take(int signal) const
{
    const bool came = (caught & bitOf(signal)) != 0;
    caught = caught & ~bitOf(signal);
    return came;
}

bool Signals::ended() const
{
    return std::ranges::any_of(kEndSignals,
                               [](int signal) { return (caught & bitOf(signal)) != 0; });
}

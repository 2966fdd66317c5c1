// The signals that end the program or tell of a new window size, as something to read in place of
// their effect, as long as an object lives. A pipe that nobody reads gives an error in place of
// one.
#pragma once

#include <csignal>

#include <sys/signalfd.h>
#include <unistd.h>

class Signals {
public:
    Signals()
    {
        sigemptyset(&m_set);
        for (const int signal : {SIGINT, SIGTERM, SIGQUIT, SIGWINCH}) {
            sigaddset(&m_set, signal);
        }
        struct sigaction hangup {};
        sigaction(SIGHUP, nullptr, &hangup);
        if (hangup.sa_handler != SIG_IGN) {  // as nohup sets it
            sigaddset(&m_set, SIGHUP);
        }
        sigprocmask(SIG_BLOCK, &m_set, &m_before);
        m_descriptor = signalfd(-1, &m_set, SFD_NONBLOCK | SFD_CLOEXEC);
        std::signal(SIGPIPE, SIG_IGN);
    }
    ~Signals()
    {
        close(m_descriptor);
        sigprocmask(SIG_SETMASK, &m_before, nullptr);
    }
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    int descriptor() const { return m_descriptor; }

    // The next signal; 0 if there is none.
    int take() const
    {
        signalfd_siginfo info{};
        return ::read(m_descriptor, &info, sizeof info) == sizeof info
                   ? static_cast<int>(info.ssi_signo)
                   : 0;
    }

private:
    sigset_t m_set{};
    sigset_t m_before{};
    int m_descriptor;
};

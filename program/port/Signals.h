// Signals that would end the program, held back so that a port or terminal can be put back first.
#pragma once

#include <chrono>
#include <span>
#include <vector>

#include <poll.h>
#include <signal.h>

// SIGPIPE, too: the standard error may be a pipe whose reader is gone.
inline const std::vector<int> kEndSignals{SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGPIPE};

// One at a time in a process.
class Signals {
public:
    // Holds the signals back, but leaves those ignored that are ignored, as below nohup.
    explicit Signals(const std::vector<int>& signals);
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    // As poll(2); held signals come in here only, and end it with -1 and EINTR.
    int poll(std::span<pollfd> files, std::chrono::milliseconds timeout) const;

    // Whether the signal has come in since this was last asked.
    bool take(int signal) const;

    // Whether one of kEndSignals has come in.
    bool ended() const;

private:
    struct Former {
        int signal;
        struct sigaction action;
    };

    sigset_t m_mask{};
    std::vector<Former> m_former;
};

// Signals that would end the program, held back so that a port or terminal can be put back first.
#pragma once

#include "program/port/Descriptor.h"

#include <initializer_list>

#include <signal.h>

inline constexpr std::initializer_list<int> kEndSignals{SIGHUP, SIGINT, SIGQUIT, SIGTERM};

class Signals {
public:
    // Holds the signals back, except those that are ignored, as SIGHUP is below nohup; and ignores
    // SIGPIPE, as messages may go to a pipe whose reader is gone.
    explicit Signals(std::initializer_list<int> signals);
    // A signal that waits then takes effect.
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    // For poll(): readable while a signal waits.
    int descriptor() const { return m_descriptor.number(); }

    // The next signal; 0 if there is none.
    int take() const;

private:
    sigset_t m_before{};
    struct sigaction m_pipe {};
    Descriptor m_descriptor;
};

// The pseudo-terminal that a till opens like a serial port.
#pragma once

#include <cstddef>
#include <string>

#include <sys/types.h>

class PseudoTerminal {
public:
    // Opens a new one. It is raw, so what is written to it comes as it was written, and it stays
    // open whatever the tills do. Throws std::system_error.
    PseudoTerminal();
    // Takes the link away, if it is still the one that was made.
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal&) = delete;
    PseudoTerminal& operator=(const PseudoTerminal&) = delete;

    // "/dev/pts/5".
    const std::string& name() const { return m_name; }

    // Makes a symbolic link to it. What has the path already stays, and std::runtime_error says
    // what it is; only a link to a pseudo-terminal that is gone, such as a killed emulator leaves,
    // or to this one is replaced. Call it once at most.
    void link(const std::string& path);
    void unlink();

    // Readable when there is something for read().
    int descriptor() const { return m_master; }
    // Returns what tills have written, `most` bytes of it at most; "" if there is nothing now.
    std::string read(std::size_t most);
    // Whether a till has thrown away, since the last call, what it had written and was not read.
    bool takeFlush();
    // Whether a till has switched on the output processing of terminals, which changes bytes.
    bool changesBytes() const;

    // Readable when a till has closed the terminal; -1 if the system does not tell.
    int watchDescriptor() const { return m_watch; }
    // Takes that news, and makes the terminal as it was for the next till: it changes no bytes, is
    // open for everybody and not stopped.
    void watch();

private:
    int m_master;
    int m_slave = -1;
    int m_watch = -1;
    std::string m_name;
    bool m_flushed = false;

    std::string m_link;  // "" if there is none
    dev_t m_linkDevice = 0;
    ino_t m_linkNode = 0;
};

#include "program/emulate/PseudoTerminal.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr char kTerminals[] = "/dev/pts/";

std::system_error failure(const std::string& words)
{
    return {errno, std::generic_category(), words};
}

bool isTerminalName(std::string_view path)
{
    return path.starts_with(kTerminals) &&
           path.find_last_not_of("0123456789") + 1 == std::string_view(kTerminals).size();
}

// What stands at a path, for a message.
std::string whatStandsAt(const std::string& path)
{
    std::error_code error;
    const fs::file_status status = fs::symlink_status(path, error);
    switch (status.type()) {
    case fs::file_type::symlink: {
        const std::string target = fs::read_symlink(path, error).string();
        // Its number is given again once a pseudo-terminal is gone.
        return "a link to " + target + " is there" +
               (isTerminalName(target) ? ", a terminal that is in use; if a killed emulator left "
                                         "the link, remove it"
                                       : "");
    }
    case fs::file_type::directory:
        return "a folder is there";
    case fs::file_type::regular:
        return "a file is there";
    default:
        return "something else is there";
    }
}

// Whether a path is a link to this pseudo-terminal, or to one that is gone.
bool mayReplace(const std::string& path, const std::string& name)
{
    std::error_code error;
    const fs::path target = fs::read_symlink(path, error);
    return !error && (target == name || (isTerminalName(target.native()) &&
                                         !fs::exists(fs::symlink_status(target, error))));
}

}  // namespace

PseudoTerminal::PseudoTerminal()
    : m_master(posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC))
{
    const int packets = 1;  // read() tells of flushes
    char name[64];
    const bool opened = m_master >= 0 && grantpt(m_master) == 0 && unlockpt(m_master) == 0 &&
                        ptsname_r(m_master, name, sizeof name) == 0 &&
                        ioctl(m_master, TIOCPKT, &packets) == 0;
    // While this is open, a till that closes the terminal hangs up nothing.
    m_slave = opened ? open(name, O_RDWR | O_NOCTTY | O_CLOEXEC) : -1;
    if (m_slave < 0) {
        const int reason = errno;
        close(m_master);
        throw std::system_error(reason, std::generic_category(), "cannot open a pseudo-terminal");
    }
    m_name = name;
    termios settings{};
    tcgetattr(m_slave, &settings);
    cfmakeraw(&settings);
    settings.c_cflag |= CLOCAL | CREAD;
    tcsetattr(m_slave, TCSANOW, &settings);
    m_watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_watch >= 0 && inotify_add_watch(m_watch, name, IN_CLOSE) < 0) {
        close(std::exchange(m_watch, -1));
    }
}

PseudoTerminal::~PseudoTerminal()
{
    unlink();
    close(m_slave);
    close(m_master);
    if (m_watch >= 0) {
        close(m_watch);
    }
}

void PseudoTerminal::link(const std::string& path)
{
    const std::string words = "cannot make the link " + path;
    int made = symlink(m_name.c_str(), path.c_str());
    if (made != 0 && errno == EEXIST) {
        if (!mayReplace(path, m_name)) {
            throw std::runtime_error(words + ": " + whatStandsAt(path));
        }
        ::unlink(path.c_str());
        made = symlink(m_name.c_str(), path.c_str());
    }
    struct stat status;
    if (made != 0 || lstat(path.c_str(), &status) != 0) {
        throw failure(words);
    }
    m_link = path;
    m_linkDevice = status.st_dev;
    m_linkNode = status.st_ino;
}

void PseudoTerminal::unlink()
{
    struct stat status;
    if (!m_link.empty() && lstat(m_link.c_str(), &status) == 0 && S_ISLNK(status.st_mode) &&
        status.st_dev == m_linkDevice && status.st_ino == m_linkNode) {
        ::unlink(m_link.c_str());
    }
    m_link.clear();
}

std::string PseudoTerminal::read(std::size_t most)
{
    // Each packet begins with a byte of its own, which is 0 if data follow.
    std::string packet(most + 1, '\0');
    for (;;) {
        const ssize_t count = ::read(m_master, packet.data(), packet.size());
        if (count < 0 && errno != EINTR && errno != EAGAIN) {
            throw failure("cannot read " + m_name);
        }
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return {};
        }
        if (packet[0] == TIOCPKT_DATA) {
            return packet.substr(1, static_cast<std::size_t>(count) - 1);
        }
        m_flushed = m_flushed || (packet[0] & TIOCPKT_FLUSHWRITE) != 0;
    }
}

bool PseudoTerminal::takeFlush()
{
    return std::exchange(m_flushed, false);
}

bool PseudoTerminal::changesBytes() const
{
    termios settings{};
    return tcgetattr(m_slave, &settings) == 0 && (settings.c_oflag & OPOST) != 0 &&
           ((settings.c_oflag & (ONLCR | OCRNL | ONOCR | ONLRET | OLCUC)) != 0 ||
            (settings.c_oflag & TABDLY) == TAB3);
}

void PseudoTerminal::watch()
{
    alignas(inotify_event) char buffer[4096];
    while (::read(m_watch, buffer, sizeof buffer) > 0) {
    }
    ioctl(m_slave, TIOCNXCL);
    tcflow(m_slave, TCOON);
    termios settings{};
    if (tcgetattr(m_slave, &settings) == 0 && (settings.c_oflag & OPOST) != 0) {
        settings.c_oflag &= ~static_cast<tcflag_t>(OPOST);
        tcsetattr(m_slave, TCSANOW, &settings);
    }
}

// The kernel's own calls: tcsetattr cannot put back a speed that is none of the usual ones, and
// takes a pseudo-terminal without parity for a failure.
#include "program/port/SerialPort.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include <asm/termbits.h>
#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/time.h>

namespace {

using Clock = std::chrono::steady_clock;

struct Speed {
    int bits;
    tcflag_t flag;
};

constexpr Speed kSpeeds[] = {
    {50, B50},           {75, B75},           {110, B110},         {134, B134},
    {150, B150},         {200, B200},         {300, B300},         {600, B600},
    {1200, B1200},       {1800, B1800},       {2400, B2400},       {4800, B4800},
    {9600, B9600},       {19200, B19200},     {38400, B38400},     {57600, B57600},
    {115200, B115200},   {230400, B230400},   {460800, B460800},   {500000, B500000},
    {576000, B576000},   {921600, B921600},   {1000000, B1000000}, {1152000, B1152000},
    {1500000, B1500000}, {2000000, B2000000}, {2500000, B2500000}, {3000000, B3000000},
    {3500000, B3500000}, {4000000, B4000000},
};

constexpr unsigned char kStart = 0x11;  // XON
constexpr unsigned char kStop = 0x13;   // XOFF

// How often a wait looks for progress.
constexpr std::chrono::milliseconds kTick{100};

[[noreturn]] void fail(const std::string& words)
{
    throw std::runtime_error(words);
}

std::string reason(int error)
{
    return std::generic_category().message(error);
}

// A pseudo-terminal has no line: its data bits and parity are fixed.
bool isPseudoTerminal(const struct stat& status)
{
    constexpr unsigned kFirstMajor = 136;  // of the sixteen that its devices may have
    constexpr unsigned kLastMajor = 143;
    return major(status.st_rdev) >= kFirstMajor && major(status.st_rdev) <= kLastMajor;
}

std::string notPort(const std::string& path, const std::string& what)
{
    return path + " is not a serial port, but " + what + "; --list shows the ports that there are";
}

// What a file that is no device is.
const char* kindOf(mode_t mode)
{
    return S_ISREG(mode)    ? "a regular file"
           : S_ISDIR(mode)  ? "a folder"
           : S_ISFIFO(mode) ? "a pipe"
           : S_ISSOCK(mode) ? "a socket"
                            : "a block device";
}

std::string permissionFailure(const std::string& path, const struct stat& status)
{
    const std::string words = "no permission to write to " + path + ": the port belongs to ";
    const group* const owners = getgrgid(status.st_gid);
    if (owners != nullptr && status.st_gid != 0 && (status.st_mode & S_IWGRP) != 0) {
        const std::string name = owners->gr_name;
        return words + "group " + name + "; \"sudo adduser $USER " + name +
               "\" adds you to it, from your next login on";
    }
    const passwd* const owner = getpwuid(status.st_uid);
    return words + "user " + (owner != nullptr ? owner->pw_name : std::to_string(status.st_uid)) +
           " alone";
}

std::string inUse(const std::string& path)
{
    return path + " is in use: another program has it for itself; \"fuser -v " + path +
           "\" tells which";
}

// The device is looked at first, as to open one that is no port could have an effect.
int openPort(const std::string& path)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0) {
        fail(errno == ENOENT || errno == ENOTDIR || errno == ENAMETOOLONG
                 ? "there is no port " + path + "; --list shows the ports that there are"
                 : "cannot open " + path + ": " + reason(errno));
    }
    if (!S_ISCHR(status.st_mode)) {
        fail(notPort(path, kindOf(status.st_mode)));
    }
    const int descriptor = open(path.c_str(), O_WRONLY | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor >= 0) {
        return descriptor;
    }
    switch (errno) {
    case EACCES:
    case EPERM:
        fail(permissionFailure(path, status));
    case EBUSY:
        fail(inUse(path));
    case ENXIO:
    case ENODEV:
    case EIO:
        fail("there is no device at the port " + path);
    default:
        fail("cannot open " + path + ": " + reason(errno));
    }
}

// The settings of a port that changes no byte. IXOFF is never set: by it the port itself would put
// XOFF and XON among the bytes.
termios2 settingsFor(termios2 former, const LineSettings& line, bool hasLine)
{
    termios2 settings = former;
    const bool xonxoff = line.flow == LineSettings::Flow::xonxoff;
    settings.c_iflag = IGNBRK | (xonxoff ? IXON : 0U);
    settings.c_oflag = 0;
    settings.c_lflag = 0;
    settings.c_cc[VSTART] = kStart;
    settings.c_cc[VSTOP] = kStop;
    // CLOCAL: no wait for a modem's carrier.
    settings.c_cflag = (former.c_cflag & HUPCL) | CREAD | CLOCAL |
                       std::ranges::find(kSpeeds, line.speed, &Speed::bits)->flag;
    settings.c_cflag |= line.stopBits == 2 ? CSTOPB : 0U;
    settings.c_cflag |= line.flow == LineSettings::Flow::rtscts ? CRTSCTS : 0U;
    settings.c_cflag |= line.dataBits == 7 && hasLine ? CS7 : CS8;
    if (hasLine && line.parity != LineSettings::Parity::none) {
        settings.c_cflag |= PARENB | (line.parity == LineSettings::Parity::odd ? PARODD : 0U);
    }
    return settings;
}

// A driver tells the speed that the port really has, which may differ by what a line bears.
bool isNear(int wanted, unsigned found)
{
    constexpr int kPart = 50;  // 2 %
    return std::abs(static_cast<long>(found) - wanted) <= wanted / kPart;
}

bool areSame(const termios2& wanted, const termios2& found, int speed)
{
    constexpr tcflag_t kControl = CSIZE | CSTOPB | PARENB | PARODD | CMSPAR | CRTSCTS;
    return wanted.c_iflag == found.c_iflag && wanted.c_oflag == found.c_oflag &&
           wanted.c_lflag == found.c_lflag &&
           (wanted.c_cflag & kControl) == (found.c_cflag & kControl) &&
           isNear(speed, found.c_ospeed);
}

// The bytes that wait in the machine. A pseudo-terminal has none.
std::size_t waitingBytes(int port)
{
    int count = 0;
    return ioctl(port, TIOCOUTQ, &count) == 0 && count > 0 ? static_cast<std::size_t>(count) : 0;
}

void ignoreTick(int) {}

// Interrupts what waits in the kernel, every kTick.
class Ticks {
public:
    Ticks()
    {
        struct sigaction action {};
        action.sa_handler = ignoreTick;
        sigaction(SIGALRM, &action, &m_action);
        const timeval time{0, std::chrono::microseconds(kTick).count()};
        const itimerval timer{time, time};
        setitimer(ITIMER_REAL, &timer, nullptr);
    }
    ~Ticks()
    {
        const itimerval none{};
        setitimer(ITIMER_REAL, &none, nullptr);
        sigaction(SIGALRM, &m_action, nullptr);
    }
    Ticks(const Ticks&) = delete;
    Ticks& operator=(const Ticks&) = delete;

private:
    struct sigaction m_action {};
};

}  // namespace

bool isSpeed(int speed)
{
    return std::ranges::find(kSpeeds, speed, &Speed::bits) != std::end(kSpeeds);
}

std::string speedList()
{
    std::string list;
    for (const Speed& speed : kSpeeds) {
        list += (list.empty() ? "" : ", ") + std::to_string(speed.bits);
    }
    return list;
}

class SerialPort::FormerSettings {
public:
    FormerSettings(int port, const termios2& settings) : m_port(port), m_settings(settings) {}
    ~FormerSettings()
    {
        ioctl(m_port, TCSETS2, &m_settings);
        ioctl(m_port, TIOCNXCL);  // stays with a pseudo-terminal after the close
    }
    FormerSettings(const FormerSettings&) = delete;
    FormerSettings& operator=(const FormerSettings&) = delete;

private:
    int m_port;
    termios2 m_settings;
};

SerialPort::SerialPort(const std::string& path, const LineSettings& settings)
    : m_path(path), m_port(openPort(path))
{
    // An adapter may keep up to a kilobyte that the system does not see.
    constexpr int kHidden = 1024;
    const int bits = 1 + settings.dataBits + settings.stopBits +
                     (settings.parity != LineSettings::Parity::none ? 1 : 0);
    m_slack = std::chrono::milliseconds(1000L * kHidden * bits / settings.speed);

    const int port = m_port.number();
    struct stat status {};
    termios2 former{};
    if (fstat(port, &status) != 0 || ioctl(port, TCGETS2, &former) != 0) {
        fail(errno == ENOTTY ? notPort(path, "another device")
                             : "there is no device at the port " + path);
    }
    if (unsigned number = 0; ioctl(port, TIOCGPTN, &number) == 0) {
        fail(notPort(path, "the maker of pseudo-terminals"));
    }
    if (tcgetpgrp(port) != -1) {
        fail(notPort(path, "the terminal that you work at"));
    }
    // TIOCEXCL keeps out programs that lock nothing, but not the administrator's.
    int exclusive = 0;
    if (flock(port, LOCK_EX | LOCK_NB) != 0 ||
        (ioctl(port, TIOCGEXCL, &exclusive) == 0 && exclusive != 0)) {
        fail(inUse(path));
    }
    m_former = std::make_unique<FormerSettings>(port, former);
    ioctl(port, TIOCEXCL);
    const termios2 wanted = settingsFor(former, settings, !isPseudoTerminal(status));
    termios2 found{};
    if (ioctl(port, TCSETS2, &wanted) != 0 || ioctl(port, TCGETS2, &found) != 0 ||
        !areSame(wanted, found, settings.speed)) {
        fail(path + " cannot have these settings; try another speed, parity or number of bits");
    }
}

SerialPort::~SerialPort() = default;

void SerialPort::send(std::string_view bytes, std::chrono::seconds timeout, const Signals& signals)
{
    const int port = m_port.number();
    std::size_t taken = 0;  // by the system, which may still have some of them
    std::size_t left = 0;   // the machine
    Clock::time_point progress = Clock::now();

    // Bytes that wait would hold up the close. A pseudo-terminal says that it has none, and keeps
    // those that are yet to be read.
    const auto stop = [&](const std::string& why) {
        if (waitingBytes(port) != 0) {
            ioctl(port, TCFLSH, TCOFLUSH);
        }
        fail(m_path + ": " + why + ": " + std::to_string(left) + " of " +
             std::to_string(bytes.size()) + " bytes sent");
    };
    const auto measure = [&] {
        const std::size_t now = taken - std::min(taken, waitingBytes(port));
        if (now > left) {
            left = now;
            progress = Clock::now();
        }
    };
    const auto look = [&] {
        measure();
        if (signals.take() != 0) {
            stop("interrupted");
        }
        if (Clock::now() - progress > timeout + m_slack) {
            stop("not ready, as no byte has left for " + std::to_string(timeout.count()) +
                 " s; is the display on, its cable in, and --flow as it needs it?");
        }
    };
    const auto check = [&](bool done) {
        if (!done && errno != EAGAIN && errno != EINTR) {
            stop("unplugged, or closed at its other end (" + reason(errno) + ")");
        }
    };

    while (taken < bytes.size()) {
        look();
        pollfd files[] = {{port, POLLOUT, 0}, {signals.descriptor(), POLLIN, 0}};
        poll(files, std::size(files), static_cast<int>(kTick.count()));
        if (files[0].revents != 0) {
            const ssize_t count = write(port, bytes.data() + taken, bytes.size() - taken);
            check(count >= 0);
            taken += static_cast<std::size_t>(std::max(count, ssize_t{0}));
        }
    }
    measure();
    const Ticks ticks;
    while (ioctl(port, TCSBRK, 1) != 0) {  // as tcdrain
        check(false);
        look();
    }
}

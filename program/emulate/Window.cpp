#include "program/emulate/Window.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

#include <sys/ioctl.h>
#include <unistd.h>

namespace {

// Another screen, no cursor, no wrap at the right edge; and back.
constexpr std::string_view kEnter = "\x1B[?1049h\x1B[?25l\x1B[?7l\x1B[2J";
constexpr std::string_view kLeave = "\x1B[0m\x1B[?7h\x1B[?25h\x1B[?1049l";

void writeTerminal(std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = write(STDOUT_FILENO, bytes.data(), bytes.size());
        if (count <= 0) {
            return;  // it is gone
        }
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

}  // namespace

WindowSize windowSize()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
        return {};
    }
    return {size.ws_col, size.ws_row};
}

bool isDumbTerminal()
{
    const char* const kind = std::getenv("TERM");
    return kind != nullptr && std::string_view(kind) == "dumb";
}

bool ownsTerminal()
{
    return isatty(STDIN_FILENO) != 0 && tcgetpgrp(STDOUT_FILENO) == getpgrp() && !isDumbTerminal();
}

std::string clipped(std::string_view line, int columns)
{
    std::size_t end = 0;
    for (int count = 0; end < line.size(); ++end) {
        const bool begins = (static_cast<unsigned char>(line[end]) & 0xC0) != 0x80;
        count += begins ? 1 : 0;
        if (count > columns) {
            break;
        }
    }
    return std::string(line.substr(0, end));
}

Window::Window()
{
    tcgetattr(STDIN_FILENO, &m_before);
    termios settings = m_before;
    settings.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    settings.c_iflag &= ~static_cast<tcflag_t>(IXON);  // Ctrl-S would hold up the end, too
    settings.c_cc[VMIN] = 1;
    settings.c_cc[VTIME] = 0;
    settings.c_cc[VSUSP] = _POSIX_VDISABLE;  // a stop would leave the terminal as it is here
    tcsetattr(STDIN_FILENO, TCSANOW, &settings);
    writeTerminal(kEnter);
}

Window::~Window()
{
    writeTerminal(kLeave);
    tcsetattr(STDIN_FILENO, TCSADRAIN, &m_before);
}

std::string Window::redraw(const std::vector<std::string>& lines)
{
    std::string bytes = m_known ? "" : "\x1B[2J";
    const std::size_t count = std::max(lines.size(), m_shown.size());
    m_shown.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        const std::string& line = i < lines.size() ? lines[i] : std::string();
        if (line != m_shown[i]) {
            bytes += "\x1B[" + std::to_string(i + 1) + ";1H\x1B[K" + line;
            m_shown[i] = line;
        }
    }
    m_known = true;
    return bytes;
}

bool Window::asksToEnd()
{
    char keys[256];
    const ssize_t count = read(STDIN_FILENO, keys, sizeof keys);
    if (count <= 0) {
        return count == 0 || (errno != EINTR && errno != EAGAIN);
    }
    return std::string_view(keys, static_cast<std::size_t>(count)).find_first_of("qQ\x03") !=
           std::string_view::npos;
}

void Window::forget()
{
    m_known = false;
    m_shown.clear();
}

std::vector<std::string> arranged(const EmulatorView& view, int displayColumns, WindowSize window)
{
    const int frame = static_cast<int>(view.display.size());
    const int needed = frame + 1;
    std::vector<std::string> lines;
    if (window.columns < displayColumns + 2 || window.rows < needed) {
        lines = {"too small: " + std::to_string(window.columns) + " x " +
                     std::to_string(window.rows),
                 "needed: " + std::to_string(displayColumns + 2) + " x " + std::to_string(needed)};
        lines.resize(static_cast<std::size_t>(std::min(window.rows, 2)));
    } else {
        int room = window.rows - needed;
        if (room > 0) {
            lines.push_back(view.title);
            --room;
        }
        lines.insert(lines.end(), view.display.begin(), view.display.end());
        // The settings get half of the room at most, and the last commands the rest.
        const auto settings = std::min(std::ssize(view.settings), std::ptrdiff_t{room} / 2);
        lines.insert(lines.end(), view.settings.begin(), view.settings.begin() + settings);
        room -= static_cast<int>(settings);
        const auto commands = std::min(std::ssize(view.commands), std::ptrdiff_t{room});
        lines.insert(lines.end(), view.commands.end() - commands, view.commands.end());
        lines.resize(static_cast<std::size_t>(window.rows - 1));
        lines.push_back(view.counters);
    }
    for (std::string& line : lines) {
        const bool isDisplay = std::ranges::find(view.display, line) != view.display.end();
        line = isDisplay ? line : clipped(line, window.columns);
    }
    return lines;
}

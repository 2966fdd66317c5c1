// The terminal that a person works at, as a window that is redrawn in place.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <termios.h>

struct WindowSize {
    int columns = 80;
    int rows = 24;
};

// The size of the terminal at the standard output; the one above if it does not tell.
WindowSize windowSize();

// Whether the terminal shows control sequences as they are, as TERM says.
bool isDumbTerminal();

// Whether the program has a terminal for itself that it can draw in: it reads and writes one, in
// the foreground.
bool ownsTerminal();

// The first characters of a line of UTF-8 without control sequences.
std::string clipped(std::string_view line, int columns);

// Draws in a screen of its own, without a cursor, and reads keys one by one. The end of its life
// gives the terminal back as it was.
class Window {
public:
    Window();
    ~Window();
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;

    // The bytes that make the terminal show these lines, from its top on; "" if it shows them.
    // Lines that are too long are cut by the terminal.
    std::string redraw(const std::vector<std::string>& lines);
    // Reads the keys that have been pressed: whether one is q or Ctrl-C, or the terminal is gone.
    static bool asksToEnd();

    // What is shown is not known any more, as the window has another size.
    void forget();

private:
    termios m_before{};
    std::vector<std::string> m_shown;
    bool m_known = false;
};

// What the window of an emulator shows.
struct EmulatorView {
    std::string title;
    std::vector<std::string> display;   // its frame
    std::vector<std::string> settings;  // what stands below the frame
    std::vector<std::string> commands;  // the last ones, in their order
    std::string counters;
};

// Arranges a view in a window, with as many of the last commands as there is room for. If the
// window is too small for the display and the counters, the lines say so.
std::vector<std::string> arranged(const EmulatorView& view, int displayColumns, WindowSize window);

// A display that carries a command stream out. How it behaves is described in
// docs/display-model.md.
#pragma once

#include "program/display/Screen.h"
#include "program/profile/ProfileTables.h"
#include "program/stream/CommandStream.h"

#include <map>
#include <string_view>
#include <vector>

class VirtualDisplay {
public:
    // size: 1..255 each. origin: 0 or 1, the number of the first column and line in commands.
    // `tables` must stay.
    VirtualDisplay(const ProfileTables& tables, Size size, int origin);

    // Carries out a stream that begins and ends between commands.
    void run(ByteSpan bytes);

    // What is shown; `time`, five characters, where the clock is.
    Screen screen(std::string_view time) const;

    // Offsets of the items that had no effect: unknown and cut commands, and those that name a
    // value or a place that the display does not have.
    const std::vector<std::size_t>& ignored() const { return m_ignored; }

private:
    enum class Mode { overwrite, scrollUp, scrollLeft };

    struct Window {
        Area area;
        Mode mode = Mode::overwrite;
        Position cursor;  // in the window; behind its last column while a scroll is due
    };

    void powerOn();
    bool carryOut(const StreamItem& command);
    std::vector<Cell> decode(ByteSpan text);
    void show(const Cell& cell);
    void advance(Window& window) const;
    void scroll(Window& window);
    bool moveCursor(int column, int line);
    bool define(const StreamItem& command);
    bool destroy(unsigned number);
    bool startMarquee(const StreamItem& command);
    void clear(const Area& area);
    bool applySwitch(const StreamItem& item);

    Window& selected() { return m_windows.at(m_selected); }
    // The cells of a line from a place on, to change them.
    std::vector<Cell>::iterator cells(Position from)
    {
        m_touched[static_cast<std::size_t>(from.line)] = true;
        return m_cells.begin() + from.line * m_size.columns + from.column;
    }

    const ProfileTables& m_tables;
    Size m_size;
    int m_origin;
    std::vector<std::size_t> m_ignored;

    // All that a reset sets back.
    std::vector<Cell> m_cells;
    std::vector<bool> m_touched;  // by line: may hold more than blanks, so a clear has work to do
    std::map<unsigned, Window> m_windows;  // by number; 0 is the whole display
    unsigned m_selected = 0;
    CodeState m_codes;
    bool m_reverse = false;
    int m_brightness = 100;
    int m_blink = 0;
    bool m_cursorShown = false;
    bool m_clock = false;
    std::optional<Marquee> m_marquee;
};

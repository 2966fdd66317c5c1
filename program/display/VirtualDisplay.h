// A display that carries out command streams, as docs/display-model.md describes.
#pragma once

#include "program/display/Screen.h"
#include "program/profile/ProfileTables.h"
#include "program/stream/CommandStream.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <vector>

// What became of the characters of a stream. Places in the stream are offsets in bytes.
struct DisplayTrace {
    // A character as it came to the display: in a cell, or in a marquee.
    struct Shown {
        std::size_t source = 0;  // its place in the stream
        char32_t character = 0;
        Position place;  // on the whole display; of a marquee, the beginning of its line
        unsigned window = 0;
    };
    enum class Cause {
        overwritten,
        scrolled,  // left its window at the edge
        hidden,    // stands under the clock or a marquee when its element ends
    };
    // A character that is not shown any more, other than by a clear, a reset or the end of a
    // window.
    struct Loss {
        std::size_t lost;
        std::size_t by;  // the character or command that took its place
        Cause cause;
    };
    // A command without effect.
    struct Ignored {
        std::size_t offset;
        const DisplayCommand* command;  // null for unknown bytes
        Area window;                    // that was selected
        unsigned windowNumber;
    };

    // A command that an element begins and the bytes of later elements end.
    struct Shared {
        std::size_t begin;
        std::size_t end;
    };

    std::vector<std::size_t> ends;  // set by the caller: where the elements end, in order

    std::vector<Shown> shown;  // in the order of the stream
    std::vector<Loss> losses;
    std::vector<Ignored> ignored;
    std::vector<Shared> shared;
    std::vector<std::size_t> selections;  // commands that select a window, and resets
    unsigned selected = 0;                // the window at the end
    bool hasOwnSet = true;                // at the end: the character set of power-on

    // Null if no character of this place in the stream came to the display.
    const Shown* find(std::size_t source) const
    {
        const auto found = std::ranges::lower_bound(shown, source, {}, &Shown::source);
        return found == shown.end() || found->source != source ? nullptr : &*found;
    }
};

class VirtualDisplay {
public:
    // A display after power-on. Size: 1 to 255 columns and lines. `origin`: 0 or 1, the number of
    // the first column and line in commands. `tables` must outlive the display.
    VirtualDisplay(const ProfileTables& tables, Size size, int origin);

    // Carries out a whole stream; a command that its end cuts off is ignored. `trace`, if any, gets
    // what becomes of this stream's characters.
    void run(ByteSpan bytes, DisplayTrace* trace = nullptr);

    // Carries out one item of a stream, which comes at the present time.
    void take(const StreamItem& item);

    // Lets time go by, in milliseconds. Only this moves the display's time.
    void advance(Milliseconds time) { m_now += time; }

    // What the display shows now. `clock` is what its clock shows: HH:MM.
    Screen screen(std::string_view clock) const;

    // The still picture of the display: it is lit, and a marquee shows the start of its text. So it
    // does not depend on the time.
    Screen stillScreen(std::string_view clock) const;

    // The longest time for which what is shown stays: until a marquee or a blink changes it, and a
    // second if there is a clock. Nothing if time changes nothing.
    std::optional<Milliseconds> nextChange() const;

    // What had no effect: runs of unknown bytes, a cut command, and commands that name a value, a
    // position or a window that the display does not have. The offset, in bytes, is that of the
    // first.
    struct Ignored {
        std::size_t count = 0;
        std::size_t first = 0;
    };
    const Ignored& ignored() const { return m_ignored; }

private:
    enum class Mode { overwrite, scrollUp, scrollLeft };

    struct Window {
        Area area;
        Mode mode = Mode::overwrite;
        Position cursor;  // in the window; past its last column while a scroll is due
    };

    void powerOn();
    bool carryOut(const StreamItem& command);
    // The characters of a text that begins at the offset.
    std::vector<Cell> decode(ByteSpan text, std::size_t offset);
    void show(const Cell& cell);
    // Tells that the character in a cell is lost.
    void lose(Cell& cell, DisplayTrace::Cause cause = DisplayTrace::Cause::overwritten);
    void loseMarquee();
    template <class Function>
    void forCellsBeneathClock(Function function);
    // Tells which characters of the marquee the clock hides in every step; once for each marquee,
    // as a clock always hides the same ones.
    void judgeMarqueeBeneathClock(DisplayTrace::Cause cause);
    // Tells what is hidden of elements that end at or before the offset.
    void settle(std::size_t offset);
    void advance(Window& window) const;
    void scroll(Window& window);
    bool moveCursor(int column, int line);
    bool define(const StreamItem& command);
    bool destroy(unsigned number);
    bool startMarquee(const StreamItem& command);
    void clear(const Area& area);
    bool applySwitch(const StreamItem& item);
    // With the marquee at a step, or at rest.
    Screen screenAt(std::optional<std::size_t> marqueeStep, std::string_view clock) const;

    // The clock is at the end of the last line.
    int clockColumns() const { return clockArea(m_size).size.columns; }
    Window& selected() { return m_windows.at(m_selected); }
    // The cells from a position on, to change them within its line.
    std::vector<Cell>::iterator cells(Position from)
    {
        m_touched[static_cast<std::size_t>(from.line)] = true;
        return m_cells.begin() + from.line * m_size.columns + from.column;
    }

    const ProfileTables& m_tables;
    Size m_size;
    int m_origin;
    Ignored m_ignored;
    Milliseconds m_now = 0;
    DisplayTrace* m_trace = nullptr;
    std::size_t m_at = 0;       // what is carried out: offset of the command or character
    std::size_t m_settled = 0;  // elements of the trace that have ended

    // A reset sets all of these back.
    std::vector<Cell> m_cells;
    std::vector<bool> m_touched;           // by line: has been written to, so a clear must blank it
    std::map<unsigned, Window> m_windows;  // by number; 0 is the whole display
    unsigned m_selected = 0;
    CodeState m_codes;
    bool m_reverse = false;
    int m_brightness = 100;
    int m_blink = 0;
    Milliseconds m_blinkStart = 0;
    bool m_cursorShown = false;
    bool m_clock = false;
    std::optional<Marquee> m_marquee;
    Milliseconds m_marqueeStart = 0;
    bool m_marqueeJudged = false;  // of what the clock hides of it
};

// What a display shows. VirtualDisplay makes it, and the drawings draw it without knowing anything
// else. Columns and lines count from 0 here.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

using Milliseconds = std::int64_t;

struct Cell {
    static constexpr std::size_t kNoSource = static_cast<std::size_t>(-1);

    char32_t character = U' ';
    bool reverse = false;
    std::size_t source = kNoSource;  // the byte of the stream that it came with
};

struct Position {
    int column = 0;
    int line = 0;

    bool operator==(const Position&) const = default;
};

struct Size {
    int columns = 20;
    int lines = 2;
};

struct Area {
    Position at;
    Size size;

    bool contains(Position position) const
    {
        return position.column >= at.column && position.column < at.column + size.columns &&
               position.line >= at.line && position.line < at.line + size.lines;
    }
    bool holds(const Area& other) const
    {
        return contains(other.at) && contains({other.at.column + other.size.columns - 1,
                                               other.at.line + other.size.lines - 1});
    }
    bool overlaps(const Area& other) const
    {
        return at.column < other.at.column + other.size.columns &&
               other.at.column < at.column + size.columns &&
               at.line < other.at.line + other.size.lines && other.at.line < at.line + size.lines;
    }
};

// Where a display shows its clock, HH:MM.
inline Area clockArea(Size display)
{
    const int columns = std::min(display.columns, 5);
    return {{display.columns - columns, display.lines - 1}, {columns, 1}};
}

// A run is a row of steps, which count from 0, and the wait after the last of them. Times are since
// the marquee began.
struct Marquee {
    Area area;            // one line
    bool places = false;  // true: format 2, places characters from the left; false: format 1, walks
    int stepWait = 0;     // milliseconds, as is runWait
    int runWait = 0;
    int runs = 0;            // 0: for ever
    std::vector<Cell> text;  // not empty

    std::size_t steps() const;  // of a run
    Milliseconds stepLength() const;
    Milliseconds runLength() const;

    // The step at a time; nothing once the last run is over.
    std::optional<std::size_t> stepAt(Milliseconds time) const;
    // How long that step goes on.
    std::optional<Milliseconds> untilNextStep(Milliseconds time) const;

    // The column of a character of the text, counted from the area's left edge: at a step, or at
    // rest, where the start of the text is shown. Outside the area's columns it is not seen.
    // Nothing if the character is not shown.
    std::optional<int> column(std::size_t character, std::optional<std::size_t> step) const;
};

struct DefinedWindow {
    unsigned number = 0;
    Area area;
    std::string_view mode;  // in words, such as "scrolls up"
    bool selected = false;
};

struct Screen {
    Size size;
    std::vector<Cell> cells;         // line by line, with the clock and the marquee; lit
    int brightness = 100;            // percent
    int blink = 0;                   // milliseconds lit, and as many dark; 0: does not blink
    std::optional<Position> cursor;  // nothing if no cursor is shown
    std::optional<Marquee> marquee;
    bool clock = false;
    std::vector<DefinedWindow> windows;  // all but window 0, the whole display

    // The moment that is shown. A still picture is at the beginning of both, and lit.
    Milliseconds blinkTime = 0;    // since the display began to blink
    Milliseconds marqueeTime = 0;  // since the marquee began
    bool dark = false;             // by its blink

    const Cell& cell(int column, int line) const
    {
        const int index = line * size.columns + column;
        return cells[static_cast<std::size_t>(index)];
    }

    // As it is seen at its moment: a dark display shows nothing.
    Screen seen() const;
};

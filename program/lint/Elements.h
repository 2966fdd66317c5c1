// The elements of display documents and their attributes: one row each. Tests compare it with the
// schema and with the table of README.md.
#pragma once

#include <cstdint>
#include <string_view>

inline constexpr std::string_view kRoot = "ovix-display";
inline constexpr std::string_view kElements[] = {kRoot,    "text",       "marquee", "window",
                                                 "cursor", "reset",      "clear",   "clock",
                                                 "blink",  "brightness", "command"};

enum class ValueKind : std::uint8_t {
    number,    // of a byte, from least on
    word,      // a number of two bytes
    interval,  // milliseconds; goes out in steps of 50
    choice,    // one of `choices`; `otherwise` says what any other does
    percent,   // the same, read as a number
    language,
};

struct AttributeRow {
    std::string_view element;
    std::string_view name;
    ValueKind kind;
    bool needed = false;  // without it the element does nothing
    int least = 0;
    std::string_view choices = {};    // with ", " between them
    std::string_view otherwise = {};  // what another choice, or the number 0, does
};

inline constexpr std::string_view kYesNo = "true, false, 1, 0";

inline constexpr AttributeRow kAttributes[] = {
    {"text", "lang", ValueKind::language},
    {"text", "x", ValueKind::number},
    {"text", "y", ValueKind::number},
    {"text", "reverse", ValueKind::choice, false, 0, kYesNo, "counts as false"},
    {"marquee", "lang", ValueKind::language},
    {"marquee", "format", ValueKind::choice, false, 0, "place", "counts as format 1"},
    {"marquee", "uwait", ValueKind::word, true},
    {"marquee", "rwait", ValueKind::word, true},
    {"marquee", "repeat", ValueKind::number},
    {"window", "number", ValueKind::number, true, 1, "",
     "does nothing; <command>1A4300</command> selects the whole display"},
    {"window", "x", ValueKind::number},
    {"window", "y", ValueKind::number},
    {"window", "width", ValueKind::number, false, 1},
    {"window", "height", ValueKind::number, false, 1},
    {"window", "scrollmode", ValueKind::choice, false, 0, "overwrite, v_scroll, h_scroll",
     "counts as overwrite"},
    {"window", "destroy", ValueKind::choice, false, 0, kYesNo, "counts as false"},
    {"cursor", "x", ValueKind::number},
    {"cursor", "y", ValueKind::number},
    {"cursor", "moveto", ValueKind::choice, false, 0,
     "top_left, top_right, bottom_left, bottom_right", "moves nothing"},
    {"cursor", "type", ValueKind::choice, false, 0, "underline, none", "counts as none"},
    {"blink", "interval", ValueKind::interval, true},
    {"brightness", "value", ValueKind::percent, true, 0, "20, 40, 60, 100", "gives no command"},
};

// A display as text for a terminal.
#pragma once

#include "program/display/Screen.h"

#include <string>

enum class Highlight {
    none,  // beside the lines in words
    sgr,   // reverse and cursor by control sequences
};

// A frame with the display's lines. Columns and lines are named from `origin` on. Below it, what is
// not as it is after power-on.
std::string drawText(const Screen& screen, Highlight highlight, int origin);

// The characters of one line, or of a marquee.
std::string lineText(const Screen& screen, int line);
std::string marqueeText(const Marquee& marquee);

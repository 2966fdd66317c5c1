// A display as text for a terminal.
#pragma once

#include "program/display/Screen.h"

#include <string>

enum class Highlight {
    none,  // reverse and cursor are named in words beside their line
    sgr,   // reverse and cursor are shown by control sequences
};

enum class Frame { lines, ascii };

// A frame with the display's lines; below it a line for each setting that differs from power-on,
// each window and the marquee. Columns and lines are numbered from `origin` on. The text is UTF-8.
std::string drawText(const Screen& moment, Highlight highlight, Frame frame, int origin);

// The characters of one line, or of a whole marquee, in UTF-8.
std::string lineText(const Screen& screen, int line);
std::string marqueeText(const Marquee& marquee);

// The options of the commands that show a display.
#pragma once

#include "program/display/TerminalDrawing.h"
#include "program/display/VirtualDisplay.h"

#include <string>

namespace CLI {
class App;
}

struct PictureOptions {
    Size size;
    int origin = 1;
    std::string clock;  // HH:MM; the local time if empty
    bool ascii = false;

    // Adds --columns, --rows, --origin, --clock and --ascii.
    void addTo(CLI::App& arguments);

    // What the clock shows after so much time: that of --clock begins with its minute.
    std::string clockAfter(Milliseconds time) const;

    Frame frame() const;
};

// For an option that is a time in seconds: "" for one that is not negative and at most 31 years,
// else a message.
std::string checkSeconds(const std::string& text);

// Says on the standard error what had no effect, if anything had none.
void tellIgnored(const VirtualDisplay::Ignored& ignored);

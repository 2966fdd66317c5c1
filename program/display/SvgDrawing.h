// A display as an SVG picture, in which a marquee runs and a blinking display blinks.
#pragma once

#include "program/display/Screen.h"

#include <string>

// Returns the text of an SVG file, in UTF-8.
std::string drawSvg(const Screen& screen);

// A display as a PNG picture. A blinking display is drawn lit, a marquee with the start of its
// text.
#pragma once

#include "program/display/Screen.h"

#include <string>

// Returns the bytes of a PNG file. Throws std::runtime_error if there is no memory for the picture.
std::string drawPng(const Screen& screen);

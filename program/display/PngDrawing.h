// A display as a PNG picture: lit, if it blinks, and with the front of its marquee.
#pragma once

#include "program/display/Screen.h"

#include <string>

// Throws std::runtime_error when there is no memory for the picture.
std::string drawPng(const Screen& screen);

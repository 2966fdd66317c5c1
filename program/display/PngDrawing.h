// A display as a PNG picture.
#pragma once

#include "program/display/Screen.h"

#include <string>

// Returns the bytes of a PNG file. Throws std::runtime_error if there is no memory for the picture.
std::string drawPng(const Screen& moment);

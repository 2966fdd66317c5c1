// A display as an SVG picture. Marquee and blink move in it.
#pragma once

#include "program/display/Screen.h"

#include <string>

std::string drawSvg(const Screen& screen);

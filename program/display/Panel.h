// How a drawn display looks: sizes, colours, and which dots are lit. SVG and PNG share it. The unit
// of length is the distance between the centres of two dots.
#pragma once

#include "program/display/Glyphs.h"
#include "program/display/Screen.h"

namespace panel {

// The gaps between cells; then the distance from the cells to the edge of the glass, and from there
// to the edge of the bezel.
inline constexpr int kColumnGap = 1;
inline constexpr int kLineGap = 3;
inline constexpr int kGlassMargin = 6;
inline constexpr int kBezel = 4;
inline constexpr int kBorder = kBezel + kGlassMargin;

inline constexpr int kColumnPitch = kGlyphColumns + kColumnGap;
inline constexpr int kLinePitch = kGlyphRows + kLineGap;

inline constexpr double kDotSize = 0.9;
inline constexpr double kGlowRadius = 1.2;  // standard deviation of the Gaussian blur
inline constexpr double kGlowStrength = 0.55;
inline constexpr double kBezelCorner = 4.5;
inline constexpr double kGlassCorner = 2;

struct Colour {
    int red, green, blue;
};

inline constexpr Colour kBezelTop{0x3a, 0x3f, 0x44};
inline constexpr Colour kBezelBottom{0x17, 0x19, 0x1c};
inline constexpr Colour kGlassTop{0x06, 0x12, 0x12};
inline constexpr Colour kGlassBottom{0x02, 0x08, 0x09};
inline constexpr Colour kUnlit{0x0c, 0x20, 0x21};
inline constexpr Colour kLit{0x6c, 0xff, 0xe2};

// The opacity of lit dots, 0 to 1, at a brightness in percent.
constexpr double litOpacity(int brightness)
{
    return 0.25 + 0.75 * brightness / 100;
}

constexpr int width(Size size)
{
    return 2 * kBorder + size.columns * kColumnPitch - kColumnGap;
}

constexpr int height(Size size)
{
    return 2 * kBorder + size.lines * kLinePitch - kLineGap;
}

constexpr int left(int column)
{
    return kBorder + column * kColumnPitch;
}

constexpr int top(int line)
{
    return kBorder + line * kLinePitch;
}

// A cell's lit dots, after reverse. A cursor inverts the lowest row.
inline DotMatrix litDots(const Cell& cell, bool cursor)
{
    DotMatrix dots = glyph(cell.character);
    if (cell.reverse) {
        for (std::uint8_t& row : dots) {
            row = static_cast<std::uint8_t>(~row);
        }
    }
    if (cursor) {
        dots.back() = static_cast<std::uint8_t>(~dots.back());
    }
    return dots;
}

}  // namespace panel

// The dot matrices of characters, from the misc-fixed font 8x13, which is in the
// public domain; they are built into the program.
#pragma once

#include <array>
#include <cstdint>

inline constexpr int kGlyphColumns = 8;
inline constexpr int kGlyphRows = 13;

// One byte for each row, from the top; the highest bit is the leftmost dot.
using DotMatrix = std::array<std::uint8_t, kGlyphRows>;

// The glyph of a character; a hollow box if the font lacks it.
const DotMatrix& glyph(char32_t character);

constexpr bool isLit(const DotMatrix& dots, int column, int row)
{
    return (dots[static_cast<std::size_t>(row)] & 0x80 >> column) != 0;
}

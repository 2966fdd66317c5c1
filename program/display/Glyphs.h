// The dot matrices of characters: those of GNU Unifont, built in.
#pragma once

#include <array>
#include <cstdint>

inline constexpr int kGlyphColumns = 8;
inline constexpr int kGlyphRows = 16;

// A byte a row from the top, its highest bit on the left.
using DotMatrix = std::array<std::uint8_t, kGlyphRows>;

// A hollow box for a character that is not one cell wide, or that the font lacks.
const DotMatrix& glyph(char32_t character);

constexpr bool isLit(const DotMatrix& dots, int column, int row)
{
    return (dots[static_cast<std::size_t>(row)] & 0x80 >> column) != 0;
}

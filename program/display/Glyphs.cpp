#include "program/display/Glyphs.h"

#include <algorithm>
#include <iterator>

namespace {

struct GlyphRow {
    char32_t character;
    DotMatrix dots;
};

constexpr GlyphRow kGlyphs[] = {
#include "glyphs.inc"
};
static_assert(std::ranges::is_sorted(kGlyphs, {}, &GlyphRow::character));

constexpr DotMatrix kBox = {0, 0, 0x7E, 0x42, 0x42, 0x42, 0x42, 0x42, 0x42, 0x42, 0x7E, 0, 0};

}  // namespace

const DotMatrix& glyph(char32_t character)
{
    const auto* const row = std::ranges::lower_bound(kGlyphs, character, {}, &GlyphRow::character);
    return row != std::end(kGlyphs) && row->character == character ? row->dots : kBox;
}

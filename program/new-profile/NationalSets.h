// International character sets, the "ESC R n" of displays and printers, with the characters of
// ISO 646 where it has the country.
#pragma once

#include <string_view>

// The bytes at which ISO 646 allows national characters. A row lists its characters in this order.
inline constexpr unsigned char kNationalBytes[] = {0x23, 0x24, 0x40, 0x5B, 0x5C, 0x5D,
                                                   0x5E, 0x60, 0x7B, 0x7C, 0x7D, 0x7E};

struct NationalSetRow {
    std::string_view name;
    std::string_view country;
    std::u32string_view characters;
};

// The United States have plain ASCII, the lower half of every table.
inline constexpr NationalSetRow kNationalSets[] = {
    {"france", "France", U"£$à°ç§^µéùè¨"},
    {"germany", "Germany", U"#$§ÄÖÜ^`äöüß"},
    {"uk", "United Kingdom", U"£$@[\\]^`{|}‾"},
    {"denmark", "Denmark", U"#$@ÆØÅ^`æøå~"},
    {"denmark2", "Denmark II", U"#$ÉÆØÅÜéæøåü"},
    {"sweden", "Sweden", U"#¤ÉÄÖÅÜéäöåü"},
    {"italy", "Italy", U"£$§°çé^ùàòèì"},
    {"spain", "Spain", U"£$§¡Ñ¿^`°ñç~"},
    {"spain2", "Spain II", U"#$á¡Ñ¿é`íñóú"},
    {"latin-america", "Latin America", U"#$á¡Ñ¿éüíñóú"},
    {"japan", "Japan", U"#$@[¥]^`{|}‾"},
    {"norway", "Norway", U"#$@ÆØÅ^`æøå‾"},
    {"korea", "Korea", U"#$@[₩]^`{|}~"},
    {"croatia", "Croatia and Slovenia", U"#$ŽŠĐĆČžšđćč"},
    {"china", "China", U"#¥@[\\]^`{|}‾"},
};

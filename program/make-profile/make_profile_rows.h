// The code pages of the default display, and the candidates for its internal character sets. A new
// one is one line here.
#pragma once

#include <algorithm>
#include <functional>
#include <iterator>
#include <string_view>

struct CodePageRow {
    const char* icuName;
    std::string_view fileName;
    int codePage;      // the number by which a caller selects the table
    int commandParam;  // n of the display's ESC t n
};

// The display starts in table 0. A character that is not in the current table goes out in the table
// with the smallest parameter that has it.
inline constexpr CodePageRow kCodePages[] = {
    {"ibm-437", "ibm437.txt", 437, 0},
    // The single bytes of Shift_JIS: half-width katakana (JIS X 0201) above ASCII, so digits and
    // blanks among katakana need no switch. 5C is the backslash and 7E the tilde, as in all tables.
    {"ibm-943_P15A-2003", "jisx0201.txt", 897, 1},
    {"ibm-850", "ibm850.txt", 850, 2},
    {"ibm-857", "ibm857.txt", 857, 13},
    {"ibm-737", "ibm737.txt", 737, 14},
    {"windows-1252", "windows1252.txt", 1252, 16},
    {"ibm-866", "ibm866.txt", 866, 17},  // Cyrillic
    {"ibm-852", "ibm852.txt", 852, 18},
    {"ibm-858", "ibm858.txt", 858, 19},
};

// The bytes at which ISO 646 allows national characters. A row lists its characters in this order.
inline constexpr unsigned char kNationalBytes[] = {0x23, 0x24, 0x40, 0x5B, 0x5C, 0x5D,
                                                   0x5E, 0x60, 0x7B, 0x7C, 0x7D, 0x7E};

struct NationalSetRow {
    std::string_view country;
    std::string_view fileName;
    int commandParam;  // n of the display's ESC R n
    std::u32string_view characters;
};

// ESC R 0 is plain ASCII, the lower half of every table.
inline constexpr int kDefaultSetParam = 0;

// A character of several countries goes into the set of the first. Japan is first, so that the
// overline is in set 8, to which a document's lang="ja" switches.
inline constexpr NationalSetRow kNationalSets[] = {
    {"Japan", "japan.txt", 8, U"#$@[¥]^`{|}‾"},
    {"France", "france.txt", 1, U"£$à°ç§^µéùè¨"},
    {"Germany", "germany.txt", 2, U"#$§ÄÖÜ^`äöüß"},
    {"United Kingdom", "uk.txt", 3, U"£$@[\\]^`{|}‾"},
    {"Denmark", "denmark.txt", 4, U"#$@ÆØÅ^`æøå~"},
    {"Sweden", "sweden.txt", 5, U"#¤ÉÄÖÅÜéäöåü"},
    {"Italy", "italy.txt", 6, U"£$§°çé^ùàòèì"},
    {"Spain", "spain.txt", 7, U"£$§¡Ñ¿^`°ñç~"},
    {"Norway", "norway.txt", 9, U"#$@ÆØÅ^`æøå‾"},
    {"Korea", "korea.txt", 13, U"#$@[₩]^`{|}~"},
    {"Croatia and Slovenia", "croatia.txt", 14, U"#$ŽŠĐĆČžšđćč"},
    {"China", "china.txt", 15, U"#¥@[\\]^`{|}‾"},
};

template <typename Rows, typename Field>
constexpr bool allDistinct(const Rows& rows, Field field)
{
    for (auto row = std::begin(rows); row != std::end(rows); ++row) {
        for (auto other = std::begin(rows); other != row; ++other) {
            if (std::invoke(field, *row) == std::invoke(field, *other)) {
                return false;
            }
        }
    }
    return true;
}

// The reader of the device information file finds keys anywhere in a line, so a file name must not
// hold one.
template <typename Rows>
constexpr bool fileNamesHoldNoKey(const Rows& rows)
{
    for (const auto& row : rows) {
        for (std::string_view key :
             {"CodePage", "TableCommandParam", "TableFileName", "ICSCommandParam", "ICSFileName"}) {
            if (row.fileName.find(key) != std::string_view::npos) {
                return false;
            }
        }
    }
    return true;
}

static_assert(allDistinct(kCodePages, &CodePageRow::codePage));
static_assert(allDistinct(kCodePages, &CodePageRow::commandParam));
static_assert(allDistinct(kCodePages, &CodePageRow::fileName));
static_assert(allDistinct(kNationalSets, &NationalSetRow::commandParam));
static_assert(allDistinct(kNationalSets, &NationalSetRow::fileName));
static_assert(fileNamesHoldNoKey(kCodePages) && fileNamesHoldNoKey(kNationalSets));
static_assert(std::ranges::all_of(kNationalSets, [](const NationalSetRow& row) {
    return row.commandParam != kDefaultSetParam &&
           row.characters.size() == std::size(kNationalBytes);
}));

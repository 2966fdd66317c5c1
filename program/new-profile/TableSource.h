// Where the characters of a code table come from: a code page of ICU, or a file.
#pragma once

#include "program/new-profile/ProfilePlan.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Whether ICU has a code page of this name, by this alias, or with this number.
bool isCodePage(const std::string& name);

struct CodePage {
    CharacterOfByte characters;  // from 20 on, without control characters, each at one byte only
    // Bytes of a character that another byte has, too, and that byte, which ICU sends.
    std::vector<std::pair<std::size_t, std::size_t>> repeated;
};

// Throws UsageError for a code page of several bytes a character.
CodePage readCodePage(const std::string& name);

// The names of code pages that are most like this one, as a list for a message.
std::string nearestCodePages(const std::string& name);

// A line for each single-byte code page: its name, and its other names.
std::string codePageList();

// The number in a name: 437 of "ibm-437" and "CP437.TXT", 1252 of "windows-1252", 28592 of
// "ISO-8859-2", as Windows counts these. Else, and if ICU has the name, the number in one of its
// other names, such as 20866 of "KOI8-R". Nothing without one.
std::optional<int> codePageNumber(const std::string& name);

struct TableText {
    CharacterOfByte characters;      // without control characters
    std::size_t atCommandBytes = 0;  // characters left out as their bytes are below 20
    std::size_t sequences = 0;       // bytes left out as they stand for several characters
};

// Reads a table of a profile, a set of national characters, or a mapping file as the Unicode
// consortium publishes them: lines of a byte, blanks, a code point and a comment; the code point
// may be absent, be a sequence as in "0x05F2+0x05B7", or follow a direction as in "<RL>+0x0020".
// Throws std::runtime_error with `file` and the line for what is not understood, and
// for a byte that comes twice.
TableText readTableText(std::string_view text, const std::string& file);

// A code point after "0x" or "U+", in hexadecimal; nothing if the text is anything else or above
// U+10FFFF.
std::optional<char32_t> readCodePoint(std::string_view text);

// Characters as UTF-8 text that is safe to print.
#pragma once

#include <string>

// Appends a character. Control and format characters, which would act on a terminal, and code
// points that are no characters become U+FFFD.
void appendCharacter(std::string& text, char32_t character);

// A file's name or its text, control characters as "?".
std::string printable(std::string text);

// "U+0041".
std::string codePointText(char32_t character);

// "LATIN SMALL LETTER A", or the like of "<control-000A>" for a code point without a name.
std::string characterName(char32_t character);

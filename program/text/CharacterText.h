// Characters as UTF-8 text that is safe to print, and their names.
#pragma once

#include <string>

// Appends a character. What is not printable becomes U+FFFD: control and format characters and line
// separators, which would act on a terminal, and code points that are no characters.
void appendCharacter(std::string& text, char32_t character);

// False for what appendCharacter replaces by U+FFFD.
bool isPrintable(char32_t character);

// A text in UTF-8, such as the name of a file, with "?" for each control character of ASCII, and
// U+FFFD for other characters that are not printable. Bytes that are no UTF-8 stay.
std::string printable(const std::string& text);

// "U+0041".
std::string codePointText(char32_t character);

// "LATIN SMALL LETTER A"; for a code point without a name its kind and number, "<control-000A>".
std::string characterName(char32_t character);

// False for control characters, private use and unassigned code points.
bool hasName(char32_t character);

// "U+0041 LATIN CAPITAL LETTER A".
std::string describedCharacter(char32_t character);

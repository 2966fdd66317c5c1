#include "program/text/CharacterText.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdio>

void appendCharacter(std::string& text, char32_t character)
{
    constexpr UChar32 kReplacement = 0xFFFD;
    UChar32 shown = static_cast<UChar32>(character);
    constexpr UChar32 kSoftHyphen = 0xAD;             // a format character, but harmless
    if (!u_isprint(shown) && shown != kSoftHyphen) {  // false for values above U+10FFFF too
        shown = kReplacement;
    }
    char bytes[U8_MAX_LENGTH];
    int32_t length = 0;
    U8_APPEND_UNSAFE(bytes, length, shown);
    text.append(bytes, static_cast<std::size_t>(length));
}

std::string printable(std::string text)
{
    std::ranges::replace_if(
        text, [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return text;
}

std::string codePointText(char32_t character)
{
    char text[16];
    std::snprintf(text, sizeof text, "U+%04X", static_cast<unsigned>(character));
    return text;
}

std::string characterName(char32_t character)
{
    char name[128];
    UErrorCode status = U_ZERO_ERROR;
    u_charName(static_cast<UChar32>(character), U_EXTENDED_CHAR_NAME, name, sizeof name, &status);
    return U_SUCCESS(status) ? name : "";
}

bool hasName(char32_t character)
{
    return !characterName(character).starts_with('<');
}

std::string describedCharacter(char32_t character)
{
    return codePointText(character) + " " + characterName(character);
}

#include "program/text/CharacterText.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdio>

bool isPrintable(char32_t character)
{
    constexpr char32_t kSoftHyphen = 0xAD;  // a format character, but harmless
    // u_isprint is false for values above U+10FFFF too.
    return u_isprint(static_cast<UChar32>(character)) != 0 || character == kSoftHyphen;
}

void appendCharacter(std::string& text, char32_t character)
{
    constexpr UChar32 kReplacement = 0xFFFD;
    const UChar32 shown = isPrintable(character) ? static_cast<UChar32>(character) : kReplacement;
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

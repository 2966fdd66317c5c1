#include "program/text/CharacterText.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cstdint>
#include <cstdio>

bool isPrintable(char32_t character)
{
    constexpr char32_t kSoftHyphen = 0xAD;  // a format character, but harmless
    // Readers of lines take these two for the end of one.
    const bool isBreak = character == 0x2028 || character == 0x2029;
    // u_isprint is false for values above U+10FFFF too.
    return (u_isprint(static_cast<UChar32>(character)) != 0 && !isBreak) ||
           character == kSoftHyphen;
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

std::string printable(const std::string& text)
{
    std::string result;
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto size = static_cast<std::int32_t>(text.size());
    for (std::int32_t at = 0; at < size;) {
        const std::int32_t begin = at;
        UChar32 character = 0;
        U8_NEXT(bytes, at, size, character);
        if (character < 0) {
            result.append(text, static_cast<std::size_t>(begin),
                          static_cast<std::size_t>(at - begin));
        } else if (character < 0x20 || character == 0x7F) {
            result += '?';
        } else {
            appendCharacter(result, static_cast<char32_t>(character));
        }
    }
    return result;
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

#include "program/new-profile/ProfilePlan.h"

#include <unicode/uchar.h>
#include <unicode/utf.h>

std::set<char32_t> ProfilePlan::characters() const
{
    std::set<char32_t> result;
    for (const auto* const files : {&tables, &sets}) {
        for (const CodeFile& file : *files) {
            for (const auto& [byte, character] : file.characters) {
                if (canBeShown(character)) {
                    result.insert(character);
                }
            }
        }
    }
    return result;
}

bool canBeShown(char32_t character)
{
    const auto code = static_cast<UChar32>(character);
    return U_IS_UNICODE_CHAR(code) && u_charType(code) != U_CONTROL_CHAR;
}

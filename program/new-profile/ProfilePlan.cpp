#include "program/new-profile/ProfilePlan.h"

#include <unicode/uchar.h>
#include <unicode/utf.h>

namespace {

std::set<char32_t> charactersOf(const ProfilePlan& plan, bool substitutes)
{
    std::set<char32_t> result;
    for (const auto* const files : {&plan.tables, &plan.sets}) {
        for (const CodeFile& file : *files) {
            for (const auto& [byte, character] : file.characters) {
                if (file.substitutes == substitutes && canBeShown(character)) {
                    result.insert(character);
                }
            }
        }
    }
    return result;
}

}  // namespace

std::set<char32_t> ProfilePlan::characters() const
{
    return charactersOf(*this, false);
}

std::set<char32_t> ProfilePlan::substituted() const
{
    return charactersOf(*this, true);
}

bool canBeShown(char32_t character)
{
    const auto code = static_cast<UChar32>(character);
    return U_IS_UNICODE_CHAR(code) && u_charType(code) != U_CONTROL_CHAR;
}

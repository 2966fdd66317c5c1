#include "program/new-profile/ProfilePlan.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
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

std::set<char32_t> ProfilePlan::marks() const
{
    std::set<char32_t> result;
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* const data = icu::Normalizer2::getNFKCInstance(status);
    for (const char32_t character : characters()) {
        const auto code = static_cast<UChar32>(character);
        icu::UnicodeString parts;
        if ((U_GET_GC_MASK(code) & U_GC_M_MASK) != 0) {
            result.insert(character);
        } else if (U_SUCCESS(status) != 0 && data->getRawDecomposition(code, parts) != 0 &&
                   parts.countChar32() == 2 && parts[0] == u' ') {
            result.insert(static_cast<char32_t>(parts.char32At(1)));
        }
    }
    return result;
}

bool canBeShown(char32_t character)
{
    const auto code = static_cast<UChar32>(character);
    return U_IS_UNICODE_CHAR(code) && u_charType(code) != U_CONTROL_CHAR;
}

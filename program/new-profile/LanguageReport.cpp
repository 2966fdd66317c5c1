#include "program/new-profile/LanguageReport.h"

#include "program/new-profile/ProfilePlan.h"
#include "program/text/CharacterText.h"
#include "program/text/Counted.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/uloc.h>
#include <unicode/ulocdata.h>
#include <unicode/uniset.h>
#include <unicode/usetiter.h>

#include <algorithm>

namespace {

// ICU's name for a language such as "pt-BR" or "pt_BR"; "" if it has none.
std::string nameInICU(std::string language)
{
    std::ranges::replace(language, '-', '_');
    for (int32_t i = 0; i < uloc_countAvailable(); ++i) {
        if (language == uloc_getAvailable(i)) {
            return language;
        }
    }
    return "";
}

// The letters of a set of the CLDR in both cases. What it has as texts, such as "ch", are letters
// of the set, too, except for a letter and a mark that do not compose to one character.
icu::UnicodeSet inBothCases(const icu::UnicodeSet& characters)
{
    icu::UnicodeSet result;
    const auto add = [&](UChar32 code) {
        result.add(code).add(u_toupper(code)).add(u_tolower(code));
    };
    for (icu::UnicodeSetIterator it(characters); it.next();) {
        UErrorCode status = U_ZERO_ERROR;
        const icu::UnicodeString text =
            icu::Normalizer2::getNFCInstance(status)->normalize(it.getString(), status);
        for (int32_t i = 0; i < text.length(); i = text.moveIndex32(i, 1)) {
            if (i > 0 && (U_GET_GC_MASK(text.char32At(i)) & U_GC_M_MASK) != 0) {
                const int32_t letter = text.moveIndex32(i, -1);
                result.add(text.tempSubStringBetween(letter, text.moveIndex32(i, 1)));
            } else {
                add(text.char32At(i));
            }
        }
    }
    return result;
}

// The least of how its characters are shown.
Showing showingOfText(const icu::UnicodeString& text, const ShowingOf& showing)
{
    Showing result = Showing::exactly;
    for (int32_t i = 0; i < text.length(); i = text.moveIndex32(i, 1)) {
        result = std::max(result, showing(static_cast<char32_t>(text.char32At(i))));
    }
    return result;
}

std::string reportSet(const std::string& language, ULocaleDataExemplarSetType type,
                      const std::string& noun, const ShowingOf& showing)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::LocalULocaleDataPointer data(ulocdata_open(nameInICU(language).c_str(), &status));
    icu::UnicodeSet characters;
    ulocdata_getExemplarSet(data.getAlias(), characters.toUSet(), 0, type, &status);
    if (U_FAILURE(status)) {
        throw std::runtime_error("ICU has no letters of the language " + language + ": " +
                                 u_errorName(status));
    }
    const icu::UnicodeSet all = inBothCases(characters);
    std::size_t counts[3] = {};
    std::string lists[3];
    for (icu::UnicodeSetIterator it(all); it.next();) {
        const Showing how = showingOfText(it.getString(), showing);
        ++counts[static_cast<int>(how)];
        std::string& list = lists[static_cast<int>(how)];
        list += ' ';
        it.getString().toUTF8String(list);
    }
    std::string line = language + ": " + counted(counts[0] + counts[1] + counts[2], noun) + ": " +
                       std::to_string(counts[0]) + " exactly";
    const char* const words[] = {"", " readably:", " missing:"};
    for (int i = 1; i < 3; ++i) {
        if (counts[i] > 0) {
            line += "; " + std::to_string(counts[i]) + words[i] + lists[i];
        }
    }
    return line + '\n';
}

}  // namespace

std::string reportLanguage(const std::string& language, const ShowingOf& showing)
{
    if (nameInICU(language).empty()) {
        throw UsageError("ICU does not know the language \"" + printable(language) +
                         "\"; names are such as de, pt-BR or sr-Latn");
    }
    return reportSet(language, ULOCDATA_ES_STANDARD, "letter", showing) +
           reportSet(language, ULOCDATA_ES_PUNCTUATION, "sign", showing);
}

// The bytes of the attribute "lang", which <text> and <marquee> share.
#include "base/Ascii.h"
#include "engine/KestrixDispEngine.h"
#include "engine/TagParser.h"

#include <cstring>
#include <iterator>

namespace {

bool equalsIgnoringCase(const char* text, const char* lowerCaseText)
{
    for (; *text != '\0' && asciiLowerCase(*text) == *lowerCaseText; ++text, ++lowerCaseText) {
    }
    return *text == *lowerCaseText;
}

}  // namespace

void TagParser::storeLang(const unsigned char* lang, AttributeMap& state, OutputVector& out)
{
    const auto entry = state.find(ATTR_LANG);
    char* const current = entry == state.end() ? nullptr : reinterpret_cast<char*>(entry->second);
    const char* stored = lang == nullptr ? "" : reinterpret_cast<const char*>(lang);
    const bool japanese = isLangJP(stored);
    if (isLangJP(current) == japanese) {
        return;
    }

    const unsigned char characterSet = japanese ? 0x08 : 0x00;
    const unsigned char command[] = {ESC, 0x74, 0x00, ESC, 0x52, characterSet};
    out.insert(out.end(), std::begin(command), std::end(command));

    if (japanese) {
        stored = LANG_JA;
    }
    if (current != nullptr) {
        const std::size_t length = strnlen(stored, KestrixDispEngine::LANG_BUF_LEN - 1);
        std::memcpy(current, stored, length);
        current[length] = '\0';
    }
}

bool TagParser::isLangJP(const char* lang)
{
    return lang != nullptr &&
           (equalsIgnoringCase(lang, LANG_JA) || equalsIgnoringCase(lang, LANG_JA_JP));
}

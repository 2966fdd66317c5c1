#include "program/new-profile/ProfileFiles.h"

#include "converter/profile/ReportingFile.h"
#include "program/text/CharacterText.h"

#include <unicode/normalizer2.h>
#include <unicode/uchar.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <sstream>
#include <string_view>

namespace {

using Characters = std::set<char32_t>;

std::string dataLine(unsigned byte, std::optional<char32_t> character)
{
    char codes[32];
    if (!character) {
        std::snprintf(codes, sizeof codes, "0x%02X\t \t# ", byte);
        return std::string(codes) + "UNMAPPED\n";
    }
    std::snprintf(codes, sizeof codes, "0x%02X\t0x%04X\t# ", byte, unsigned{*character});
    return codes + characterName(*character) + '\n';
}

std::string tableText(const CodeFile& table)
{
    std::string text =
        (table.substitutes ? "# Shown as others like them: code page " : "# Code page ") +
        std::to_string(table.codePage) + ", ESC t " + std::to_string(table.parameter) + '\n';
    auto next = table.characters.begin();
    for (unsigned byte = 0; byte < 256; ++byte) {
        if (!table.substitutes && (next == table.characters.end() || next->first != byte)) {
            text += dataLine(byte, {});
        }
        for (; next != table.characters.end() && next->first == byte; ++next) {
            text += dataLine(byte, next->second);
        }
    }
    return text;
}

std::string setText(const CodeFile& set)
{
    std::string text =
        "# National characters: " + set.title + ", ESC R " + std::to_string(set.parameter) + '\n';
    for (const auto& [byte, character] : set.characters) {
        text += dataLine(byte, character);
    }
    return text;
}

struct Shown {
    Characters characters;   // as themselves
    Characters substituted;  // as others like them
    Characters marks;        // as themselves, or as their spacing forms
    Characters spaced;       // marks whose spacing form is known already
};

std::optional<char32_t> codePoint(std::string_view digits)
{
    std::uint32_t value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (error != std::errc{} || end != digits.data() + digits.size()) {
        return std::nullopt;
    }
    return value;
}

// Whether the profile keeps the decomposition field of a character. Two forms are of use: a letter
// and a mark, and the spacing form of a mark, which shows it on its own (a tag in "<>", U+0020 and
// the mark; such as U+00B4 for U+0301).
//
// The display must hold the character, too. The converter takes the first row that fits the text
// and does not take it back if the display lacks the result. Without that row the letter still goes
// out by itself, followed by what becomes of the mark. If that is shown, it is more than a
// substitute for both. A mark has one spacing form, the first one: with the Greek tonos as another
// for U+0301, which of the two is sent would depend on the rest of the database.
bool keepsDecomposition(char32_t composed, const std::string& field, Shown& shown)
{
    constexpr std::string_view kSpace = "0020";
    std::istringstream words(field);
    std::vector<std::string> parts{std::istream_iterator<std::string>(words), {}};
    const bool tagged = field.starts_with('<');
    if (tagged) {
        parts.erase(parts.begin());
    }
    if (parts.size() != 2 || (tagged && parts[0] != kSpace)) {
        return false;
    }
    const char32_t mark = codePoint(parts[1]).value_or(0);
    if ((U_GET_GC_MASK(static_cast<UChar32>(mark)) & U_GC_M_MASK) == 0) {
        return false;
    }
    if (tagged) {
        return shown.characters.contains(composed) && shown.spaced.insert(mark).second;
    }
    return shown.characters.contains(composed) ||
           (shown.substituted.contains(composed) && !shown.marks.contains(mark));
}

// Adds a line without what is not kept of its decomposition. False if it has too few fields.
bool addLine(std::string line, char32_t character, Shown& shown, UnicodeDatabase& database)
{
    constexpr int kDecompositionField = 5;
    std::size_t begin = 0;
    for (int field = 0; field < kDecompositionField; ++field) {
        const std::size_t semicolon = line.find(';', begin);
        if (semicolon == std::string::npos) {
            return false;
        }
        begin = semicolon + 1;
    }
    const std::size_t end = line.find(';', begin);
    if (end == std::string::npos) {
        return false;
    }
    if (keepsDecomposition(character, line.substr(begin, end - begin), shown)) {
        ++database.decompositions;
    } else {
        line.erase(begin, end - begin);
    }
    database.text += line + '\n';
    return true;
}

std::string propertyName(UProperty property, int32_t value)
{
    return u_getPropertyValueName(property, value, U_SHORT_PROPERTY_NAME);
}

std::string decompositionOf(UChar32 character)
{
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* const data = icu::Normalizer2::getNFKCInstance(status);
    icu::UnicodeString parts;
    if (U_FAILURE(status) || !data->getRawDecomposition(character, parts)) {
        return "";
    }
    const bool canonical =
        u_getIntPropertyValue(character, UCHAR_DECOMPOSITION_TYPE) == U_DT_CANONICAL;
    std::string field = canonical ? "" : "<compat>";  // nothing tells this tag from others
    for (int32_t i = 0; i < parts.length(); i = parts.moveIndex32(i, 1)) {
        char digits[16];
        std::snprintf(digits, sizeof digits, "%s%04X", field.empty() ? "" : " ",
                      static_cast<unsigned>(parts.char32At(i)));
        field += digits;
    }
    return field;
}

// The first six fields of the character's line in UnicodeData.txt.
std::string databaseLine(char32_t character)
{
    const auto code = static_cast<UChar32>(character);
    return codePointText(character).substr(2) + ';' + characterName(character) + ';' +
           propertyName(UCHAR_GENERAL_CATEGORY, u_charType(code)) + ';' +
           std::to_string(u_getCombiningClass(code)) + ';' +
           propertyName(UCHAR_BIDI_CLASS, u_charDirection(code)) + ';' + decompositionOf(code) +
           ";;;;N;;;;;";
}

// UnicodeData.txt has ideographs and Hangul syllables as ranges.
bool isInRange(UChar32 code)
{
    return u_hasBinaryProperty(code, UCHAR_UNIFIED_IDEOGRAPH) != 0 ||
           u_getIntPropertyValue(code, UCHAR_HANGUL_SYLLABLE_TYPE) >= U_HST_LV_SYLLABLE ||
           (U_GET_GC_MASK(code) & (U_GC_CN_MASK | U_GC_CO_MASK | U_GC_CS_MASK)) != 0;
}

std::string settingsText(const ProfilePlan& plan)
{
    return "[Settings]\n"
           "EncodeTypeDefault=3\n"  // UTF-8, in which the engine hands texts over
           "MissingCharacterCode=" +
           std::to_string(plan.missingCharacter) +
           "\n"
           "DeviceInfoPath=" +
           plan.path +
           "\n"
           "MaximumHandle=254\n"
           "OutputBufferBlockSize=4096\n"
           "OutputBufferBlockMax=255\n"
           "[LOG]\n"
           "LogFilePath=" +
           plan.logPath +
           "\n"
           "LogMaxSize=1\n";
}

std::string deviceText(const ProfilePlan& plan, int decompositions)
{
    std::ostringstream text;
    text << "[Common]\n"
         << "MappingTableNumber=" << plan.tables.size() << '\n'
         << "InternalCharacterSetNumber=" << plan.sets.size() << '\n'
         << "ICSCommandDefault=" << plan.defaultSet << '\n'
         << "DecompositionClassNumber=" << std::max(decompositions, 1) << '\n'  // 0 is not allowed
         << "GeneralCategorySize=2\n"
         << "CanonicalCombiningClassSize=3\n"
         << "BidiClassSize=3\n"
         << "DecompositionMappingSize=2\n";
    int number = 0;
    for (const CodeFile& table : plan.tables) {
        text << "[Table" << ++number << "]\n"
             << "CodePage=" << table.codePage << '\n'
             << "TableCommandParam=" << table.parameter << '\n'
             << "TableFileName=" << table.fileName << '\n';
    }
    number = 0;
    for (const CodeFile& set : plan.sets) {
        text << "[ICS" << ++number << "]\n"
             << "ICSCommandParam=" << set.parameter << '\n'
             << "ICSFileName=" << set.fileName << '\n';
    }
    return text.str();
}

std::string withLineBreaks(const std::string& text)
{
    std::string result;
    result.reserve(text.size() + text.size() / 16);
    for (const char c : text) {
        result += c == '\n' ? "\r\n" : std::string(1, c);
    }
    return result;
}

}  // namespace

UnicodeDatabase reducedDatabase(const std::string& text, const std::string& file,
                                const ProfilePlan& plan)
{
    Shown shown{plan.characters(), plan.substituted(), plan.marks(), {}};
    Characters characters = shown.characters;
    characters.insert(shown.substituted.begin(), shown.substituted.end());
    UnicodeDatabase result;
    auto next = characters.begin();
    const auto addUnlisted = [&](char32_t end) {
        for (; next != characters.end() && *next < end; ++next) {
            addLine(databaseLine(*next), *next, shown, result);
        }
    };
    std::istringstream in(text);
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        const auto character = codePoint(std::string_view(line).substr(0, line.find(';')));
        addUnlisted(character.value_or(0));
        if (!character || !addLine(line, *character, shown, result)) {
            throw std::runtime_error(file + ":" + std::to_string(number) +
                                     ": is no line of UnicodeData.txt");
        }
        if (next != characters.end() && *next == *character) {
            ++next;
        }
    }
    addUnlisted(UCHAR_MAX_VALUE + 1);
    return result;
}

std::string databaseOfICU()
{
    std::string text;
    for (UChar32 code = 0; code <= UCHAR_MAX_VALUE; ++code) {
        if (!isInRange(code)) {
            text += databaseLine(static_cast<char32_t>(code)) + '\n';
        }
    }
    return text;
}

std::map<std::string, std::string> profileFiles(const ProfilePlan& plan,
                                                const UnicodeDatabase& database)
{
    std::map<std::string, std::string> files;
    for (const CodeFile& table : plan.tables) {
        files[table.fileName] = withLineBreaks(tableText(table));
    }
    for (const CodeFile& set : plan.sets) {
        files[set.fileName] = withLineBreaks(setText(set));
    }
    files["UnicodeData.txt"] = withLineBreaks(database.text);
    files[plan.device] = withLineBreaks(deviceText(plan, database.decompositions));
    files["HalvoSet.txt"] = withLineBreaks(settingsText(plan));
    return files;
}

std::string idFileText(const std::string& path)
{
    return "ModulePath=" + path + "\r\n";
}

// The reader finds keys anywhere in a line, so the path must not hold one that it looks for
// earlier.
void checkPath(const std::string& option, const std::string& path)
{
    const bool fits = !path.empty() && path.size() <= 200 &&
                      path.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos &&
                      path.find("EncodeTypeDefault") == std::string::npos &&
                      path.find("MissingCharacterCode") == std::string::npos;
    if (!fits) {
        throw UsageError(option +
                         " has 1 to 200 characters, and no line break or name of a key of "
                         "HalvoSet.txt: " +
                         ruvo::quoted(path));
    }
}

#include "program/new-profile/ProfileDescription.h"

#include "program/new-profile/Fallback.h"
#include "program/new-profile/NationalSets.h"
#include "program/new-profile/TableSource.h"
#include "program/text/CharacterText.h"
#include "program/text/Counted.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

namespace {

namespace fs = std::filesystem;

std::string quoted(const std::string& text)
{
    return '"' + printable(text) + '"';
}

std::string hexByte(std::size_t byte)
{
    char text[4];
    std::snprintf(text, sizeof text, "%02X", static_cast<unsigned>(byte & 0xFF));
    return text;
}

int number(const std::string& text, int most, const std::string& option, const std::string& what)
{
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size() || value < 0 || value > most) {
        throw UsageError(option + ": " + what + " is a number from 0 to " + std::to_string(most) +
                         ", but is " + quoted(text));
    }
    return value;
}

// "PARAM=VALUE", of which each parameter comes once.
struct Assignment {
    int parameter;
    std::string value;
};

std::vector<Assignment> assignments(const std::vector<std::string>& texts,
                                    const std::string& option)
{
    constexpr int kLastParameter = 255;
    std::vector<Assignment> result;
    for (const std::string& text : texts) {
        const std::size_t equal = text.find('=');
        if (equal == std::string::npos || equal + 1 == text.size()) {
            throw UsageError(option + ": " + quoted(text) + " is not of the form PARAM=...");
        }
        const int parameter =
            number(text.substr(0, equal), kLastParameter, option, "the parameter before \"=\"");
        if (std::ranges::count(result, parameter, &Assignment::parameter) != 0) {
            throw UsageError(option + ": " + std::to_string(parameter) + " is given twice");
        }
        result.push_back({parameter, text.substr(equal + 1)});
    }
    return result;
}

// "U+20AC", or the character itself in UTF-8.
char32_t characterIn(const std::string& text, const std::string& option)
{
    std::optional<char32_t> character = readCodePoint(text);
    if (!character && text.size() <= U8_MAX_LENGTH) {
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
        int32_t length = 0;
        const auto size = static_cast<int32_t>(text.size());
        UChar32 code = U_SENTINEL;
        if (size > 0) {
            U8_NEXT(bytes, length, size, code);
        }
        if (code >= 0 && length == size) {
            character = static_cast<char32_t>(code);
        }
    }
    if (!character || !canBeShown(*character)) {
        throw UsageError(option + ": " + quoted(text) +
                         (character ? " is no character that a display could show"
                                    : " is neither one character nor a code point from U+0020 to "
                                      "U+10FFFF"));
    }
    return *character;
}

// A name for a file of the profile: small letters, so that it holds no key of the device
// information file, in which the reader finds keys anywhere in a line.
std::string fileName(std::string source, int parameter, std::set<std::string>& used)
{
    constexpr std::size_t kLongest = 60;
    source = fs::path(source).filename().string();
    if (isCodePage(source)) {
        source.erase(std::min(source.find('-'), source.size()), 1);  // "ibm437"
    } else {
        source = fs::path(source).stem().string();
    }
    std::ranges::transform(source, source.begin(), [](unsigned char c) {
        const bool kept = std::isalnum(c) != 0 || c == '-' || c == '_';
        return static_cast<char>(c >= 0x80 || !kept ? '_' : std::tolower(c));
    });
    source.resize(std::min(source.size(), kLongest));
    std::string name = source + ".txt";
    if (!used.insert(name).second) {
        name = source + "-" + std::to_string(parameter) + ".txt";
        while (!used.insert(name).second) {
            name.insert(0, "_");
        }
    }
    return name;
}

// Whether a name can only be meant as that of a file.
bool looksLikeFile(const std::string& name)
{
    std::error_code ignored;
    const std::string extension = fs::path(name).extension().string();
    return name.find('/') != std::string::npos ||
           (extension.size() > 1 && std::isdigit(static_cast<unsigned char>(extension[1])) == 0) ||
           fs::exists(name, ignored);
}

// The characters of a file, with notes on what was left out; `prefix` names the table or set.
CharacterOfByte readTableFile(const std::string& file, const std::string& prefix, FileReader read,
                              Notes& notes)
{
    const TableText text = readTableText(read(file), printable(file));
    if (text.atCommandBytes > 0) {
        notes.push_back(
            prefix + counted(text.atCommandBytes, "character") +
            " at bytes below 20 left out, as the display takes these bytes for commands");
    }
    if (text.sequences > 0) {
        notes.push_back(prefix + counted(text.sequences, "byte") +
                        " left out, as a table has one character for a byte, not several");
    }
    return text.characters;
}

std::string repeatedNote(int parameter, char32_t character, std::size_t byte, std::size_t other)
{
    return "table " + std::to_string(parameter) + ": " + describedCharacter(character) +
           " is left out at the byte " + hexByte(byte) + ", as it is also at " + hexByte(other);
}

CharacterOfByte readTable(const Assignment& table, FileReader read, Notes& notes)
{
    if (isCodePage(table.value)) {
        const CodePage page = readCodePage(table.value);
        for (const auto& [byte, other] : page.repeated) {
            notes.push_back(repeatedNote(table.parameter, *page.characters[other], byte, other));
        }
        return page.characters;
    }
    if (!looksLikeFile(table.value)) {
        throw UsageError("--table: " + quoted(table.value) +
                         " is neither a code page of ICU nor a file; most like it are " +
                         nearestCodePages(table.value));
    }
    const std::string prefix = "table " + std::to_string(table.parameter) + ": ";
    CharacterOfByte characters = readTableFile(table.value, prefix, read, notes);
    constexpr char32_t kFirst = 0x20;
    constexpr char32_t kEnd = 0x7F;
    const auto begin = characters.begin();
    if (std::all_of(begin + kFirst, begin + kEnd, [](const auto& held) { return !held; })) {
        for (char32_t c = kFirst; c < kEnd; ++c) {
            characters[c] = c;
        }
        notes.push_back(prefix + quoted(table.value) +
                        " has no byte from 20 to 7E; ASCII is added there");
    }
    return characters;
}

struct PlaceInTable {
    int parameter;
    std::uint8_t byte;
};

// "16:9F" before "=", or as a whole.
PlaceInTable place(const std::string& text, const std::string& option)
{
    const std::size_t colon = text.find(':');
    std::string digits = colon == std::string::npos ? "" : text.substr(colon + 1);
    if (digits.starts_with("0x") || digits.starts_with("0X")) {
        digits.erase(0, 2);
    }
    unsigned byte = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
    constexpr unsigned kFirst = 0x20;
    if (digits.size() != 2 || error != std::errc{} || end != digits.data() + digits.size() ||
        byte < kFirst) {
        throw UsageError(option + ": " + quoted(text) +
                         " does not begin with PARAM:BYTE, the byte from 20 to FF");
    }
    return {number(text.substr(0, colon), 255, option, "the parameter before \":\""),
            static_cast<std::uint8_t>(byte)};
}

using Tables = std::map<int, CharacterOfByte>;

// A profile should have a character at one byte of a table only: which of several is sent would be
// a matter of chance, and the lines of a character are no more than the tables. Leaves the byte of
// --map, else the lowest.
void dropRepeated(Tables& tables, const std::set<std::pair<int, std::uint8_t>>& corrected,
                  Notes& notes)
{
    for (auto& [parameter, table] : tables) {
        std::map<char32_t, std::size_t> byteOf;
        for (std::size_t byte = 0; byte < table.size(); ++byte) {
            if (table[byte] && corrected.contains({parameter, static_cast<std::uint8_t>(byte)})) {
                byteOf.emplace(*table[byte], byte);
            }
        }
        for (std::size_t byte = 0; byte < table.size(); ++byte) {
            if (table[byte] && byteOf.emplace(*table[byte], byte).first->second != byte) {
                notes.push_back(
                    repeatedNote(parameter, *table[byte], byte, byteOf.at(*table[byte])));
                table[byte].reset();
            }
        }
    }
}

// Carries out --map and --unmap.
void correct(Tables& tables, const ProfileDescription& description, Notes& notes)
{
    std::set<std::pair<int, std::uint8_t>> corrected;
    const auto find = [&](const PlaceInTable& at, const std::string& text,
                          const std::string& option) -> std::optional<char32_t>& {
        const auto table = tables.find(at.parameter);
        if (table == tables.end()) {
            throw UsageError(option + ": " + quoted(text) + ": there is no table " +
                             std::to_string(at.parameter));
        }
        if (!corrected.emplace(at.parameter, at.byte).second) {
            throw UsageError(option + ": the byte of " + quoted(text) + " is given twice");
        }
        return table->second[at.byte];
    };
    for (const std::string& text : description.maps) {
        const std::size_t equal = text.find('=');
        if (equal == std::string::npos) {
            throw UsageError("--map: " + quoted(text) + " is not of the form PARAM:BYTE=CHARACTER");
        }
        find(place(text.substr(0, equal), "--map"), text, "--map") =
            characterIn(text.substr(equal + 1), "--map");
    }
    for (const std::string& text : description.unmaps) {
        std::optional<char32_t>& character = find(place(text, "--unmap"), text, "--unmap");
        if (!character) {
            notes.push_back("--unmap " + text + ": the table has no character there anyway");
        }
        character.reset();
    }
    dropRepeated(tables, corrected, notes);
}

// Gives each table its number: that of --code-page, or in its name, or else its parameter or the
// next number that no other table has.
void numberTables(ProfilePlan& plan, const std::vector<Assignment>& sources,
                  const ProfileDescription& description, Notes& notes)
{
    constexpr int kLastCodePage = 32767;
    std::set<int> used;
    std::vector<Assignment> given = assignments(description.codePages, "--code-page");
    std::vector<CodeFile*> unnumbered;
    for (CodeFile& table : plan.tables) {
        const std::string& source =
            std::ranges::find(sources, table.parameter, &Assignment::parameter)->value;
        const auto pages = std::ranges::find(given, table.parameter, &Assignment::parameter);
        std::optional<int> page =
            codePageNumber(isCodePage(source) ? source : fs::path(source).stem().string());
        if (pages != given.end()) {
            page = number(pages->value, kLastCodePage, "--code-page", "a code page");
            given.erase(pages);
        }
        if (page) {
            table.codePage = *page;
            used.insert(*page);
        } else {
            unnumbered.push_back(&table);
        }
    }
    if (!given.empty()) {
        throw UsageError("--code-page: there is no table " +
                         std::to_string(given.front().parameter));
    }
    for (CodeFile* const table : unnumbered) {
        table->codePage = table->parameter;
        while (!used.insert(table->codePage).second) {
            ++table->codePage;
        }
        notes.push_back("table " + std::to_string(table->parameter) +
                        ": its source has no number; the code page is " +
                        std::to_string(table->codePage) + ", unless --code-page gives another");
    }
}

std::vector<std::pair<std::uint8_t, char32_t>> listOf(const CharacterOfByte& table)
{
    std::vector<std::pair<std::uint8_t, char32_t>> list;
    for (std::size_t byte = 0; byte < table.size(); ++byte) {
        if (table[byte]) {
            list.emplace_back(static_cast<std::uint8_t>(byte), *table[byte]);
        }
    }
    return list;
}

CodeFile readSet(const Assignment& set, FileReader read, Notes& notes)
{
    CodeFile result{set.parameter, 0, set.value, fs::path(set.value).stem().string(), {}};
    const auto* const row = std::ranges::find(kNationalSets, set.value, &NationalSetRow::name);
    if (row != std::end(kNationalSets)) {
        result.title = row->country;
        for (std::size_t i = 0; i < row->characters.size(); ++i) {
            result.characters.emplace_back(kNationalBytes[i], row->characters[i]);
        }
        return result;
    }
    if (!looksLikeFile(set.value)) {
        std::string names;
        for (const NationalSetRow& known : kNationalSets) {
            names.append(names.empty() ? "" : ", ") += known.name;
        }
        throw UsageError("--set: " + quoted(set.value) +
                         " is neither a national set nor a file; the sets are " + names);
    }
    result.title = printable(result.title);
    result.characters = listOf(
        readTableFile(set.value, "set " + std::to_string(set.parameter) + ": ", read, notes));
    return result;
}

// The converter takes a character of a set always from the set, which costs two switches. So a set
// gets only the characters that neither the tables nor the sets before it have.
void addSets(ProfilePlan& plan, const ProfileDescription& description, FileReader read,
             std::set<std::string>& usedNames, Notes& notes)
{
    std::set<char32_t> held = plan.characters();
    for (const Assignment& assigned : assignments(description.sets, "--set")) {
        CodeFile set = readSet(assigned, read, notes);
        std::erase_if(set.characters,
                      [&](const auto& coded) { return !held.insert(coded.second).second; });
        if (set.characters.empty()) {
            notes.push_back("set " + std::to_string(set.parameter) + " (" + set.title +
                            ") left out, as the tables and other sets have all of its characters");
            continue;
        }
        set.fileName = fileName(set.fileName, set.parameter, usedNames);
        plan.sets.push_back(std::move(set));
    }
    if (plan.sets.empty()) {
        // A profile must have a set. This one has no character at all, so it is never selected.
        constexpr int kLastParameter = 255;
        const int parameter =
            plan.defaultSet == kLastParameter ? kLastParameter - 1 : kLastParameter;
        plan.sets.push_back({parameter,
                             0,
                             fileName("none", parameter, usedNames),
                             "none",
                             {{std::uint8_t{0xFF}, char32_t{0xFFFF}}}});
    }
}

// The byte of the missing character is sent in whichever table is selected.
void findMissingCharacter(ProfilePlan& plan, const ProfileDescription& description, Notes& notes)
{
    const char32_t character = characterIn(description.missing, "--missing");
    const auto byteIn = [&](const CodeFile& table) {
        return std::ranges::find(table.characters, character,
                                 [](const auto& coded) { return coded.second; });
    };
    const auto first = std::ranges::find_if(plan.tables, [&](const CodeFile& table) {
        return byteIn(table) != table.characters.end();
    });
    if (first == plan.tables.end()) {
        throw UsageError("--missing: no table has " + describedCharacter(character));
    }
    plan.missingCharacter = byteIn(*first)->first;
    for (const CodeFile& table : plan.tables) {
        if (std::ranges::count(table.characters, std::pair(plan.missingCharacter, character)) ==
            0) {
            notes.push_back("table " + std::to_string(table.parameter) + ": the byte " +
                            hexByte(plan.missingCharacter) +
                            " of the missing character is another one there");
        }
    }
}

}  // namespace

void checkName(const std::string& option, const std::string& name)
{
    const bool good = !name.empty() && name.size() <= 127 && name.find('/') == std::string::npos &&
                      name != "." && name != ".." &&
                      std::ranges::all_of(name, [](char c) { return c >= 0x20 && c < 0x7F; });
    if (!good) {
        throw UsageError(option + ": a name has 1 to 127 printable ASCII characters and no \"/\"");
    }
}

ProfilePlan planProfile(const ProfileDescription& description, FileReader read, Notes& notes)
{
    constexpr int kLastParameter = 255;
    checkName("--device", description.device);
    std::set<std::string> usedNames = {description.device};
    for (const std::string name : {"HalvoSet.txt", "UnicodeData.txt"}) {
        if (!usedNames.insert(name).second) {
            throw UsageError("--device: every profile has another file \"" + name + '"');
        }
    }
    ProfilePlan plan;
    plan.device = description.device;
    plan.defaultSet = number(description.defaultSet, kLastParameter, "--set-default", "a set");
    std::vector<Assignment> sources = assignments(description.tables, "--table");
    Tables tables;
    for (const Assignment& source : sources) {
        tables[source.parameter] = readTable(source, read, notes);
    }
    correct(tables, description, notes);
    for (const auto& [parameter, table] : tables) {
        const auto source = std::ranges::find(sources, parameter, &Assignment::parameter);
        plan.tables.push_back(
            {parameter, 0, fileName(source->value, parameter, usedNames), "", listOf(table)});
    }
    numberTables(plan, sources, description, notes);
    findMissingCharacter(plan, description, notes);
    addSets(plan, description, read, usedNames, notes);
    if (description.fallback) {
        addSubstitutes(plan);
    }
    return plan;
}

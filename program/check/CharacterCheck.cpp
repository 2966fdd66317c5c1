#include "program/check/CharacterCheck.h"

#include "converter/RuvoConverter.h"
#include "converter/profile/ReportingFile.h"
#include "converter/profile/UnicodeData.h"
#include "program/stream/DisplayCommands.h"
#include "program/text/CharacterText.h"

#include <unicode/utf.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using ruvo::TableFileKind;

std::string byteName(std::uint8_t byte)
{
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", static_cast<unsigned>(byte));
    return text;
}

bool hasCharacter(const PlacedEntry& placed)
{
    return placed.entry.ulCodePoint != ruvo::kNoCharacter;
}

bool isSurrogate(std::uint32_t codePoint)
{
    return U_IS_SURROGATE(codePoint);
}

// Whether the code point can never be a character. A set of a display without national characters
// has such a one, as a profile must have a set.
bool isNoCharacter(std::uint32_t codePoint)
{
    return !U_IS_UNICODE_CHAR(static_cast<UChar32>(codePoint));
}

// Gathers the entries with one flaw. Gives one finding for each file, at the first such line, which
// says how many lines of the file are alike.
class EntryWarnings {
public:
    void add(const ruvo::ProfilePlace& place, const std::string& words)
    {
        Group& group = m_groups[place.path];
        if (group.lines.empty()) {
            group.words = words;
        }
        group.lines.insert(place.line);
    }

    void tell(FindingList& list, Finding::Kind kind = Finding::Kind::warning) const
    {
        for (const auto& [path, group] : m_groups) {
            const std::size_t count = group.lines.size();
            const std::string more =
                count == 1 ? "" : " (so for " + std::to_string(count) + " lines of this file)";
            list.add(kind, {path, *group.lines.begin()}, group.words + more);
        }
    }

private:
    struct Group {
        std::set<std::size_t> lines;
        std::string words;  // of the entry that was added first
    };

    std::map<std::string, Group> m_groups;
};

}  // namespace

CharacterCheck::CharacterCheck(const ruvo::HandleSettings& settings,
                               const ruvo::CharacterTables& tables, FindingList& list)
    : m_settings(settings), m_tables(tables), m_list(list)
{
    for (const TableFileKind kind : {TableFileKind::translation, TableFileKind::internalSet}) {
        for (const PlacedEntry& placed : m_list.entries(kind)) {
            const std::uint32_t codePoint = placed.entry.ulCodePoint;
            if (hasCharacter(placed) && m_tables.unicodeTable[codePoint].listed &&
                !isNoCharacter(codePoint)) {
                m_shown.insert(codePoint);
            }
        }
    }
    std::map<std::pair<std::uint8_t, std::uint8_t>, std::uint32_t> onDisplay;
    std::set<std::uint32_t> exact;
    for (const PlacedEntry& placed : m_list.entries(TableFileKind::translation)) {
        const ruvo::MapEntry& entry = placed.entry;
        if (hasCharacter(placed) &&
            onDisplay.emplace(std::pair(entry.ucParam, entry.ucCode), entry.ulCodePoint)
                    .first->second == entry.ulCodePoint) {
            exact.insert(entry.ulCodePoint);
        }
    }
    for (const PlacedEntry& placed : m_list.entries(TableFileKind::internalSet)) {
        exact.insert(placed.entry.ulCodePoint);
    }
    std::ranges::set_difference(m_shown, exact, std::inserter(m_substituted, m_substituted.end()));
}

bool CharacterCheck::checkDatabaseIsUseful()
{
    const std::string path = ruvo::unicodeDataPath(m_settings);
    std::error_code ignored;
    const bool useful =
        !m_shown.empty() || !std::filesystem::is_regular_file(path, ignored) ||
        (std::ranges::none_of(m_list.entries(TableFileKind::translation), hasCharacter) &&
         m_list.entries(TableFileKind::internalSet).empty());
    if (!useful) {
        m_list.remark({path, 0}, "has no line for any character of the tables and sets: every text "
                                 "is shown as missing characters");
    }
    return useful;
}

void CharacterCheck::checkTablesAreUseful(const ruvo::DeviceInfo& deviceInfo)
{
    std::set<std::string> useful;
    bool missingCharacterIsFound = false;
    for (const PlacedEntry& placed : m_list.entries(TableFileKind::translation)) {
        if (hasCharacter(placed)) {
            useful.insert(placed.place.path);
            missingCharacterIsFound |= placed.entry.ucCode == m_settings.ucMissingCharacterCode;
        }
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(m_settings.sMappingTableNumber); ++i) {
        const std::string path =
            m_settings.szDeviceInfoPath + deviceInfo.astTable[i].szTableFileName;
        std::error_code ignored;
        if (!useful.contains(path) && std::filesystem::is_regular_file(path, ignored)) {
            m_list.remark(m_list.placeOf("TableFileName", i),
                          ruvo::quoted(shownPath(path)) +
                              " has no character: nothing is ever sent from this table");
        }
    }
    if (!missingCharacterIsFound) {
        m_list.remark(m_list.placeOf("MissingCharacterCode"),
                      "\"MissingCharacterCode\" is " +
                          std::to_string(m_settings.ucMissingCharacterCode) +
                          ", a byte for which no table has a character");
    }
}

void CharacterCheck::checkEntries(const ruvo::DeviceInfo& deviceInfo)
{
    std::set<std::uint8_t> parameters;
    std::set<std::string> additions;  // the files of tables that have another one before
    for (std::size_t i = 0; i < static_cast<std::size_t>(m_settings.sMappingTableNumber); ++i) {
        const ruvo::TableEntry& table = deviceInfo.astTable[i];
        if (!parameters.insert(table.ucTableCommandParam).second) {
            additions.insert(m_settings.szDeviceInfoPath + table.szTableFileName);
        }
    }
    if (!m_shown.empty()) {
        checkTables();
        checkSets();
    }
    checkBytes(TableFileKind::translation, additions);
    checkBytes(TableFileKind::internalSet, {});
}

void CharacterCheck::checkTables()
{
    EntryWarnings unlisted;
    EntryWarnings unused;
    for (const PlacedEntry& placed : m_list.entries(TableFileKind::translation)) {
        const ruvo::MapEntry& entry = placed.entry;
        if (!hasCharacter(placed) || isNoCharacter(entry.ulCodePoint)) {
            continue;
        }
        const ruvo::UnicodeCharInfo& info = m_tables.unicodeTable[entry.ulCodePoint];
        if (!info.listed) {
            unlisted.add(placed.place, codePointText(entry.ulCodePoint) +
                                           " has no line in UnicodeData.txt, so it is never shown");
            continue;
        }
        const auto mappings = m_tables.unicodeTable.mappings(info);
        const auto isThis = [&](const ruvo::CharMapping& mapping) {
            return mapping.ucCode == entry.ucCode && mapping.ucTableParam == entry.ucParam;
        };
        if (!info.ucICSFlag && std::ranges::none_of(mappings, isThis)) {
            const bool cut =
                mappings.size() == static_cast<std::size_t>(m_settings.sMappingTableNumber);
            unused.add(placed.place, codePointText(entry.ulCodePoint) +
                                         " is never shown with the byte " + byteName(entry.ucCode) +
                                         (cut ? ": more bytes have it than there are tables"
                                              : ": its line in UnicodeData.txt is out of order"));
        }
    }
    unlisted.tell(m_list);
    unused.tell(m_list);
}

void CharacterCheck::checkSets()
{
    std::map<std::uint32_t, const PlacedEntry*> ofTables;
    for (const PlacedEntry& placed : m_list.entries(TableFileKind::translation)) {
        ofTables.emplace(placed.entry.ulCodePoint, &placed);
    }

    EntryWarnings unlisted;
    EntryWarnings unused;
    EntryWarnings shadowing;
    for (const PlacedEntry& placed : m_list.entries(TableFileKind::internalSet)) {
        const ruvo::MapEntry& entry = placed.entry;
        if (isNoCharacter(entry.ulCodePoint)) {
            continue;
        }
        const std::string name = codePointText(entry.ulCodePoint);
        const ruvo::UnicodeCharInfo& info = m_tables.unicodeTable[entry.ulCodePoint];
        if (!info.listed) {
            unlisted.add(placed.place,
                         name + " has no line in UnicodeData.txt, so it is never shown");
            continue;
        }
        const ruvo::CharMapping used = m_tables.unicodeTable.icsMapping(info);
        const auto table = ofTables.find(entry.ulCodePoint);
        if (used.ucCode != entry.ucCode || used.ucTableParam != entry.ucParam) {
            unused.add(placed.place, name + " is never shown with the byte " +
                                         byteName(entry.ucCode) +
                                         " of this set: the sets have it twice");
        } else if (table != ofTables.end()) {
            shadowing.add(placed.place, name + " is always taken from this set, although " +
                                            shownPath(table->second->place.path) + " has it too");
        }
    }
    unlisted.tell(m_list);
    unused.tell(m_list);
    shadowing.tell(m_list);
}

void CharacterCheck::checkBytes(TableFileKind kind, const std::set<std::string>& additions)
{
    constexpr std::uint32_t firstC1 = 0x80;  // C1: the control characters U+0080 to U+009F
    constexpr std::uint32_t lastC1 = 0x9F;
    EntryWarnings surrogates;
    EntryWarnings commands;
    EntryWarnings exchanged;
    EntryWarnings twice;
    std::map<std::pair<std::string, std::uint8_t>, const PlacedEntry*> ofBytes;
    for (const PlacedEntry& placed : m_list.entries(kind)) {
        const ruvo::MapEntry& entry = placed.entry;
        if (!hasCharacter(placed)) {
            continue;
        }
        const std::string name = codePointText(entry.ulCodePoint);
        const std::string byte = byteName(entry.ucCode);
        if (isSurrogate(entry.ulCodePoint)) {
            surrogates.add(placed.place, name + " is a surrogate, which is no character");
        }
        if (!isText(entry.ucCode)) {
            commands.add(placed.place,
                         name + " has the byte " + byte +
                             ", a control code of the display: a text could send commands");
        }
        if (entry.ulCodePoint >= firstC1 && entry.ulCodePoint <= lastC1 &&
            entry.ulCodePoint != entry.ucCode) {
            exchanged.add(placed.place,
                          name + " is a control character; in a line the byte comes first");
        }
        const PlacedEntry& first =
            *ofBytes.emplace(std::pair(placed.place.path, entry.ucCode), &placed).first->second;
        if (!additions.contains(placed.place.path) &&
            first.entry.ulCodePoint != entry.ulCodePoint) {
            twice.add(placed.place, name + " has the byte " + byte + ", which line " +
                                        std::to_string(first.place.line) + " has for " +
                                        codePointText(first.entry.ulCodePoint));
        }
    }
    surrogates.tell(m_list);
    commands.tell(m_list);
    exchanged.tell(m_list);
    twice.tell(m_list, Finding::Kind::note);  // it may be meant: look-alikes share a byte
}

// A decomposition is of use if the display has its character, or if that composes with more marks
// to a character that the display has. Warns of the others, unless no text composes to them: that
// needs a row of one component, or of a character and a mark.
void CharacterCheck::checkDecompositions(const DatabaseLines& lines)
{
    const ruvo::DecompositionTable& decompositions = m_tables.decompTable;
    std::multimap<std::uint32_t, std::uint32_t> basesOf;
    for (const ruvo::DecompEntry& row : decompositions.rows()) {
        basesOf.emplace(row.composed, row.firstComponent);
    }
    std::set<std::uint32_t> useful = m_shown;
    std::vector<std::uint32_t> unfollowed(m_shown.begin(), m_shown.end());
    while (!unfollowed.empty()) {
        const auto [first, last] = basesOf.equal_range(unfollowed.back());
        unfollowed.pop_back();
        for (auto row = first; row != last; ++row) {
            if (useful.insert(row->second).second) {
                unfollowed.push_back(row->second);
            }
        }
    }

    EntryWarnings astray;
    for (const ruvo::DecompEntry& row : decompositions.rows()) {
        const std::uint32_t second = decompositions.component(row, 1);
        const bool composes =
            row.componentCount == 1 || (row.componentCount > 1 && second <= ruvo::kMaxCodePoint &&
                                        m_tables.unicodeTable[second].combiningMark);
        const auto line = lines.find(row.composed);
        if (composes && !useful.contains(row.composed) && line != lines.end()) {
            astray.add({ruvo::unicodeDataPath(m_settings), line->second},
                       codePointText(row.composed) +
                           " has a decomposition, but no table or set has the character: letters "
                           "and marks that lead to it are missing or not composed");
        }
    }
    astray.tell(m_list);
}

bool checkDatabase(const ruvo::HandleSettings& settings, FindingList& list, DatabaseLines& lines)
{
    constexpr char noComment = '\n';
    ruvo::ReportingFile file(&list);
    if (file.open(ruvo::unicodeDataPath(settings), RUVO_UNICODE_DATA_MISSING, RUVO_OK) != RUVO_OK) {
        return false;
    }
    std::uint32_t last = 0;
    std::string_view line;
    while (file.next(noComment, line)) {
        const std::string_view field = line.substr(0, line.find_first_of(";\r\n"));
        std::uint32_t codePoint = 0;
        const auto [end, error] =
            std::from_chars(field.data(), field.data() + field.size(), codePoint, 16);
        if (end != field.data() + field.size() || field.empty() ||
            codePoint > ruvo::kMaxCodePoint) {
            file.remark([&] {
                return ruvo::quoted(field) + " before the first \";\" is no code point from 0 "
                                             "to 10FFFF; there are no comments in this file";
            });
            continue;
        }
        if (codePoint < last) {
            file.remark([&] {
                return codePointText(codePoint) + " comes after " + codePointText(last) +
                       ": characters of tables are found in ascending order only";
            });
        }
        last = std::max(last, codePoint);
        lines[codePoint] = file.lineNumber();
    }
    return true;
}

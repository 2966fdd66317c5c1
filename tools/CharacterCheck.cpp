#include "CharacterCheck.h"

#include "DisplayCommands.h"
#include "converter/ProfileFile.h"
#include "converter/RuvoConverter.h"
#include "converter/UnicodeData.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace {

using ruvo::TableFileKind;

std::string characterName(std::uint32_t codePoint)
{
    char text[16];
    std::snprintf(text, sizeof text, "U+%04X", static_cast<unsigned>(codePoint));
    return text;
}

std::string byteName(std::uint8_t byte)
{
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", static_cast<unsigned>(byte));
    return text;
}

// One warning a file for all its entries with the same flaw, at the first of them.
class EntryWarnings {
public:
    void add(const ruvo::ProfilePlace& place, const std::string& words)
    {
        Group& group = m_groups[place.path];
        if (group.lines.empty())
            group.words = words;
        group.lines.insert(place.line);
    }

    void tell(FindingList& list,
              void (FindingList::*as)(const ruvo::ProfilePlace&,
                                      const std::string&) = &FindingList::remark) const
    {
        for (const auto& [path, group] : m_groups) {
            const std::size_t count = group.lines.size();
            const std::string more =
                count == 1 ? "" : " (so for " + std::to_string(count) + " lines of this file)";
            (list.*as)({path, *group.lines.begin()}, group.words + more);
        }
    }

private:
    struct Group {
        std::set<std::size_t> lines;
        std::string words;  // of the first one
    };

    std::map<std::string, Group> m_groups;
};

class CharacterCheck {
public:
    CharacterCheck(const ruvo::HandleSettings& settings, const ruvo::CharacterTables& tables,
                   FindingList& list)
        : m_settings(settings), m_tables(tables), m_list(list)
    {
        for (const TableFileKind kind : {TableFileKind::translation, TableFileKind::internalSet}) {
            for (const PlacedEntry& placed : m_list.entries(kind)) {
                const std::uint32_t codePoint = placed.entry.ulCodePoint;
                if (codePoint != ruvo::kNoCharacter && m_tables.unicodeTable[codePoint].listed)
                    m_shown.insert(codePoint);
            }
        }
    }

    std::size_t shownCharacters() const { return m_shown.size(); }

    void checkTables();
    void checkSets();
    void checkBytes(TableFileKind kind);
    void checkDecompositions(const std::vector<PlacedDecomposition>& decompositions);

private:
    const ruvo::HandleSettings& m_settings;
    const ruvo::CharacterTables& m_tables;
    FindingList& m_list;
    std::set<std::uint32_t> m_shown;
};

void CharacterCheck::checkTables()
{
    EntryWarnings unlisted;
    EntryWarnings unused;
    for (const PlacedEntry& placed : m_list.entries(TableFileKind::translation)) {
        const ruvo::MapEntry& entry = placed.entry;
        if (entry.ulCodePoint == ruvo::kNoCharacter)
            continue;
        const ruvo::UnicodeCharInfo& info = m_tables.unicodeTable[entry.ulCodePoint];
        if (!info.listed) {
            unlisted.add(placed.place, characterName(entry.ulCodePoint) +
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
            unused.add(placed.place, characterName(entry.ulCodePoint) +
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
    for (const PlacedEntry& placed : m_list.entries(TableFileKind::translation))
        ofTables.emplace(placed.entry.ulCodePoint, &placed);

    EntryWarnings unlisted;
    EntryWarnings unused;
    EntryWarnings shadowing;
    for (const PlacedEntry& placed : m_list.entries(TableFileKind::internalSet)) {
        const ruvo::MapEntry& entry = placed.entry;
        const std::string name = characterName(entry.ulCodePoint);
        const ruvo::UnicodeCharInfo& info = m_tables.unicodeTable[entry.ulCodePoint];
        if (!info.listed) {
            unlisted.add(placed.place,
                         name + " has no line in UnicodeData.txt, so it is never shown");
            continue;
        }
        const ruvo::CharMapping inForce = m_tables.unicodeTable.icsMapping(info);
        const auto table = ofTables.find(entry.ulCodePoint);
        if (inForce.ucCode != entry.ucCode || inForce.ucTableParam != entry.ucParam)
            unused.add(placed.place, name + " is never shown with the byte " +
                                         byteName(entry.ucCode) +
                                         " of this set: the sets have it twice");
        else if (table != ofTables.end())
            shadowing.add(placed.place, name + " is always taken from this set, although " +
                                            shownPath(table->second->place.path) + " has it too");
    }
    unlisted.tell(m_list);
    unused.tell(m_list);
    shadowing.tell(m_list);
}

void CharacterCheck::checkBytes(TableFileKind kind)
{
    constexpr std::uint32_t firstC1 = 0x80;  // the second block of control characters
    constexpr std::uint32_t lastC1 = 0x9F;
    EntryWarnings commands;
    EntryWarnings exchanged;
    EntryWarnings twice;
    std::map<std::pair<std::string, std::uint8_t>, const PlacedEntry*> ofBytes;
    for (const PlacedEntry& placed : m_list.entries(kind)) {
        const ruvo::MapEntry& entry = placed.entry;
        if (entry.ulCodePoint == ruvo::kNoCharacter)
            continue;
        const std::string name = characterName(entry.ulCodePoint);
        const std::string byte = byteName(entry.ucCode);
        if (!isText(entry.ucCode))
            commands.add(placed.place,
                         name + " has the byte " + byte +
                             ", a control code of the display: a text could send commands");
        if (entry.ulCodePoint >= firstC1 && entry.ulCodePoint <= lastC1 &&
            entry.ulCodePoint != entry.ucCode)
            exchanged.add(placed.place,
                          name + " is a control character; in a line the byte comes first");
        const PlacedEntry& first =
            *ofBytes.emplace(std::pair(placed.place.path, entry.ucCode), &placed).first->second;
        if (first.entry.ulCodePoint != entry.ulCodePoint)
            twice.add(placed.place, name + " has the byte " + byte + ", which line " +
                                        std::to_string(first.place.line) + " has for " +
                                        characterName(first.entry.ulCodePoint));
    }
    commands.tell(m_list);
    exchanged.tell(m_list);
    twice.tell(m_list, &FindingList::note);  // so that look-alikes share a byte, perhaps
}

// A text decomposes into a base and marks, so other rows do not count. Nor do those whose character
// is shown, or composes on to one that is.
void CharacterCheck::checkDecompositions(const std::vector<PlacedDecomposition>& decompositions)
{
    std::multimap<std::uint32_t, std::uint32_t> basesOf;
    for (const PlacedDecomposition& row : decompositions)
        basesOf.emplace(row.composed, row.components.front());
    std::set<std::uint32_t> useful = m_shown;
    std::vector<std::uint32_t> unfollowed(m_shown.begin(), m_shown.end());
    while (!unfollowed.empty()) {
        const auto [first, last] = basesOf.equal_range(unfollowed.back());
        unfollowed.pop_back();
        for (auto row = first; row != last; ++row) {
            if (useful.insert(row->second).second)
                unfollowed.push_back(row->second);
        }
    }
    EntryWarnings astray;
    for (const PlacedDecomposition& row : decompositions) {
        const bool composes =
            row.components.size() == 1 || m_tables.unicodeTable[row.components[1]].combiningMark;
        if (composes && !useful.contains(row.composed))
            astray.add(row.place,
                       characterName(row.composed) +
                           " has a decomposition, but no table or set has the character: letters "
                           "and marks that lead to it are missing or not composed");
    }
    astray.tell(m_list);
}

// Of a decomposition field, whose tag does not count.
std::vector<std::uint32_t> readComponents(std::string_view field)
{
    std::vector<std::uint32_t> components;
    while (!field.empty()) {
        const std::string_view part = field.substr(0, field.find(' '));
        field.remove_prefix(std::min(part.size() + 1, field.size()));
        if (part.starts_with('<'))
            continue;
        const char* const end = part.data() + part.size();
        std::uint32_t component = 0;
        if (std::from_chars(part.data(), end, component, 16).ptr != end ||
            component > ruvo::kMaxCodePoint)
            break;
        components.push_back(component);
    }
    return components;
}

}  // namespace

bool checkDatabase(const ruvo::HandleSettings& settings, FindingList& list,
                   std::vector<PlacedDecomposition>& decompositions)
{
    constexpr char noComment = '\n';
    constexpr int fieldsInFront = 5;  // of the decomposition
    ruvo::ProfileFile file(&list);
    const std::string path = ruvo::unicodeDataPath(settings);
    if (file.open(path, RUVO_UNICODE_DATA_MISSING, RUVO_OK) != RUVO_OK)
        return false;
    std::uint32_t last = 0;
    std::string_view line;
    while (file.next(noComment, line)) {
        line = line.substr(0, line.find_first_of("\r\n"));
        const std::string_view field = line.substr(0, line.find(';'));
        std::uint32_t codePoint = 0;
        const auto [end, error] =
            std::from_chars(field.data(), field.data() + field.size(), codePoint, 16);
        if (end != field.data() + field.size() || field.empty() ||
            codePoint > ruvo::kMaxCodePoint) {
            file.remark([&] {
                return ruvo::quoted(field) + " in front of the first \";\" is no code point from 0 "
                                             "to 10FFFF; there are no comments in this file";
            });
            continue;
        }
        if (codePoint < last) {
            file.remark([&] {
                return characterName(codePoint) + " stands behind " + characterName(last) +
                       ": characters of tables are found in ascending order only";
            });
        }
        last = std::max(last, codePoint);
        for (int i = 0; i < fieldsInFront; ++i)
            line.remove_prefix(std::min(line.find(';'), line.size() - 1) + 1);
        std::vector<std::uint32_t> components = readComponents(line.substr(0, line.find(';')));
        if (!components.empty() && components.size() <= settings.ucDecompositionMappingSize)
            decompositions.push_back({{path, file.lineNumber()}, codePoint, std::move(components)});
    }
    return true;
}

std::size_t checkCharacters(const ruvo::HandleSettings& settings,
                            const ruvo::CharacterTables& tables,
                            const std::vector<PlacedDecomposition>& decompositions,
                            FindingList& list)
{
    CharacterCheck check(settings, tables, list);
    check.checkTables();
    check.checkSets();
    check.checkBytes(TableFileKind::translation);
    check.checkBytes(TableFileKind::internalSet);
    check.checkDecompositions(decompositions);
    return check.shownCharacters();
}

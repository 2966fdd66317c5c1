// Checks how the files of a profile fit together: characters that are never shown, bytes with two
// meanings, decompositions that lead nowhere. All of that is legal, so it gives warnings and notes,
// but no errors.
#pragma once

#include "converter/profile/HandleSettings.h"
#include "converter/tables/CharacterTables.h"
#include "program/check/FindingList.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>

// Code point to line number in UnicodeData.txt; the last line of a code point listed twice.
using DatabaseLines = std::map<std::uint32_t, std::size_t>;

// Warns of lines of UnicodeData.txt that have no code point or are out of order, and fills `lines`.
// Returns false if the file cannot be opened.
bool checkDatabase(const ruvo::HandleSettings& settings, FindingList& list, DatabaseLines& lines);

class CharacterCheck {
public:
    // All three must outlive the check. `settings` and `tables` are those of a profile that has
    // been read; `list` holds the entries of its files and gets the findings.
    CharacterCheck(const ruvo::HandleSettings& settings, const ruvo::CharacterTables& tables,
                   FindingList& list);

    // False, with a warning, if UnicodeData.txt has none of the characters of the tables and sets.
    bool checkDatabaseIsUseful();
    // Checks the lines of the tables and sets.
    void checkEntries(const ruvo::DeviceInfo& deviceInfo);
    // Warns of tables without characters, and of a missing character that no table has. All files
    // must have been read.
    void checkTablesAreUseful(const ruvo::DeviceInfo& deviceInfo);
    // `lines` are those that checkDatabase gives.
    void checkDecompositions(const DatabaseLines& lines);

    // The number of characters that the display shows, and of those for which it shows another one:
    // of a byte that several files of a table have, the first file's character is what is shown.
    std::size_t shownCharacters() const { return m_shown.size() - m_substituted.size(); }
    std::size_t substitutedCharacters() const { return m_substituted.size(); }

private:
    void checkTables();
    void checkSets();
    void checkBytes(ruvo::TableFileKind kind, const std::set<std::string>& additions);

    const ruvo::HandleSettings& m_settings;
    const ruvo::CharacterTables& m_tables;
    FindingList& m_list;
    std::set<std::uint32_t> m_shown;        // that have a byte
    std::set<std::uint32_t> m_substituted;  // those of them that show as another one
};

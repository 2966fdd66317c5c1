// Checks what the characters of a profile mean to each other. That is legal whatever it is, and so
// gives warnings only.
#pragma once

#include "converter/profile/HandleSettings.h"
#include "converter/tables/CharacterTables.h"
#include "program/check/FindingList.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>

// The line of each code point in UnicodeData.txt; of one that is listed again the last.
using DatabaseLines = std::map<std::uint32_t, std::size_t>;

// Checks the lines of UnicodeData.txt. False when there is no such file.
bool checkDatabase(const ruvo::HandleSettings& settings, FindingList& list, DatabaseLines& lines);

class CharacterCheck {
public:
    // Of a profile whose files have been read, with the entries that are in the list. All of it
    // must stay.
    CharacterCheck(const ruvo::HandleSettings& settings, const ruvo::CharacterTables& tables,
                   FindingList& list);

    // The lines of the tables and sets.
    void checkEntries();
    void checkDecompositions(const DatabaseLines& lines);

    std::size_t shownCharacters() const { return m_shown.size(); }

private:
    void checkTables();
    void checkSets();
    void checkBytes(ruvo::TableFileKind kind);

    const ruvo::HandleSettings& m_settings;
    const ruvo::CharacterTables& m_tables;
    FindingList& m_list;
    std::set<std::uint32_t> m_shown;
};

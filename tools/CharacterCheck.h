// Checks what the characters of a profile mean to each other. That is legal whatever it is, and so
// gives warnings only.
#pragma once

#include "FindingList.h"
#include "converter/CharacterTables.h"
#include "converter/HandleSettings.h"

#include <cstddef>
#include <cstdint>
#include <vector>

// A line of UnicodeData.txt that decomposes its character.
struct PlacedDecomposition {
    ruvo::ProfilePlace place;
    std::uint32_t composed;
    std::vector<std::uint32_t> components;
};

// Reads the lines of UnicodeData.txt. False when there is none.
bool checkDatabase(const ruvo::HandleSettings& settings, FindingList& list,
                   std::vector<PlacedDecomposition>& decompositions);

// Checks a profile whose files have been read, with the entries that are in the list. Returns the
// number of characters that it can show.
std::size_t checkCharacters(const ruvo::HandleSettings& settings,
                            const ruvo::CharacterTables& tables,
                            const std::vector<PlacedDecomposition>& decompositions,
                            FindingList& list);

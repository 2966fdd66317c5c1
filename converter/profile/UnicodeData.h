// Reads UnicodeData.txt, the Unicode Character Database's main file (format: Unicode Standard
// Annex #44), into the character tables.
#pragma once

#include "converter/profile/HandleSettings.h"
#include "converter/profile/TableFiles.h"
#include "converter/tables/CharacterTables.h"

#include <span>
#include <string>

namespace ruvo {

inline std::string unicodeDataPath(const HandleSettings& settings)
{
    return settings.szDeviceInfoPath + "UnicodeData.txt";
}

// Fills the tables from UnicodeData.txt, opened with `reader`, and from the entries of the
// translation tables and of the internal sets, both sorted by code point. Only code points of
// UnicodeData.txt get a byte. Returns 0, -30 or -320. Throws std::bad_alloc.
short Lutm_createTranslationTable(LineReader& reader, std::span<const MapEntry> tableList,
                                  std::span<const MapEntry> icsList, const HandleSettings& settings,
                                  CharacterTables& tables);

}  // namespace ruvo

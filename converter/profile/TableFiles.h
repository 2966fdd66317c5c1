// Translation table files and internal character set files.
#pragma once

#include "converter/profile/HandleSettings.h"
#include "converter/profile/ReportingFile.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ruvo {

// A byte without a character; sorts after every character and never matches one.
inline constexpr std::uint32_t kNoCharacter = 0xFFFFFF;
inline constexpr std::size_t kMaxFileEntries = 256;

// One line of a table or set file.
struct MapEntry {
    std::uint32_t ulCodePoint;
    std::uint8_t ucCode;   // the display byte
    std::uint8_t ucParam;  // command parameter of the table or set
};

enum class TableFileKind { translation, internalSet };

// Checks and reads one line: 0xBYTE, TAB, 0xCODEPOINT, TAB, "#" and a comment; in a translation
// table the code point may be blank. Returns the rule that the line breaks, in words, or null.
const char* Lutm_FileDataCheck(std::string_view line, TableFileKind kind, MapEntry& entry);

// Appends the lines of one file, read with `file`, to the list. Returns 0, -30, -60 or the kind's
// status for a missing or invalid file.
short readTableFile(ReportingFile& file, const std::string& path, TableFileKind kind,
                    std::uint8_t param, std::vector<MapEntry>& list);

// Sorts a list by code point; the order of equal code points is fixed (see Lutm_BrkClsQuickSort).
void Lutm_UnicodeQuickSort(std::vector<MapEntry>& list);

}  // namespace ruvo

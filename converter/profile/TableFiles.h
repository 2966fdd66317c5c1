// Reads translation table files and internal character set files.
#pragma once

#include "converter/profile/HandleSettings.h"
#include "converter/profile/ReportingFile.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ruvo {

// The code point of a byte without a character. Above U+10FFFF, so it is sorted after all
// characters and equals none.
inline constexpr std::uint32_t kNoCharacter = 0xFFFFFF;
inline constexpr std::size_t kMaxFileEntries = 256;

// One line of a table or set file.
struct MapEntry {
    std::uint32_t ulCodePoint;
    std::uint8_t ucCode;   // the display byte
    std::uint8_t ucParam;  // command parameter of the table or set
};

enum class TableFileKind { translation, internalSet };

// Checks one line and reads it into `entry`, except for ucParam: 0xBYTE, TAB, 0xCODEPOINT, TAB, "#"
// and a comment. In a translation table a blank instead of the code point means that the byte has
// no character. Returns null, or the rule that the line breaks, in words; the text is static.
const char* Lutm_FileDataCheck(std::string_view line, TableFileKind kind, MapEntry& entry);

// Reads the file `path` with `file` and appends an entry to the list for each line, at most
// kMaxFileEntries, all with the command parameter `param`. Returns 0, -30, or the kind's status for
// a missing (-300, -310) or invalid (-330, -340) file. Throws std::bad_alloc.
short readTableFile(ReportingFile& file, const std::string& path, TableFileKind kind,
                    std::uint8_t param, std::vector<MapEntry>& list);

// Sorts a list by code point; the order of equal code points is fixed (see Lutm_BrkClsQuickSort).
void Lutm_UnicodeQuickSort(std::vector<MapEntry>& list);

}  // namespace ruvo

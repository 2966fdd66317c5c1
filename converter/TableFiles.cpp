#include "TableFiles.h"

#include "CharacterTables.h"
#include "QuickSort.h"
#include "RuvoConverter.h"

#include <charconv>

namespace ruvo {

namespace {

constexpr char kComment = '#';

// Reads "0x" and hexadecimal digits, all of the field. False when it is anything else or above
// `maximum`.
bool readHexField(std::string_view field, std::uint32_t maximum, std::uint32_t& value)
{
    if (!field.starts_with("0x"))
        return false;
    const char* const last = field.data() + field.size();
    const auto [end, error] = std::from_chars(field.data() + 2, last, value, 16);
    return error == std::errc() && end == last && value <= maximum;
}

}  // namespace

bool Lutm_FileDataCheck(std::string_view line, TableFileKind kind, MapEntry& entry)
{
    if (!line.starts_with("0x"))
        return false;
    std::size_t middle = line.find("\t0x");
    if (middle == std::string_view::npos && kind == TableFileKind::translation)
        middle = line.find("\t ");
    if (middle == std::string_view::npos || line.find("\t#", middle) == std::string_view::npos)
        return false;

    // Two TABs are there now: at `middle` or before, and in front of "#".
    const std::size_t firstTab = line.find('\t');
    const std::size_t secondTab = line.find('\t', firstTab + 1);
    std::uint32_t code = 0;
    if (!readHexField(line.substr(0, firstTab), 0xFF, code))
        return false;
    entry.ucCode = static_cast<std::uint8_t>(code);

    const std::string_view codePoint = line.substr(firstTab + 1, secondTab - firstTab - 1);
    if (codePoint.starts_with("0x"))
        return readHexField(codePoint, kMaxCodePoint, entry.ulCodePoint);
    entry.ulCodePoint = kNoCharacter;
    return kind == TableFileKind::translation;
}

short readTableFile(LineReader& reader, const std::string& path, TableFileKind kind,
                    std::uint8_t param, std::vector<MapEntry>& list)
{
    const bool translation = kind == TableFileKind::translation;
    if (const short status = reader.open(path, translation ? RUVO_TABLE_MISSING : RUVO_ICS_MISSING))
        return status;
    const short invalid = translation ? RUVO_TABLE_INVALID : RUVO_ICS_INVALID;
    const std::size_t limit = list.size() + kMaxFileEntries;
    MapEntry entry{0, 0, param};
    std::string_view line;
    while (nextContentLine(reader, kComment, line)) {
        if (!Lutm_FileDataCheck(line, kind, entry) || list.size() == limit)
            return invalid;
        list.push_back(entry);
    }
    return RUVO_OK;
}

void Lutm_UnicodeQuickSort(std::vector<MapEntry>& list)
{
    if (list.size() > 1)
        quickSort(std::span(list), 0, list.size() - 1,
                  [](const MapEntry& entry) { return entry.ulCodePoint; });
}

}  // namespace ruvo

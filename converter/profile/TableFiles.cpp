#include "converter/profile/TableFiles.h"

#include "converter/RuvoConverter.h"
#include "converter/tables/CharacterTables.h"
#include "converter/tables/QuickSort.h"

#include <charconv>

namespace ruvo {

namespace {

constexpr char kComment = '#';

// Reads a field of "0x" and hexadecimal digits. False when the field is anything else, or the value
// above `maximum`.
bool readHexField(std::string_view field, std::uint32_t maximum, std::uint32_t& value)
{
    if (!field.starts_with("0x")) {
        return false;
    }
    const char* const last = field.data() + field.size();
    const auto [end, error] = std::from_chars(field.data() + 2, last, value, 16);
    return error == std::errc() && end == last && value <= maximum;
}

}  // namespace

const char* Lutm_FileDataCheck(std::string_view line, TableFileKind kind, MapEntry& entry)
{
    if (!line.starts_with("0x")) {
        return "must begin with the byte, such as 0x41, or be a comment, which begins with \"#\"";
    }
    std::size_t middle = line.find("\t0x");
    if (middle == std::string_view::npos && kind == TableFileKind::translation) {
        middle = line.find("\t ");
    }
    if (middle == std::string_view::npos) {
        return kind == TableFileKind::translation
                   ? "must have a TAB and the code point, such as 0x00E9, after the byte, or a TAB "
                     "and a blank for a byte without a character"
                   : "must have a TAB and the code point, such as 0x00E9, after the byte";
    }
    if (line.find("\t#", middle) == std::string_view::npos) {
        return "must have a TAB and \"#\" after the code point";
    }

    // The line has at least two TABs: one at `middle`, and a later one before "#".
    const std::size_t firstTab = line.find('\t');
    const std::size_t secondTab = line.find('\t', firstTab + 1);
    std::uint32_t code = 0;
    if (!readHexField(line.substr(0, firstTab), 0xFF, code)) {
        return "must have a byte from 0x00 to 0xFF before the first TAB";
    }
    entry.ucCode = static_cast<std::uint8_t>(code);

    const std::string_view codePoint = line.substr(firstTab + 1, secondTab - firstTab - 1);
    if (codePoint.starts_with("0x")) {
        return readHexField(codePoint, kMaxCodePoint, entry.ulCodePoint)
                   ? nullptr
                   : "must have a code point from 0x0000 to 0x10FFFF between the first two TABs";
    }
    entry.ulCodePoint = kNoCharacter;
    return kind == TableFileKind::translation
               ? nullptr
               : "must have the code point, such as 0x00E9, between the first two TABs";
}

short readTableFile(ReportingFile& file, const std::string& path, TableFileKind kind,
                    std::uint8_t param, std::vector<MapEntry>& list)
{
    const bool translation = kind == TableFileKind::translation;
    const short invalid = translation ? RUVO_TABLE_INVALID : RUVO_ICS_INVALID;
    if (const short status =
            file.open(path, translation ? RUVO_TABLE_MISSING : RUVO_ICS_MISSING, invalid)) {
        return status;
    }
    short status = RUVO_OK;
    const std::size_t limit = list.size() + kMaxFileEntries;
    MapEntry entry{0, 0, param};
    std::string_view line;
    while (file.next(kComment, line)) {
        const char* const rule = Lutm_FileDataCheck(line, kind, entry);
        const bool full = list.size() == limit;
        if ((rule == nullptr) && !full) {
            list.push_back(entry);
            file.entryRead(kind, entry);
            continue;
        }
        status = invalid;
        file.fault([&] {
            return full ? "is one line more than the 256 of a file"
                        : rule + (", but is " + quoted(line));
        });
        if (full || (file.listener() == nullptr)) {
            break;
        }
    }
    return status;
}

void Lutm_UnicodeQuickSort(std::vector<MapEntry>& list)
{
    if (list.size() > 1) {
        Lutm_BrkClsQuickSort(std::span(list), 0, list.size() - 1,
                             [](const MapEntry& entry) { return entry.ulCodePoint; });
    }
}

}  // namespace ruvo

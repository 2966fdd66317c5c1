#include "converter/profile/UnicodeData.h"

#include "base/Ascii.h"
#include "converter/RuvoConverter.h"

#include <algorithm>
#include <array>
#include <limits>

namespace ruvo {

namespace {

constexpr std::size_t kMaxFieldLength = 127;

// The fields of a line, counted from 0. A conversion uses neither the name nor Bidi_Class.
enum Field {
    codeValue,
    name,
    generalCategory,
    combiningClass,
    bidiClass,
    decomposition,
    fieldCount
};

using Fields = std::array<std::string_view, fieldCount>;

// The position of the next ";" from `start` on, or the line's end. A search by find is worth its
// start only in names, which are long.
std::size_t endOfField(std::string_view line, std::size_t start, bool isName)
{
    if (isName) {
        return std::min(line.find(';', start), line.size());
    }
    while (start < line.size() && line[start] != ';') {
        ++start;
    }
    return start;
}

// Splits the first fields of a line at ";" and cuts each at kMaxFieldLength. CR and LF end the
// line.
void Lutm_Split(std::string_view line, Fields& fields)
{
    if (line.ends_with('\n')) {  // nowhere else in a line
        line.remove_suffix(1);
    }
    line = line.substr(0, line.find('\r'));
    std::size_t start = 0;
    for (int i = 0; i < fieldCount; ++i) {
        const std::size_t end = endOfField(line, start, i == name);
        fields[i] = {line.data() + start, std::min(end - start, kMaxFieldLength)};
        start = std::min(end + 1, line.size());
    }
}

// Splits a decomposition field at each blank. If it has more than maxParts parts, gives none at
// all.
void Lutm_BrkClassInfSplit(std::string_view text, std::vector<std::string_view>& parts,
                           std::size_t maxParts)
{
    parts.clear();
    for (;;) {
        const std::size_t end = text.find(' ');
        if (parts.size() == maxParts) {
            parts.clear();
            return;
        }
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            return;
        }
        text = text.substr(end + 1);
    }
}

// hexDigitValue of each character; 99, which is above every base, for those that are no digits.
constexpr std::array<std::uint8_t, 256> kDigitValues = [] {
    std::array<std::uint8_t, 256> values;
    for (int i = 0; i < 256; ++i) {
        const int value = hexDigitValue(static_cast<char>(i));
        values[static_cast<std::size_t>(i)] = static_cast<std::uint8_t>(value < 0 ? 99 : value);
    }
    return values;
}();

long digitValue(char c)
{
    return kDigitValues[static_cast<unsigned char>(c)];
}

// Reads a number as the C library's strtol does: white space, a sign and, in base 16, "0x" may
// precede the digits, the first other character ends them, and without digits the number is 0. A
// number that is too large becomes the largest one.
long readUnusualNumber(std::string_view text, int base)
{
    while (!text.empty() && isAsciiSpace(text[0])) {
        text.remove_prefix(1);
    }
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    if (base == 16 && text.size() > 2 && text[0] == '0' && (text[1] | 0x20) == 'x' &&
        digitValue(text[2]) < base) {
        text.remove_prefix(2);
    }
    constexpr long limit = std::numeric_limits<long>::max();
    long value = 0;
    for (const char c : text) {
        const long digit = digitValue(c);
        if (digit >= base) {
            break;
        }
        value = value > (limit >> 4) - 1 ? limit : value * base + digit;
    }
    return negative ? -value : value;
}

// The same, faster for the usual field of at most eight digits and nothing else.
template <int base>
long readNumber(std::string_view text)
{
    constexpr std::size_t fewDigits = 8;
    long value = 0;
    bool plain = text.size() <= fewDigits;
    for (std::size_t i = 0; plain && i < text.size(); ++i) {
        plain = digitValue(text[i]) < base;
        value = value * base + digitValue(text[i]);
    }
    return plain ? value : readUnusualNumber(text, base);
}

std::uint32_t readComponent(std::string_view part)
{
    const long value = readNumber<16>(part);
    constexpr std::uint32_t unmatched = 0xFFFFFFFF;
    return value < 0 || value > long{unmatched} ? unmatched : static_cast<std::uint32_t>(value);
}

bool isCombiningMark(std::string_view category)
{
    return category.size() >= 2 && category[0] == 'M' &&
           (category[1] == 'c' || category[1] == 'n' || category[1] == 'e');
}

// Appends a row to the decomposition table for each line that has a decomposition.
class DecompositionReader {
public:
    DecompositionReader(const HandleSettings& settings, DecompositionTable& table)
        : m_mappingSize(settings.ucDecompositionMappingSize),
          m_maxRows(settings.ulDecompositionClassNumber),
          m_table(table)
    {
    }

    void read(std::uint32_t codePoint, std::string_view field)
    {
        if (field.empty()) {
            return;
        }
        Lutm_BrkClassInfSplit(field, m_parts, m_mappingSize + 1);
        if (m_parts.empty() || m_parts[0].empty() || m_table.size() >= m_maxRows) {
            return;
        }
        const bool hasTag = m_parts[0].find('<') != std::string_view::npos;
        m_components.clear();
        for (std::size_t i = hasTag ? 1 : 0; i < m_parts.size(); ++i) {
            if (m_parts[i].empty() || m_components.size() == m_mappingSize) {
                break;
            }
            m_components.push_back(readComponent(m_parts[i]));
        }
        m_table.append(codePoint, m_components);
    }

private:
    std::size_t m_mappingSize;
    std::size_t m_maxRows;
    DecompositionTable& m_table;
    std::vector<std::string_view> m_parts;
    std::vector<std::uint32_t> m_components;
};

}  // namespace

short Lutm_createTranslationTable(LineReader& reader, std::span<const MapEntry> tableList,
                                  std::span<const MapEntry> icsList, const HandleSettings& settings,
                                  CharacterTables& tables)
{
    if (const short status = reader.open(unicodeDataPath(settings), RUVO_UNICODE_DATA_MISSING)) {
        return status;
    }

    CodePointTable& unicodeTable = tables.unicodeTable;
    unicodeTable.reserve(tableList.size() + icsList.size());
    tables.decompTable.reserve(settings.ulDecompositionClassNumber);
    DecompositionReader decompositionReader(settings, tables.decompTable);
    const auto maxMappings = static_cast<std::size_t>(settings.sMappingTableNumber);
    std::vector<CharMapping> mappings;
    // The index in tableList. It only grows, as the file's code points should ascend: a code point
    // after a greater one gets no mappings.
    std::size_t t = 0;
    std::string_view line;
    while (reader.next(line)) {
        if (!line.empty() && (line[0] == '\n' || line[0] == '\r')) {
            continue;
        }
        Fields fields;
        Lutm_Split(line, fields);
        const long value = readNumber<16>(fields[codeValue]);
        if (value < 0 || value > long{kMaxCodePoint}) {
            continue;
        }
        const auto codePoint = static_cast<std::uint32_t>(value);

        // A code point that is listed again keeps its record and the mappings found for it.
        UnicodeCharInfo& info = unicodeTable.insert(codePoint);
        while (t < tableList.size() && tableList[t].ulCodePoint < codePoint) {
            ++t;
        }
        mappings.clear();
        for (; t < tableList.size() && tableList[t].ulCodePoint == codePoint; ++t) {
            if (mappings.size() < maxMappings) {
                mappings.push_back({tableList[t].ucCode, tableList[t].ucParam});
            }
        }
        if (!mappings.empty()) {
            unicodeTable.setMappings(codePoint, mappings);
        }
        info.ucCombiningClass =
            static_cast<std::uint8_t>(readNumber<10>(fields[combiningClass]) & 0xFF);
        info.combiningMark =
            isCombiningMark(fields[generalCategory].substr(0, settings.ucGeneralCategorySize));
        decompositionReader.read(codePoint, fields[decomposition]);
    }

    for (const MapEntry& entry : icsList) {
        if (unicodeTable[entry.ulCodePoint].listed) {
            unicodeTable.setICSMapping(entry.ulCodePoint, {entry.ucCode, entry.ucParam});
        }
    }
    unicodeTable.finish();
    tables.decompTable.finish(settings.ucDecompositionMappingSize);
    return RUVO_OK;
}

}  // namespace ruvo

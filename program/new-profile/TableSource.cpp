#include "program/new-profile/TableSource.h"

#include "converter/profile/ReportingFile.h"
#include "program/text/CharacterText.h"

#include <unicode/ucnv.h>
#include <unicode/utf.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <map>
#include <numeric>

namespace {

constexpr unsigned kFirstText = 0x20;  // the bytes below are commands of the display

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::string lowerCase(std::string_view text)
{
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](unsigned char c) {
        return static_cast<char>(c < 0x80 ? std::tolower(c) : c);
    });
    return result;
}

std::vector<std::string> aliases(const char* name)
{
    std::vector<std::string> result;
    UErrorCode status = U_ZERO_ERROR;
    const std::uint16_t count = ucnv_countAliases(name, &status);
    for (std::uint16_t i = 0; i < count && U_SUCCESS(status); ++i) {
        result.emplace_back(ucnv_getAlias(name, i, &status));
    }
    return result;
}

// ICU's name for a code page, "" if it has none. Manuals often give a number alone; there 1252 is
// that of Windows.
std::string nameInICU(const std::string& name)
{
    for (const char* const prefix : {"", "windows-", "ibm-"}) {
        if (!aliases((prefix + name).c_str()).empty()) {
            return prefix + name;
        }
    }
    return "";
}

icu::LocalUConverterPointer open(const char* name)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::LocalUConverterPointer converter(ucnv_open(name, &status));
    ucnv_setToUCallBack(converter.getAlias(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &status);
    if (U_FAILURE(status)) {
        throw std::runtime_error(std::string("ICU's code page ") + name + ": " +
                                 u_errorName(status));
    }
    return converter;
}

// The byte that a code page uses for a character.
std::optional<unsigned> byteOf(char32_t character, const icu::LocalUConverterPointer& converter)
{
    char byte = 0;
    const UChar in = static_cast<UChar>(character);
    UErrorCode status = U_ZERO_ERROR;
    const int32_t length = ucnv_fromUChars(converter.getAlias(), &byte, 1, &in, 1, &status);
    return U_SUCCESS(status) && length == 1
               ? std::optional(unsigned{static_cast<unsigned char>(byte)})
               : std::nullopt;
}

// The names of each single-byte code page of ICU, the usual one first. ICU lists pages that differ
// only in control characters after a comma.
std::vector<std::vector<std::string>> singleByteCodePages()
{
    std::vector<std::vector<std::string>> result;
    for (int32_t i = 0; i < ucnv_countAvailable(); ++i) {
        const char* const name = ucnv_getAvailableName(i);
        if (std::string_view(name).find(',') != std::string_view::npos ||
            ucnv_getMaxCharSize(open(name).getAlias()) != 1) {
            continue;
        }
        std::vector<std::string> names = aliases(name);
        // The first one is ICU's file, with the year, such as "ibm-437_P100-1995".
        if (names.size() > 1 && names[0].starts_with(names[1] + "_")) {
            names.erase(names.begin());
        }
        result.push_back(std::move(names));
    }
    return result;
}

// How many characters to insert, drop or exchange make one name of the other.
std::size_t distance(std::string_view one, std::string_view other)
{
    std::vector<std::size_t> row(other.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < one.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < other.size(); ++j) {
            const std::size_t exchanged = diagonal + (one[i] == other[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({exchanged, row[j] + 1, diagonal + 1});
        }
    }
    return row.back();
}

// The digits of the text from `begin` on, as a number that a profile can have.
std::optional<int> numberAt(std::string_view text, std::size_t begin)
{
    constexpr int kLast = 32767;
    if (begin >= text.size() || !isDigit(text[begin])) {
        return std::nullopt;
    }
    int number = 0;
    const std::errc error =
        std::from_chars(text.data() + begin, text.data() + text.size(), number).ec;
    return error == std::errc{} && number <= kLast ? std::optional(number) : std::nullopt;
}

// The number after a prefix at the start of the name, and perhaps a hyphen.
std::optional<int> numberAfter(std::string_view name, std::string_view prefix)
{
    if (!name.starts_with(prefix)) {
        return std::nullopt;
    }
    name.remove_prefix(prefix.size());
    return numberAt(name, name.starts_with('-') ? 1 : 0);
}

std::optional<int> windowsNumber(std::string_view name)
{
    return numberAfter(name, "windows");
}

// The parts of ISO 8859 as Windows counts them: "ISO-8859-2" is 28592.
std::optional<int> isoNumber(std::string_view name)
{
    constexpr std::string_view kISO = "8859";
    const std::size_t iso = name.find(kISO);
    if (iso == std::string_view::npos) {
        return std::nullopt;
    }
    const std::optional<int> part = numberAt(name, iso + kISO.size() + 1);
    return part && *part >= 1 && *part <= 16 ? std::optional(28590 + *part) : std::nullopt;
}

std::optional<int> ibmNumber(std::string_view name)
{
    const std::optional<int> number = numberAfter(name, "ibm");
    return number ? number : numberAfter(name, "cp");
}

// A name that is a number and perhaps more, such as "437" or "866nr".
std::optional<int> bareNumber(std::string_view name)
{
    return numberAfter(name, "");
}

// What stands before a comment, in fields between blanks.
std::vector<std::string_view> fieldsOf(std::string_view line)
{
    constexpr std::string_view kBlanks = " \t";
    line = line.substr(0, line.find('#'));
    std::vector<std::string_view> fields;
    for (std::size_t begin = line.find_first_not_of(kBlanks); begin != std::string_view::npos;) {
        const std::size_t end = line.find_first_of(kBlanks, begin);
        fields.push_back(line.substr(begin, end - begin));
        begin = end == std::string_view::npos ? end : line.find_first_not_of(kBlanks, end);
    }
    return fields;
}

// Hexadecimal digits after one of the prefixes.
std::optional<std::uint32_t> readHex(std::string_view text,
                                     std::initializer_list<std::string_view> prefixes)
{
    const auto* const prefix = std::ranges::find_if(
        prefixes, [text](std::string_view start) { return text.starts_with(start); });
    if (prefix == prefixes.end()) {
        return std::nullopt;
    }
    text.remove_prefix(prefix->size());
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    const bool good = error == std::errc{} && end == text.data() + text.size();
    return good ? std::optional(value) : std::nullopt;
}

// Whether a text is several code points, such as "0x05F2+0x05B7".
bool isSequence(std::string_view text)
{
    bool several = false;
    for (std::size_t plus = 0; (plus = text.find("+0x")) != std::string_view::npos;) {
        if (!readCodePoint(text.substr(0, plus))) {
            return false;
        }
        text.remove_prefix(plus + 1);
        several = true;
    }
    return several && readCodePoint(text);
}

}  // namespace

bool isCodePage(const std::string& name)
{
    return !nameInICU(name).empty();
}

CodePage readCodePage(const std::string& name)
{
    const icu::LocalUConverterPointer converter = open(nameInICU(name).c_str());
    if (ucnv_getMaxCharSize(converter.getAlias()) != 1) {
        throw UsageError("the code page " + name +
                         " has characters of several bytes; a table of a display has one byte for "
                         "each");
    }
    CodePage page;
    CharacterOfByte& table = page.characters;
    for (unsigned byte = kFirstText; byte < table.size(); ++byte) {
        const char in = static_cast<char>(byte);
        UChar out[2];  // longer results are ignored: a byte has one character, of one unit
        UErrorCode result = U_ZERO_ERROR;
        const int32_t length =
            ucnv_toUChars(converter.getAlias(), out, std::size(out), &in, 1, &result);
        if ((U_SUCCESS(result) != 0) && length == 1 && canBeShown(out[0])) {
            table[byte] = out[0];
        }
    }
    for (unsigned byte = kFirstText; byte < table.size(); ++byte) {
        const std::optional<unsigned> used =
            table[byte] ? byteOf(*table[byte], converter) : std::nullopt;
        if (used && *used != byte && table[*used] == table[byte]) {
            page.repeated.emplace_back(byte, *used);
        }
    }
    for (const auto& [byte, used] : page.repeated) {
        table[byte].reset();
    }
    return page;
}

std::string nearestCodePages(const std::string& name)
{
    constexpr std::size_t kMost = 4;
    std::multimap<std::size_t, std::string> names;
    for (const std::vector<std::string>& page : singleByteCodePages()) {
        const auto nearer = [&](const std::string& one, const std::string& other) {
            return distance(lowerCase(name), lowerCase(one)) <
                   distance(lowerCase(name), lowerCase(other));
        };
        const std::string& nearest = *std::ranges::min_element(page, nearer);
        names.emplace(distance(lowerCase(name), lowerCase(nearest)), nearest);
    }
    std::string list;
    std::size_t count = 0;
    for (auto it = names.begin(); it != names.end() && count < kMost; ++it, ++count) {
        list += (list.empty() ? "" : ", ") + it->second;
    }
    return list;
}

std::string codePageList()
{
    std::string list;
    for (const std::vector<std::string>& names : singleByteCodePages()) {
        for (const std::string& name : names) {
            list += (&name == names.data() ? "" : " ") + name;
        }
        list += '\n';
    }
    return list;
}

std::optional<int> codePageNumber(const std::string& name)
{
    std::vector<std::string> names = aliases(name.c_str());
    std::ranges::transform(names, names.begin(), lowerCase);
    for (const auto& list : {std::vector{lowerCase(name)}, names}) {
        for (const auto find : {windowsNumber, isoNumber, ibmNumber, bareNumber}) {
            for (const std::string& one : list) {
                if (const std::optional<int> number = find(one)) {
                    return number;
                }
            }
        }
    }
    return std::nullopt;
}

TableText readTableText(std::string_view text, const std::string& file)
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    constexpr char kEndOfText = 0x1A;  // closes files of DOS
    constexpr char32_t kUndefined = 0xFFFD;

    TableText result;
    if (text.starts_with(kByteOrderMark)) {
        text.remove_prefix(kByteOrderMark.size());
    }
    std::array<int, 256> lineOf{};
    int number = 0;
    const auto fail = [&](const std::string& words) {
        throw std::runtime_error(file + ":" + std::to_string(number) + ": " + words);
    };
    while (!text.empty()) {
        ++number;
        const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
        text.remove_prefix(line.size());
        text.remove_prefix(text.starts_with("\r\n") ? 2 : std::min(text.size(), std::size_t{1}));
        if (line.starts_with(kEndOfText)) {
            if (text.find_first_not_of("\x1A\r\n\t ") != std::string_view::npos) {
                fail("a byte 1A ends the text, but lines come after it");
            }
            break;
        }
        const std::vector<std::string_view> fields = fieldsOf(line);
        if (fields.empty()) {
            continue;
        }
        const std::optional<std::uint32_t> byte = readHex(fields[0], {"0x", "0X"});
        if (!byte || *byte > 0xFF) {
            fail("must begin with a byte from 0x00 to 0xFF, but has " + ruvo::quoted(fields[0]) +
                 (byte ? ", which is more than one byte" : ""));
        }
        if (lineOf[*byte] != 0) {
            fail("the byte " + std::string(fields[0]) + " is in line " +
                 std::to_string(lineOf[*byte]) + " already");
        }
        lineOf[*byte] = number;
        if (fields.size() > 2) {
            fail("must have a byte, a code point and then \"#\" and a comment, but has " +
                 ruvo::quoted(fields[2]));
        }
        if (fields.size() == 1) {
            continue;
        }
        std::string_view shown = fields[1];
        for (const std::string_view direction : {"<LR>+", "<RL>+"}) {
            shown.remove_prefix(shown.starts_with(direction) ? direction.size() : 0);
        }
        if (isSequence(shown)) {
            ++result.sequences;
            continue;
        }
        const std::optional<char32_t> character = readCodePoint(shown);
        if (!character) {
            fail("must have one code point from 0x0000 to 0x10FFFF after the byte, but has " +
                 ruvo::quoted(fields[1]));
        }
        if (U_IS_SURROGATE(*character)) {
            fail(codePointText(*character) + " is a surrogate, which is no character");
        }
        if (!canBeShown(*character) || *character == kUndefined) {
            continue;
        }
        if (*byte < kFirstText) {
            ++result.atCommandBytes;
        } else {
            result.characters[*byte] = *character;
        }
    }
    if (std::ranges::none_of(result.characters,
                             [](const auto& held) { return held.has_value(); })) {
        throw std::runtime_error(file + " has no character at a byte from 20 on");
    }
    return result;
}

std::optional<char32_t> readCodePoint(std::string_view text)
{
    constexpr std::uint32_t kLast = 0x10FFFF;
    const std::optional<std::uint32_t> value = readHex(text, {"0x", "0X", "U+", "u+"});
    return value && *value <= kLast ? std::optional<char32_t>(*value) : std::nullopt;
}

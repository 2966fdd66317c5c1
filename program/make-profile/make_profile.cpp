// make-profile: writes the complete device profile of the default display into one directory.
//
// The translation tables come from ICU's converters. The internal character sets hold the national
// characters that are in none of those tables. UnicodeData.txt comes from the file of that name of
// the Unicode Character Database.

#include "program/make-profile/make_profile_rows.h"
#include "program/text/CharacterText.h"

#include <unicode/uchar.h>
#include <unicode/ucnv.h>

#include <array>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

using Table = std::array<std::optional<char32_t>, 256>;  // byte to character
using Characters = std::set<char32_t>;

struct NationalSet {
    const NationalSetRow* row;
    std::vector<std::pair<unsigned, char32_t>> characters;  // byte and character
};

struct UnicodeData {
    std::string text;
    int decompositions = 0;
};

struct Options {
    fs::path unicodeData;
    fs::path out;
    std::string path = ".";  // the current directory of the program that opens the profile
    // make-profile does not create this directory, and without it nothing is logged.
    std::string logPath = "log";
};

Table readTable(const CodePageRow& row)
{
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocalUConverterPointer converter(ucnv_open(row.icuName, &status));
    ucnv_setToUCallBack(converter.getAlias(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &status);
    if (U_FAILURE(status)) {
        throw std::runtime_error(std::string("ICU converter ") + row.icuName + ": " +
                                 u_errorName(status));
    }

    Table table;
    // No text may send a control code to the display. So the bytes below 0x20 stay unmapped, and so
    // do those that ICU maps to a control character, such as 0x7F.
    for (unsigned byte = 0x20; byte < table.size(); ++byte) {
        const char in = static_cast<char>(byte);
        UChar out[2];  // longer results are ignored: a byte has one character, of one unit
        UErrorCode result = U_ZERO_ERROR;
        const int32_t length =
            ucnv_toUChars(converter.getAlias(), out, std::size(out), &in, 1, &result);
        if ((U_SUCCESS(result) != 0) && length == 1 && hasName(out[0])) {
            table[byte] = out[0];
        }
    }
    return table;
}

// The converter takes a character of a set always from the set, which costs two switches. So a set
// gets only characters that are not in `held` yet. Adds them to `held`.
std::vector<NationalSet> nationalSets(Characters& held)
{
    std::vector<NationalSet> sets;
    for (const NationalSetRow& row : kNationalSets) {
        NationalSet set{&row, {}};
        for (std::size_t i = 0; i < row.characters.size(); ++i) {
            if (held.insert(row.characters[i]).second) {
                set.characters.emplace_back(kNationalBytes[i], row.characters[i]);
            }
        }
        if (!set.characters.empty()) {
            sets.push_back(std::move(set));
        }
    }
    if (sets.empty()) {
        throw std::runtime_error("the tables hold every national character, "
                                 "but a device needs at least one internal character set");
    }
    return sets;
}

std::string dataLine(unsigned byte, std::optional<char32_t> character)
{
    char codes[32];
    if (!character) {
        std::snprintf(codes, sizeof codes, "0x%02X\t \t# ", byte);
        return std::string(codes) + "UNMAPPED\n";
    }
    std::snprintf(codes, sizeof codes, "0x%02X\t0x%04X\t# ", byte, unsigned{*character});
    return codes + characterName(*character) + '\n';
}

std::string tableText(const CodePageRow& row, const Table& table)
{
    std::string text = "# Code page " + std::to_string(row.codePage) + ", ESC t " +
                       std::to_string(row.commandParam) + '\n';
    for (unsigned byte = 0; byte < table.size(); ++byte) {
        text += dataLine(byte, table[byte]);
    }
    return text;
}

std::string setText(const NationalSet& set)
{
    std::string text = "# National characters: " + std::string(set.row->country) + ", ESC R " +
                       std::to_string(set.row->commandParam) + '\n';
    for (const auto& [byte, character] : set.characters) {
        text += dataLine(byte, character);
    }
    return text;
}

std::optional<char32_t> codePoint(std::string_view digits)
{
    std::uint32_t value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (error != std::errc{} || end != digits.data() + digits.size()) {
        return std::nullopt;
    }
    return value;
}

// Whether the profile keeps the decomposition field of a character. Two forms are of use: a letter
// and a mark, and the spacing form of a mark, which shows it on its own (a tag in "<>", U+0020 and
// the mark; such as U+00B4 for U+0301).
//
// The display must hold the character, too. The converter takes the first row that fits the text
// and does not take it back if the display lacks the result. Without that row the letter still goes
// out by itself, followed by what becomes of the mark.
bool keepsDecomposition(char32_t composed, const std::string& field, const Characters& held)
{
    constexpr std::string_view kSpace = "0020";
    std::istringstream words(field);
    std::vector<std::string> parts{std::istream_iterator<std::string>(words), {}};
    const bool tagged = field.starts_with('<');
    if (tagged) {
        parts.erase(parts.begin());
    }
    if (parts.size() != 2 || (tagged && parts[0] != kSpace) || !held.contains(composed)) {
        return false;
    }
    const auto mark = static_cast<UChar32>(codePoint(parts[1]).value_or(0));
    return (U_GET_GC_MASK(mark) & U_GC_M_MASK) != 0;
}

// Reads every line of the source, and empties the decomposition fields that are not kept.
UnicodeData readUnicodeData(const fs::path& source, const Characters& held)
{
    constexpr int kDecompositionField = 5;

    UnicodeData result;
    std::ifstream in(source, std::ios::binary);
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.ends_with('\r')) {  // as in a file that make-profile wrote
            line.pop_back();
        }
        std::size_t begin = 0;
        for (int field = 0; field < kDecompositionField && begin != std::string::npos; ++field) {
            begin = line.find(';', field == 0 ? 0 : begin + 1);
        }
        const std::size_t end = begin == std::string::npos ? begin : line.find(';', ++begin);
        const auto character = codePoint(std::string_view(line).substr(0, line.find(';')));
        if (end == std::string::npos || !character) {
            throw std::runtime_error(source.string() + ": line " + std::to_string(number) +
                                     " is not a line of UnicodeData.txt");
        }
        if (keepsDecomposition(*character, line.substr(begin, end - begin), held)) {
            ++result.decompositions;
        } else {
            line.erase(begin, end - begin);
        }
        result.text += line + '\n';
    }
    if (!in.eof() || number == 0) {
        throw std::runtime_error("cannot read " + source.string());
    }
    return result;
}

std::string settingsText(const Options& options)
{
    return "[Settings]\n"
           "EncodeTypeDefault=3\n"      // UTF-8, in which the engine hands texts over
           "MissingCharacterCode=63\n"  // a question mark
           "DeviceInfoPath=" +
           options.path +
           "\n"
           "MaximumHandle=254\n"
           "OutputBufferBlockSize=4096\n"
           "OutputBufferBlockMax=255\n"
           "[LOG]\n"
           "LogFilePath=" +
           options.logPath +
           "\n"
           "LogMaxSize=1\n";
}

std::string deviceText(const std::vector<NationalSet>& sets, int decompositions)
{
    std::ostringstream text;
    text << "[Common]\n"
         << "MappingTableNumber=" << std::size(kCodePages) << '\n'
         << "InternalCharacterSetNumber=" << sets.size() << '\n'
         << "ICSCommandDefault=" << kDefaultSetParam << '\n'
         << "DecompositionClassNumber=" << decompositions << '\n'
         << "GeneralCategorySize=2\n"
         << "CanonicalCombiningClassSize=3\n"
         << "BidiClassSize=3\n"
         << "DecompositionMappingSize=2\n";
    int table = 0;
    for (const CodePageRow& row : kCodePages) {
        text << "[Table" << ++table << "]\n"
             << "CodePage=" << row.codePage << '\n'
             << "TableCommandParam=" << row.commandParam << '\n'
             << "TableFileName=" << row.fileName << '\n';
    }
    int number = 0;
    for (const NationalSet& set : sets) {
        text << "[ICS" << ++number << "]\n"
             << "ICSCommandParam=" << set.row->commandParam << '\n'
             << "ICSFileName=" << set.row->fileName << '\n';
    }
    return text.str();
}

// Writes the text with CR LF at the end of each line, as the readers of a profile expect. Writes
// under another name first, so that no reader finds half a file.
void writeFile(const fs::path& file, const std::string& text)
{
    const fs::path temporary = file.string() + ".tmp";
    std::ofstream out(temporary, std::ios::binary);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        out << line << "\r\n";
    }
    out.close();
    std::error_code error;
    if (out) {
        fs::rename(temporary, file, error);
    }
    if (!out || error) {
        std::error_code ignored;
        fs::remove(temporary, ignored);
        throw std::runtime_error("cannot write " + file.string());
    }
}

void makeProfile(const Options& options)
{
    std::vector<Table> tables;
    Characters held;
    for (const CodePageRow& row : kCodePages) {
        for (const auto& character : tables.emplace_back(readTable(row))) {
            if (character) {
                held.insert(*character);
            }
        }
    }
    const std::vector<NationalSet> sets = nationalSets(held);
    const UnicodeData unicodeData = readUnicodeData(options.unicodeData, held);

    fs::create_directories(options.out);
    for (std::size_t i = 0; i < tables.size(); ++i) {
        writeFile(options.out / kCodePages[i].fileName, tableText(kCodePages[i], tables[i]));
    }
    for (const NationalSet& set : sets) {
        writeFile(options.out / set.row->fileName, setText(set));
    }
    writeFile(options.out / "UnicodeData.txt", unicodeData.text);
    writeFile(options.out / "default", deviceText(sets, unicodeData.decompositions));
    // The last file, as a folder without it is no profile.
    writeFile(options.out / "HalvoSet.txt", settingsText(options));
}

// Throws if a path cannot be a value of HalvoSet.txt, which is one line of at most 200 characters.
// The reader finds keys anywhere in a line, so the path must not hold one that it looks for
// earlier.
void checkPath(std::string_view option, const std::string& path)
{
    const bool fits = !path.empty() && path.size() <= 200 &&
                      path.find_first_of("\r\n") == std::string::npos &&
                      path.find("EncodeTypeDefault") == std::string::npos &&
                      path.find("MissingCharacterCode") == std::string::npos;
    if (!fits) {
        throw std::runtime_error(std::string(option) + " does not fit into HalvoSet.txt: " + path);
    }
}

std::optional<Options> readOptions(int count, char** arguments)
{
    Options options;
    for (int i = 1; i < count; i += 2) {
        const std::string_view name = arguments[i];
        if (i + 1 == count) {
            return std::nullopt;
        }
        const char* const value = arguments[i + 1];
        if (name == "--unicode-data") {
            options.unicodeData = value;
        } else if (name == "--out") {
            options.out = value;
        } else if (name == "--path") {
            options.path = value;
        } else if (name == "--log-path") {
            options.logPath = value;
        } else {
            return std::nullopt;
        }
    }
    if (options.unicodeData.empty() || options.out.empty()) {
        return std::nullopt;
    }
    return options;
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        const std::optional<Options> options = readOptions(argc, argv);
        if (!options) {
            std::cerr << "usage: make-profile --unicode-data FILE --out DIR [--path PATH] "
                         "[--log-path PATH]\n";
            return 2;
        }
        checkPath("--path", options->path);
        checkPath("--log-path", options->logPath);
        makeProfile(*options);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "make-profile: " << error.what() << '\n';
        return 1;
    }
}

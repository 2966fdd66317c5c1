// make-profile: writes the complete device profile of the default display into one directory.
//
// The translation tables come from ICU's converters, the internal character sets from the national
// characters that none of those tables holds, and the profile's UnicodeData.txt from the file that
// the Unicode Character Database publishes under that name.

#include "program/make-profile/make_profile_rows.h"

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
    // The profile has no such directory, so nothing is logged until somebody creates it.
    std::string logPath = "log";
};

// Empty for what has no name: control characters, private use and unassigned code points.
std::string characterName(char32_t character)
{
    char name[128];
    UErrorCode status = U_ZERO_ERROR;
    u_charName(static_cast<UChar32>(character), U_UNICODE_CHAR_NAME, name, sizeof name, &status);
    return U_SUCCESS(status) ? name : "";
}

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
    // A byte that acts on the display must not come out of text: the control bytes below 0x20 stay
    // unmapped, and so do the bytes above, such as 7F, whose character is a control character.
    for (unsigned byte = 0x20; byte < table.size(); ++byte) {
        const char in = static_cast<char>(byte);
        UChar out[2];  // a character of two units would not be one of a display
        UErrorCode result = U_ZERO_ERROR;
        const int32_t length =
            ucnv_toUChars(converter.getAlias(), out, std::size(out), &in, 1, &result);
        if ((U_SUCCESS(result) != 0) && length == 1 && !characterName(out[0]).empty()) {
            table[byte] = out[0];
        }
    }
    return table;
}

// A character of an internal set is never looked up in the tables and costs two switches, so a set
// keeps only what no table holds. Adds the sets' characters to `held`.
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

// Whether a character's decomposition field belongs into the profile: as a pair of letter and mark
// that composes to it, or as the spacing form of a mark (a formatting tag, U+0020 and the mark).
//
// Composition takes the first row that begins like the text, a row of one component begins like
// every text with that character, and a result that the display lacks is not taken back. So a row
// is kept only when it leads to a character which the display holds; where there is none, the
// letter keeps its own byte in front of whatever its mark becomes.
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

// Every line of the source; the decomposition field is emptied where it is not kept.
UnicodeData readUnicodeData(const fs::path& source, const Characters& held)
{
    constexpr int kDecompositionField = 5;

    UnicodeData result;
    std::ifstream in(source, std::ios::binary);
    int number = 0;
    for (std::string line; std::getline(in, line);) {
        ++number;
        if (line.ends_with('\r')) {  // such as in the file of a profile
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
           "EncodeTypeDefault=3\n"      // UTF-8, which the markup engine passes
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

// Ends every line in CR LF, which the readers of a profile expect. Writes under another name
// first, so that nobody meets half a file.
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
    // Last, because without it the rest is no profile yet.
    writeFile(options.out / "HalvoSet.txt", settingsText(options));
}

// A path becomes a value of HalvoSet.txt: one line, at most 200 characters, and without the keys
// that are looked for in that line before "DeviceInfoPath".
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

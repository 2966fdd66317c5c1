#include "ProfileFixture.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace {

template <class... Arguments>
std::string printed(const char* format, Arguments... arguments)
{
    char text[200];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

unsigned long hexadecimal(const std::string& digits)
{
    return std::stoul(digits, nullptr, 16);
}

std::string section(const std::string& name, const Profile::Keys& keys)
{
    std::string text = "[" + name + "]\r\n";
    for (const auto& [key, value] : keys) {
        text += key + "=" + value + "\r\n";
    }
    return text;
}

void writeLines(const std::filesystem::path& path, const Profile::Lines& lines)
{
    std::ofstream file(path, std::ios::binary);
    for (const std::string& line : lines) {
        file << line << "\r\n";
    }
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

// The lines of the database, and a line for each other character of the tables and sets.
Profile::Lines allCharacters(const Profile& profile)
{
    std::multimap<unsigned long, std::string> characters;
    for (const std::string& line : profile.database) {
        characters.emplace(hexadecimal(line), line);
    }
    for (const auto* list : {&profile.tables, &profile.sets}) {
        for (const Profile::Table& table : *list) {
            for (const std::string& line : table.lines) {
                const unsigned long codePoint = hexadecimal(line.substr(5));
                if (!characters.contains(codePoint)) {
                    characters.emplace(codePoint,
                                       Profile::character(static_cast<char32_t>(codePoint)));
                }
            }
        }
    }
    Profile::Lines lines;
    for (const auto& [codePoint, line] : characters) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace

void Profile::set(const std::string& name, const std::string& value)
{
    for (Keys* keys : {&settings, &log, &common}) {
        if (keys->contains(name) || keys == &common) {
            return void(keys->at(name) = value);
        }
    }
}

bool Profile::define(const std::string& keyword, const std::string& value)
{
    std::istringstream parts(value);
    for (std::string part, word; std::getline(parts, part, '|');) {
        std::istringstream words(part);
        if (keyword == "key") {
            while (words >> word) {
                set(word.substr(0, word.find('=')), word.substr(word.find('=') + 1));
            }
        } else if (keyword == "table" || keyword == "set") {
            Table table{};
            words >> table.commandParam;
            if (keyword == "table") {
                words >> table.codePage;
            }
            while (words >> word) {
                const std::size_t equal = word.find('=');
                const unsigned long last = hexadecimal(word.substr(equal - 2));
                unsigned long codePoint = hexadecimal(word.substr(equal + 1));
                for (unsigned long byte = hexadecimal(word); byte <= last; ++byte) {
                    table.lines.push_back(printed("0x%02lX\t0x%04lX\t#", byte, codePoint++));
                }
            }
            (keyword == "table" ? tables : sets).push_back(table);
        } else if (keyword == "char") {
            std::string category, combiningClass, decomposition;
            words >> word >> category >> combiningClass >> std::ws;
            std::getline(words, decomposition);
            decomposition.erase(decomposition.find_last_not_of(' ') + 1);
            database.push_back(character(static_cast<char32_t>(hexadecimal(word)), category,
                                         combiningClass, decomposition));
        } else {
            return false;
        }
    }
    return true;
}

void Profile::write(const std::filesystem::path& directory) const
{
    writeLines(directory / "HalvoSet.txt", {section("Settings", settings) + section("LOG", log)});
    Keys numbers = common;
    numbers["MappingTableNumber"] = std::to_string(tables.size());
    numbers["InternalCharacterSetNumber"] = std::to_string(sets.size());
    std::string device = section("Common", numbers);
    const auto add = [&](const std::vector<Table>& list, const std::string& name,
                         const std::string& keys, const std::string& file) {
        for (std::size_t i = 0; i < list.size(); ++i) {
            const std::string number = std::to_string(i + 1);
            Keys values = {{keys + "Param", std::to_string(list[i].commandParam)},
                           {name + "FileName", file + number + ".txt"}};
            if (name == "Table") {
                values["CodePage"] = std::to_string(list[i].codePage);
            }
            device += section(name + number, values);
            writeLines(directory / (file + number + ".txt"), list[i].lines);
        }
    };
    add(tables, "Table", "TableCommand", "table");
    add(sets, "ICS", "ICSCommand", "set");
    writeLines(directory / deviceName, {device});
    writeLines(directory / "UnicodeData.txt", allCharacters(*this));
}

std::string Profile::character(char32_t codePoint, const std::string& category,
                               const std::string& combiningClass, const std::string& decomposition)
{
    return printed("%04lX;NAME;%s;%s;L;%s;;;;N;;;;;", static_cast<unsigned long>(codePoint),
                   category.c_str(), combiningClass.c_str(), decomposition.c_str());
}

Profile smallDisplay()
{
    Profile profile;
    profile.define("table", "0 437 20..7E=0020 | 2 850 84=00E4 82=00E9 | 17 866 A6=0436");
    profile.define("set", "3 5C=00A5");
    profile.define("char", "00E4 Ll 0 0061 0308 | 00E9 Ll 0 0065 0301 | 0301 Mn 230 | 0308 Mn 230");
    return profile;
}

Profile mixedDisplay(int blockSize)
{
    Profile profile;
    profile.set("OutputBufferBlockSize", std::to_string(blockSize));
    profile.set("DecompositionMappingSize", "3");
    profile.define("table", "0 437 20..7E=0020 C0..DF=00E0");
    profile.define("table", "4 850 20..23=0020 25..3F=0025 41..5F=0041 80..9E=0060 "
                            "| 2 932 A0..FE=3020 20..3F=10400");
    profile.define("set", "7 5C=00A5 7E=007E");
    profile.define("char", "00E1 Ll 0 0061 0301 | 00E9 Ll 0 0065 0301 | 0101 Ll 0 00E1 0323");
    profile.define("char", "0300 Mn 230 | 0301 Mn 230 | 0323 Mn 220");
    return profile;
}

TemporaryDirectory::TemporaryDirectory() : previous_(std::filesystem::current_path())
{
    std::string name = std::filesystem::temp_directory_path() / "kestrix-test-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary directory");
    }
    directory_ = name;
    std::filesystem::current_path(directory_);
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored;
    std::filesystem::current_path(previous_, ignored);
    std::filesystem::remove_all(directory_, ignored);
}

std::ptrdiff_t ProfileFixture::openFiles()
{
    namespace fs = std::filesystem;
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

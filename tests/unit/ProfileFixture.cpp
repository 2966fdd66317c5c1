#include "ProfileFixture.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace {

std::string hexadecimal(const char* format, unsigned long number)
{
    char text[16];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

void append(Profile::Lines& lines, const std::vector<Profile::Key>& keys)
{
    for (const Profile::Key& key : keys) {
        lines.push_back(key.name + "=" + key.value);
    }
}

Profile::Lines settingsLines(const Profile& profile)
{
    Profile::Lines lines = {"[Settings]"};
    append(lines, profile.settings);
    lines.push_back("[LOG]");
    append(lines, profile.log);
    return lines;
}

Profile::Lines deviceLines(const Profile& profile)
{
    Profile::Lines lines = {"[Common]",
                            "MappingTableNumber=" + std::to_string(profile.tables.size()),
                            "InternalCharacterSetNumber=" + std::to_string(profile.sets.size())};
    append(lines, profile.common);
    int number = 0;
    for (const Profile::Table& table : profile.tables) {
        lines.push_back("[Table" + std::to_string(++number) + "]");
        append(lines, {{"CodePage", std::to_string(table.codePage)},
                       {"TableCommandParam", std::to_string(table.commandParam)},
                       {"TableFileName", table.fileName}});
    }
    number = 0;
    for (const Profile::InternalSet& set : profile.sets) {
        lines.push_back("[ICS" + std::to_string(++number) + "]");
        append(lines, {{"ICSCommandParam", std::to_string(set.commandParam)},
                       {"ICSFileName", set.fileName}});
    }
    return lines;
}

}  // namespace

void Profile::set(const std::string& name, const std::string& value)
{
    for (std::vector<Key>* keys : {&settings, &log, &common}) {
        for (Key& key : *keys) {
            if (key.name == name) {
                key.value = value;
                return;
            }
        }
    }
    throw std::out_of_range("no key " + name);
}

void Profile::write(const std::filesystem::path& directory) const
{
    const auto writeFile = [&](const std::string& name, const Lines& lines) {
        std::ofstream file(directory / name, std::ios::binary);
        for (const std::string& line : lines) {
            file << line << lineEnd;
        }
        if (!file.flush()) {
            throw std::runtime_error("cannot write " + name);
        }
    };
    writeFile("HalvoSet.txt", settingsLines(*this));
    writeFile(deviceName, deviceLines(*this));
    for (const Table& table : tables) {
        writeFile(table.fileName, table.lines);
    }
    for (const InternalSet& set : sets) {
        writeFile(set.fileName, set.lines);
    }
    writeFile("UnicodeData.txt", database);
}

std::string Profile::mapping(int byte, char32_t codePoint)
{
    return hexadecimal("0x%02lX", static_cast<unsigned long>(byte)) + "\t" +
           hexadecimal("0x%04lX", codePoint) + "\t#";
}

std::string Profile::unmapped(int byte)
{
    return hexadecimal("0x%02lX", static_cast<unsigned long>(byte)) + "\t \t#";
}

std::string Profile::character(char32_t codePoint, const std::string& category, int combiningClass,
                               const std::string& decomposition)
{
    return hexadecimal("%04lX", codePoint) + ";NAME;" + category + ";" +
           std::to_string(combiningClass) + ";L;" + decomposition + ";;;;N;;;;;";
}

Profile smallDisplay()
{
    Profile profile;
    Profile::Table ascii = {437, 0, "ascii.txt", {}};
    for (char32_t c = 0x20; c < 0x7F; ++c) {
        ascii.lines.push_back(Profile::mapping(static_cast<int>(c), c));
        profile.database.push_back(Profile::character(c));
    }
    profile.tables = {
        ascii,
        {850, 2, "latin.txt", {Profile::mapping(0x84, 0xE4), Profile::mapping(0x82, 0xE9)}},
        {866, 17, "cyrillic.txt", {Profile::mapping(0xA6, 0x436), Profile::unmapped(0xA7)}}};
    profile.sets = {{3, "national.txt", {Profile::mapping(0x5C, 0xA5)}}};
    for (const std::string& line :
         {Profile::character(0xA5), Profile::character(0xE4, "Ll", 0, "0061 0308"),
          Profile::character(0xE9, "Ll", 0, "0065 0301"), Profile::character(0x301, "Mn", 230),
          Profile::character(0x308, "Mn", 230), Profile::character(0x436)}) {
        profile.database.push_back(line);
    }
    return profile;
}

Profile mixedDisplay(int blockSize)
{
    Profile profile;
    profile.set("OutputBufferBlockSize", std::to_string(blockSize));
    profile.set("DecompositionMappingSize", "3");
    Profile::Lines ascii;
    Profile::Lines shifted;
    Profile::Lines wide;
    for (int i = 0x20; i < 0x7F; ++i) {
        ascii.push_back(Profile::mapping(i, static_cast<char32_t>(i)));
        if (i != '$' && i != '@')
            shifted.push_back(Profile::mapping(i < 0x60 ? i : i + 0x20, static_cast<char32_t>(i)));
        wide.push_back(Profile::mapping(i + 0x80, static_cast<char32_t>(0x3000 + i)));
    }
    for (int i = 0; i < 32; ++i) {
        ascii.push_back(Profile::mapping(0xC0 + i, static_cast<char32_t>(0xE0 + i)));
        wide.push_back(Profile::mapping(0x20 + i, static_cast<char32_t>(0x10400 + i)));
    }
    profile.tables = {
        {437, 0, "a.txt", ascii}, {850, 4, "b.txt", shifted}, {932, 2, "c.txt", wide}};
    profile.sets = {{7, "s.txt", {Profile::mapping(0x5C, 0xA5), Profile::mapping(0x7E, '~')}}};
    for (char32_t i = 0x20; i < 0x110; ++i) {
        const bool composes = i == 0xE1 || i == 0xE9 || i == 0x101;
        const std::string decomposition = i == 0xE1    ? "0061 0301"
                                          : i == 0xE9  ? "0065 0301"
                                          : i == 0x101 ? "00E1 0323"
                                                       : "";
        profile.database.push_back(Profile::character(i, composes ? "Ll" : "Lo", 0, decomposition));
    }
    for (const char32_t mark : {0x300, 0x301, 0x323})
        profile.database.push_back(Profile::character(mark, "Mn", mark == 0x323 ? 220 : 230));
    for (char32_t i = 0x3000; i < 0x3100; ++i)
        profile.database.push_back(Profile::character(i));
    for (char32_t i = 0x10400; i < 0x10430; ++i)
        profile.database.push_back(Profile::character(i));
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

// The default profile as it was built, opened through the current directory.
#include "converter/RuvoConverter.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;
constexpr unsigned char kEsc = 0x1B;
const Bytes kMissing{kEsc, 't', 0, '?'};

struct CodeFile {
    std::string name;
    long codePage = 0;  // of a table
    unsigned char param = 0;
    std::vector<std::pair<unsigned char, char32_t>> mapped;
};

// The files that the device information names in its sections "Table" or "ICS".
std::vector<CodeFile> codeFiles(const std::string& kind)
{
    std::vector<CodeFile> files(1);  // the last one is still being read
    std::ifstream device("default");
    for (std::string line; std::getline(device, line);) {
        const std::string value = line.substr(line.find('=') + 1);
        if (line.starts_with("CodePage="))
            files.back().codePage = std::stol(value);
        else if (line.starts_with(kind + "CommandParam="))
            files.back().param = static_cast<unsigned char>(std::stoul(value));
        else if (line.starts_with(kind + "FileName=")) {
            files.back().name = value.substr(0, value.find('\r'));
            files.emplace_back();
        }
    }
    files.pop_back();
    for (CodeFile& file : files) {
        std::ifstream codes(file.name);
        unsigned byte = 0, character = 0;
        for (std::string line; std::getline(codes, line);)
            if (std::sscanf(line.c_str(), "0x%X\t0x%X", &byte, &character) == 2)
                file.mapped.emplace_back(static_cast<unsigned char>(byte), character);
    }
    return files;
}

// Composed character and its two components.
std::vector<std::array<unsigned, 3>> decompositions()
{
    std::vector<std::array<unsigned, 3>> rows;
    std::ifstream database("UnicodeData.txt");
    for (std::string line; std::getline(database, line);) {
        std::istringstream fields(line);
        std::string field;
        for (int i = 0; i <= 5; ++i)
            std::getline(fields, field, ';');
        const char* const codes = field.c_str() + (field.find('>') + 1);  // behind any tag
        std::array<unsigned, 3> row{};
        if (std::sscanf(line.c_str(), "%X", &row[0]) == 1 &&
            std::sscanf(codes, "%X %X", &row[1], &row[2]) == 2)
            rows.push_back(row);
    }
    return rows;
}

class DefaultProfile : public ::testing::Test {
protected:
    void SetUp() override
    {
        std::filesystem::current_path(KESTRIX_PROFILE_DIR);
        // A name is read without its NUL, which is no printable byte.
        const unsigned char device[] = "default", id[] = "none-such";
        m_handle = RuvoOpenHandle(device, sizeof device, id, sizeof id);
        ASSERT_GT(m_handle, 0);
        ASSERT_EQ(0, RuvoSetEncodeType(m_handle, RUVO_UTF16_BIG_ENDIAN));
    }

    void TearDown() override
    {
        RuvoCloseHandle(m_handle);
        std::filesystem::current_path(m_before);
    }

    // What the display gets for a text when it stands in table 0, the table of code page 437.
    Bytes shown(const std::u32string& text, long codePage = -1)
    {
        EXPECT_EQ(0, RuvoSetTargetCodePage(m_handle, 437));
        converted(U"A");
        EXPECT_EQ(0, RuvoSetTargetCodePage(m_handle, codePage));
        return converted(text);
    }

private:
    Bytes converted(const std::u32string& text)
    {
        Bytes utf16;
        for (const char32_t c : text)
            for (int shift : {8, 0})
                utf16.push_back(static_cast<unsigned char>(c >> shift));
        EXPECT_EQ(0, RuvoSetData(m_handle, utf16.data(), utf16.size()));
        unsigned long length = 256;
        Bytes out(length);
        EXPECT_EQ(0, RuvoGetOutputData(m_handle, out.data(), &length));
        out.resize(length);
        return out;
    }

    const std::filesystem::path m_before = std::filesystem::current_path();
    short m_handle = 0;
};

// catches: wrong code page data, a set in front of a table, a pair kept that leads nowhere
TEST_F(DefaultProfile, ShowsKnownTexts)
{
    const std::pair<std::u32string, Bytes> rows[] = {
        {U"A\u00E9", {kEsc, 't', 0, 'A', 0x82}},
        {U"\u00A5~", {kEsc, 't', 0, 0x9D, '~'}},
        {U"\uFF71 1\\", {kEsc, 't', 1, 0xB1, ' ', '1', '\\'}},
        {U"\u0386", {kEsc, 't', 14, 0xEA}},
        {U"\u20AC", {kEsc, 't', 16, 0x80}},
        {U"\u042F", {kEsc, 't', 17, 0x9F}},
        {U"a\u20A9", {kEsc, 't', 0, 'a', kEsc, 'R', 13, 0x5C, kEsc, 'R', 0}},
        {U"\u0305", {kEsc, 't', 0, kEsc, 'R', 8, 0x7E, kEsc, 'R', 0}},
        {U"n\u0300", {kEsc, 't', 0, 'n', '?'}},
        {U"u\u0308\u0304", {kEsc, 't', 0, 'u', kEsc, 't', 2, 0xF9, 0xEE}},
    };
    for (const auto& [text, bytes] : rows)
        EXPECT_EQ(bytes, shown(text)) << "ends in " << std::hex << +text.back();
    for (char32_t control = 0; control < 0xA0; control = control == 0x1F ? 0x7F : control + 1)
        EXPECT_EQ(kMissing, shown({control})) << "control " << std::hex << +control;
}

// catches: a set or a second line that takes a character away from its byte
TEST_F(DefaultProfile, ShowsEveryByteOfEveryTable)
{
    ASSERT_GE(codeFiles("Table").size(), 9U);
    for (const CodeFile& table : codeFiles("Table")) {
        EXPECT_GT(table.mapped.size(), 128U) << table.name;
        for (const auto& [byte, character] : table.mapped)
            EXPECT_EQ((Bytes{kEsc, 't', table.param, byte}), shown({character}, table.codePage))
                << table.name << " character " << std::hex << +character;
    }
}

// catches: a set that holds a character of a table or of another set, sets with swapped parameters
TEST_F(DefaultProfile, WrapsEverySetCharacterInItsSwitches)
{
    std::set<char32_t> elsewhere;
    for (const CodeFile& table : codeFiles("Table"))
        for (const auto& line : table.mapped)
            elsewhere.insert(line.second);
    const std::vector<CodeFile> sets = codeFiles("ICS");
    ASSERT_GE(sets.size(), 2U);
    for (const CodeFile& set : sets) {
        EXPECT_FALSE(set.mapped.empty()) << set.name;
        for (const auto& [byte, character] : set.mapped) {
            EXPECT_EQ((Bytes{kEsc, 't', 0, kEsc, 'R', set.param, byte, kEsc, 'R', 0}),
                      shown({character}));
            EXPECT_TRUE(elsewhere.insert(character).second) << std::hex << +character;
        }
    }
}

// catches: a pair that another row keeps from matching, a row whose character has no byte, and a
// row that turns a letter and its mark into nothing although the letter alone can be shown
TEST_F(DefaultProfile, ComposesWhatItHoldsAndElseShowsTheLetter)
{
    std::set<std::pair<char32_t, char32_t>> pairs;
    for (const auto& [composed, first, second] : decompositions()) {
        const Bytes expected = shown({composed});
        EXPECT_NE(kMissing, expected) << std::hex << composed;
        EXPECT_EQ(expected, shown({first, second})) << std::hex << composed;
        EXPECT_TRUE(first != U' ' || shown({second}) == expected) << std::hex << composed;
        pairs.emplace(first, second);
    }
    ASSERT_GT(pairs.size(), 100U);

    for (const CodeFile& table : codeFiles("Table"))
        for (const auto& [byte, letter] : table.mapped) {
            const Bytes alone = shown({letter});
            for (char32_t mark = 0x300; mark < 0x370; ++mark) {
                Bytes both = shown({letter, mark});
                both.resize(alone.size());
                ASSERT_TRUE(both == alone || pairs.contains({letter, mark}))
                    << std::hex << +letter << ' ' << +mark;
            }
        }
}

}  // namespace

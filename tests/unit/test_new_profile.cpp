// The parts of new-profile that its users cannot choose between on one machine.
#include "program/commands/Files.h"
#include "program/new-profile/ProfileFiles.h"

#include <unicode/uchar.h>

#include <map>
#include <sstream>

#include <gtest/gtest.h>

namespace {

// The first six fields of each line but the name, which the converter does not use, by code point.
std::map<unsigned long, std::string> fieldsOf(const std::string& database)
{
    std::map<unsigned long, std::string> result;
    std::istringstream in(database);
    for (std::string line; std::getline(in, line);) {
        std::size_t end = 0;
        for (int field = 0; field < 6; ++field) {
            end = line.find(';', end + 1);
        }
        const std::size_t name = line.find(';');
        result[std::stoul(line, nullptr, 16)] =
            line.substr(line.find(';', name + 1), end - line.find(';', name + 1));
    }
    return result;
}

// A display with one table of these characters; their bytes do not matter here.
ProfilePlan displayOf(const std::set<char32_t>& characters)
{
    ProfilePlan plan;
    for (const char32_t character : characters) {
        plan.tables.resize(1);
        plan.tables[0].characters.emplace_back(std::uint8_t{0x80}, character);
    }
    return plan;
}

// Catches: on a system without UnicodeData.txt, accents that do not compose, or compose otherwise.
TEST(NewProfile, FindsTheSameInICUAsInTheUnicodeDatabase)
{
    std::set<char32_t> characters;
    for (char32_t c = 0xA0; c < 0x3000; ++c) {
        if (u_isdefined(static_cast<UChar32>(c)) != 0) {
            characters.insert(c);
        }
    }
    const ProfilePlan display = displayOf(characters);
    const UnicodeDatabase ofFile =
        reducedDatabase(readFile(KESTRIX_UNICODE_DATA), KESTRIX_UNICODE_DATA, display);
    const UnicodeDatabase ofICU = reducedDatabase(databaseOfICU(), "ICU", display);
    const auto inICU = fieldsOf(ofICU.text);
    ASSERT_GT(inICU.size(), 30000U);
    EXPECT_GT(ofFile.decompositions, 900);
    EXPECT_EQ(ofICU.decompositions, ofFile.decompositions);
    std::size_t compared = 0;
    for (const auto& [codePoint, fields] : fieldsOf(ofFile.text)) {
        const auto found = inICU.find(codePoint);
        if (found != inICU.end()) {
            ++compared;
            EXPECT_EQ(found->second, fields) << std::hex << codePoint;
        }
    }
    EXPECT_GT(compared, 30000U);
}

// Catches: a character that UnicodeData.txt has in a range only, so that it is never shown; a
// decomposition that leads away from what the display has, or a second spacing form of a mark.
TEST(NewProfile, KeepsTheLinesThatADisplayNeeds)
{
    const std::string source =
        "0041;LATIN CAPITAL LETTER A;Lu;0;L;;;;;N;;;;0061;\n"
        "00B4;ACUTE ACCENT;Sk;0;ON;<compat> 0020 0301;;;;N;SPACING ACUTE;;;;\n"
        "00C0;LATIN CAPITAL LETTER A WITH GRAVE;Lu;0;L;0041 0300;;;;N;;;;00E0;\r\n"
        "00C1;LATIN CAPITAL LETTER A WITH ACUTE;Lu;0;L;0041 0301;;;;N;;;;00E1;\n"
        "0384;GREEK TONOS;Sk;0;ON;<compat> 0020 0301;;;;N;GREEK SPACING TONOS;;;;\n"
        "4E00;<CJK Ideograph, First>;Lo;0;L;;;;;N;;;;;\n"
        "9FFF;<CJK Ideograph, Last>;Lo;0;L;;;;;N;;;;;\n";
    const std::string expected =
        "0041;LATIN CAPITAL LETTER A;Lu;0;L;;;;;N;;;;0061;\n"
        "00B4;ACUTE ACCENT;Sk;0;ON;<compat> 0020 0301;;;;N;SPACING ACUTE;;;;\n"
        "00C0;LATIN CAPITAL LETTER A WITH GRAVE;Lu;0;L;0041 0300;;;;N;;;;00E0;\n"
        "00C1;LATIN CAPITAL LETTER A WITH ACUTE;Lu;0;L;;;;;N;;;;00E1;\n"
        "0384;GREEK TONOS;Sk;0;ON;;;;;N;GREEK SPACING TONOS;;;;\n"
        "4E00;<CJK Ideograph, First>;Lo;0;L;;;;;N;;;;;\n"
        "5186;CJK UNIFIED IDEOGRAPH-5186;Lo;0;L;;;;;N;;;;;\n"
        "9FFF;<CJK Ideograph, Last>;Lo;0;L;;;;;N;;;;;\n"
        "AC00;HANGUL SYLLABLE GA;Lo;0;L;;;;;N;;;;;\n";
    const UnicodeDatabase reduced = reducedDatabase(
        source, "", displayOf({U'A', U'\u00B4', U'\u00C0', U'\u0384', U'\u5186', U'\uAC00'}));
    EXPECT_EQ(reduced.text, expected);
    EXPECT_EQ(reduced.decompositions, 2);
}

}  // namespace

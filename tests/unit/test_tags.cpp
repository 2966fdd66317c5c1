// What programs use of the parsers directly: constants, maps, and helpers that work on text; and
// the way back from an element's bytes to its attributes.

#include "Bytes.h"
#include "CaseFile.h"
#include "ProfileFixture.h"
#include "engine/KestrixDispEngine.h"
#include "program/stream/CommandStream.h"
#include "tags/CursorTagParser.h"
#include "tags/WindowTagParser.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

// catches: a constant that nothing here sends, or that two places have wrong alike
TEST(Tags, ConstantsOfPrograms)
{
    using Tag = TagParser;
    EXPECT_EQ("08 09 0A 0B 0C 0D 18 1A 1B 1F",
              toHex(std::string{Tag::BS, Tag::HT, Tag::LF, Tag::HOM, Tag::CLR, Tag::CR, Tag::CAN,
                                Tag::SUB, Tag::ESC, Tag::US}));
    EXPECT_EQ("1 0 true false none overwrite 4",
              std::string(Tag::BOOL_1) + " " + Tag::BOOL_0 + " " + Tag::BOOL_TRUE + " " +
                  Tag::BOOL_FALSE + " " + CursorTagParser::NONE + " " + WindowTagParser::OVERWRITE +
                  " " + std::to_string(Tag::ESCAPE_BLOCK_LEN));
}

// catches: a name or code of the maps wrong, or one that a program has changed kept
TEST(Tags, EveryEngineSetsStylesAndColorsAgain)
{
    const KestrixDispEngine first;
    TagParser::styleMap["thin"] = 9;
    TagParser::colorMap.clear();
    const KestrixDispEngine second;
    std::string found;
    for (const auto& map : {TagParser::styleMap, TagParser::colorMap}) {
        for (const auto& [name, code] : map) {
            found += name + ("=" + std::to_string(code) + " ");
        }
    }
    EXPECT_EQ("medium=2 medium_double=5 thick=3 thick_double=6 thin=1 thin_double=4 "
              "color_1=49 color_2=50 color_3=51 color_4=52 none=48 ",
              found);
}

// catches: names looked up by pointer or without their case, bytes from 80 on ordered as negative
TEST(Tags, NamesAreComparedByContent)
{
    EXPECT_TRUE(TagParser::hasAttr(std::string("x").c_str(), {{"x", nullptr}}));
    EXPECT_FALSE(TagParser::hasAttr("X", {{"x", nullptr}}));
    std::vector<const char*> names = {"\xC3", "ab", "z", "", "a"};
    std::ranges::sort(names, compare());
    EXPECT_EQ((std::vector<const char*>{"", "a", "ab", "z", "\xC3"}), names);
    EXPECT_FALSE(compare()("a", std::string("a").c_str()));
}

using Helper = int (*)(unsigned char*, int);

template <int (*helper)(char*, int)>
int ofChars(unsigned char* text, int length)
{
    return helper(reinterpret_cast<char*>(text), length);
}

int stringToHex(unsigned char* text, int length)
{
    return TagParser::stringToHex(text, reinterpret_cast<const char*>(text), length);
}

struct Texts {
    Helper helper;
    std::vector<std::string> rows;
};

// Rows of "before=>after", for expandText.
std::pair<std::string, std::string> beforeAndAfter(const std::string& row)
{
    const std::size_t arrow = row.find("=>");
    return {expandText(row.substr(0, arrow)), expandText(row.substr(arrow + 2))};
}

// The bytes after the text would complete an escape or a pair that is cut short.
// catches: a run, a pair or an escape that ends too early or too late, anything else changed
TEST(Tags, HelpersThatChangeTextInPlace)
{
    constexpr Helper escape = TagParser::escToHex;
    constexpr Helper escapeSjis = TagParser::escToHexSjis;
    const std::vector<Texts> helpers = {
        {ofChars<TagParser::trimSpace>,
         {" 1b 40=>1b", "{09 0A 0B 0C 0D}ab{09}cd=>ab", "{08 0E A0 20}=>{08 0E A0}",
          " ab{00}cd=>ab", " {0A} =>"}},
        {ofChars<TagParser::removeSpace>, {" a {09}b c =>abc", " ab{00} c=>ab", " {0A} =>"}},
        {stringToHex,
         {"1B40=>{1B 40}", "1b4G=>{1B}", "zz1b=>", "1z1b=>", "1b4=>{1B}", "1=>", "=>"}},
        {escape,
         {R"(a\x41b\\\\x41=>aAb\\x41)", R"(\q\X41\xZZ\x4Z\x\x41\x4=>qX41xZZx4ZxAx4)",
          R"(\x00\xfF\x/f\x:0\x`0\xg0\x@0\xG0=>{00 FF}x/fx:0x`0xg0x@0xG0)", R"({83}\Aa\=>{83}Aa)",
          R"(\\=>\)", R"(\=>\)", R"(\x41=>A)"}},
        // Pairs and no pairs; the edges of the lead bytes, told by whether the backslash is a trail
        // byte; and of the trail bytes, by whether the lead byte stays.
        {escapeSjis,
         {R"({83}\A{83}\\x41\x41=>{83}\A{83}\AA)", R"({A1}\\=>{A1}\)", "{83} A{83}=> A",
          "{83}=>{83}", R"({81}\{9F}\{E0}\{FC}\=>{81}\{9F}\{E0}\{FC}\)",
          R"({80}\{A0}\{DF}\{FD}\=>{80 A0 DF FD})", "{8140 817E 8180 81FC}=>{8140 817E 8180 81FC}",
          "{813F 817F 81FD}=>{3F 7F FD}"}}};
    for (const auto& [helper, rows] : helpers) {
        for (const std::string& row : rows) {
            const auto [before, after] = beforeAndAfter(row);
            for (const char guard : {'1', '\\'}) {
                std::string bytes = before + guard;
                auto* const start = reinterpret_cast<unsigned char*>(bytes.data());
                const int length = helper(start, static_cast<int>(before.size()));
                EXPECT_EQ(guard, bytes.back()) << row;
                bytes.resize(static_cast<unsigned>(length));
                EXPECT_TRUE(sameBytes(after, bytes)) << row;
            }
        }
        unsigned char blanks[] = "  ";
        EXPECT_EQ(0, helper(nullptr, 4));
        EXPECT_EQ(0, helper(blanks, 0));
        EXPECT_EQ(helper == escape || helper == escapeSjis ? -1 : 0, helper(blanks, -1));
        EXPECT_STREQ("  ", reinterpret_cast<char*>(blanks));
    }
    unsigned char byte = 0;
    EXPECT_EQ(0, TagParser::stringToHex(nullptr, "1b", 2));
    EXPECT_EQ(0, TagParser::stringToHex(&byte, nullptr, 2));
}

// catches: a byte out of order, one too many, a null pointer followed
TEST(Tags, LittleEndian)
{
    unsigned char bytes[5] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    TagParser::littleEndianUShort(bytes, 0x12F4);
    EXPECT_EQ("F4 12 EE EE EE", toHex(std::string(bytes, bytes + 5)));
    TagParser::littleEndianUInt(bytes, 0xF2345678);
    EXPECT_EQ("78 56 34 F2 EE", toHex(std::string(bytes, bytes + 5)));
    TagParser::littleEndianUShort(nullptr, 1);
    TagParser::littleEndianUInt(nullptr, 1);
}

// catches: a switch within one side, a language stored that is none, longer than 31 bytes or uncut
TEST(Tags, LanguageSwitchesAtTheBorderOnly)
{
    for (const char* lang : {"ja", "JA", "jA", "ja-jp", "Ja-Jp", "ja-JP"}) {
        EXPECT_TRUE(TagParser::isLangJP(lang)) << lang;
    }
    for (const char* lang :
         {"", "j", "jpn", "ja_jp", "ja-jp ", "ja-", "ja-j", " ja", "jap", "j{", "en"}) {
        EXPECT_FALSE(TagParser::isLangJP(lang)) << lang;
    }
    EXPECT_FALSE(TagParser::isLangJP(nullptr));

    // Each step crosses the border if it stores another language.
    std::vector<unsigned char> language(KestrixDispEngine::LANG_BUF_LEN + 1, 0x7F);
    std::memcpy(language.data(), "en", 3);
    const auto* const inForce = reinterpret_cast<const char*>(language.data());
    AttributeMap state = {{TagParser::ATTR_LANG, language.data()}};
    AttributeMap none;
    const auto stored = [](const std::string& lang, AttributeMap& where) {
        OutputVector out;
        TagParser::storeLang(reinterpret_cast<const unsigned char*>(lang.c_str()), where, out);
        return toHex(std::string(out.begin(), out.end()));
    };
    for (const char* const row : {"fr=>en", "ja-jp=>ja", "JA=>ja", "en-us=>en-us", "de=>en-us",
                                  "JA=>ja", "=>", "ja=>ja", "{y*32}=>{y*31}"}) {
        const auto [lang, expected] = beforeAndAfter(row);
        const std::string before = inForce;
        const std::string code = TagParser::isLangJP(lang.c_str()) ? "08" : "00";
        EXPECT_EQ(before == expected ? "" : "1B 74 00 1B 52 " + code, stored(lang, state)) << lang;
        EXPECT_EQ(expected, inForce);
        EXPECT_EQ(0x7F, language.back()) << "wrote past the buffer";
    }
    // Without a current language there is no place to store one.
    EXPECT_EQ("", stored("fr", none));
    EXPECT_EQ("1B 74 00 1B 52 08", stored("ja", none));
    OutputVector out;
    TagParser::storeLang(nullptr, state, out);
    EXPECT_TRUE(out.empty());
}

// catches: a result cut, written beyond the room, or refused where it fits
TEST(Tags, Utf8ToShiftJis)
{
    // The room; the buffer has one byte more. A malformed byte becomes a substitute of two bytes,
    // so the text grows.
    for (const auto& [row, count] : {std::pair{"{E3 81 82}=>{82 A0}", 0U},
                                     {"a{EF BD B1}b=>a{B1}b", 0U},
                                     {"{FF}=>{FF}", 0U},
                                     {"{FF}=>{FF}", 2U},
                                     {"{FF}=>{FC FC}", 3U},
                                     {"{E2 80 8B}=>", 0U},  // has no form in Shift_JIS
                                     {"=>", 0U}}) {
        const auto [before, after] = beforeAndAfter(row);
        std::string room = before + std::string("\0\x7F\x7F\x7F", 4);
        EXPECT_EQ(before == after ? 0 : std::ssize(after),
                  TagParser::utf8tosjis(room.data(), count))
            << row;
        EXPECT_EQ('\x7F', room.back()) << "wrote past the room";
        EXPECT_EQ(after, room.c_str());
    }
    EXPECT_EQ(0, TagParser::utf8tosjis(nullptr, 4));
}

// The attribute value that gives a parameter of that number; "" if there is none.
std::string attributeValue(Parameter parameter, unsigned number)
{
    const ParameterValue* const named = findValue(parameter, static_cast<std::uint8_t>(number));
    if (parameter < Parameter::corner) {
        return std::to_string(parameter == Parameter::blinkSteps ? number * kBlinkStep : number);
    }
    if (named == nullptr || parameter == Parameter::brightness || parameter == Parameter::reverse) {
        return named == nullptr ? "" : std::to_string(named->number);
    }
    std::string words(named->words);
    std::ranges::replace(words, ' ', '_');
    return words;
}

using TagsReadBack = ProfileFixture;

// catches: a field in another one's place or of another width, a word that means another thing to
// the display, a command that its row does not read
TEST_F(TagsReadBack, TheTableOfCommandsReadsAttributes)
{
    smallDisplay().write(".");
    KestrixDispEngine engine;
    std::mt19937 random(20240229);
    for (const auto& [action, first, form] :
         {std::tuple{Action::position, 0, "<cursor x='#' y='#'/>"},
          {Action::defineWindow, 0, "<window number='#' x='#' y='#' width='#' height='#'/>"},
          {Action::selectWindow, 0, "<window number='#'/>"},
          {Action::destroyWindow, 0, "<window number='#' destroy='1'/>"},
          {Action::marquee, 1, "<marquee uwait='#' rwait='#' repeat='#'>A</marquee>"},
          {Action::corner, 0, "<cursor moveto='#'/>"},
          {Action::cursor, 0, "<cursor type='#'/>"},
          {Action::reverse, 0, "<text reverse='#'/>"},
          {Action::brightness, 0, "<brightness value='#'/>"},
          {Action::blink, 0, "<blink interval='#'/>"}}) {
        const DisplayCommand& row =
            *std::ranges::find(kDisplayCommands, action, &DisplayCommand::action);
        for (int round = 0; round < 20; ++round) {
            std::string element = form;
            std::vector<unsigned> numbers;
            for (std::size_t at; (at = element.find('#')) != std::string::npos;) {
                const Parameter parameter = row.parameters[first + numbers.size()];
                const unsigned limit = parameter == Parameter::wait ? 0xFFFF : 0xFF;
                std::string value;
                unsigned number = 0;
                for (; value.empty(); value = attributeValue(parameter, number)) {
                    number = static_cast<unsigned>(random()) % limit + 1;
                }
                element.replace(at, 1, value);
                numbers.push_back(number);
            }
            const std::string bytes = engine.parse(element, "DEVICE", noSetting);
            StreamReader reader(
                {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
            StreamItem item;
            ASSERT_TRUE(reader.next(item) && item.kind == StreamItem::Kind::command) << element;
            EXPECT_EQ(action, item.command->action) << element;
            for (std::size_t i = 0; i < numbers.size(); ++i) {
                EXPECT_EQ(numbers[i], item.parameter(first + i)) << element;
            }
            EXPECT_FALSE(reader.next(item)) << element;
        }
    }
}

}  // namespace

// The helpers of TagParser that work on text: hexadecimal, white space, languages, escapes.

#include "Bytes.h"
#include "engine/KestrixDispEngine.h"

#include <cstring>
#include <string>
#include <vector>

namespace {

// Runs an in-place helper on the bytes of text, with a guard byte behind them: a digit, which an
// escape that is cut short must not take.
template <class Helper>
std::string inPlace(Helper helper, std::string text)
{
    const int length = static_cast<int>(text.size());
    text.push_back('1');
    const int result = helper(text.data(), length);
    EXPECT_EQ('1', text.back()) << "wrote behind the text";
    return text.substr(0, static_cast<std::size_t>(result));
}

std::string trimSpace(const std::string& text)
{
    return inPlace(TagParser::trimSpace, text);
}

std::string removeSpace(const std::string& text)
{
    return inPlace(TagParser::removeSpace, text);
}

std::string escToHex(const std::string& text)
{
    return inPlace(
        [](char* buf, int len) {
            return TagParser::escToHex(reinterpret_cast<unsigned char*>(buf), len);
        },
        text);
}

std::string escToHexSjis(const std::string& text)
{
    return inPlace(
        [](char* buf, int len) {
            return TagParser::escToHexSjis(reinterpret_cast<unsigned char*>(buf), len);
        },
        text);
}

TEST(TagText, StringToHex)
{
    const auto convert = [](const char* text, int length) {
        unsigned char bytes[8] = {};
        const int count = TagParser::stringToHex(bytes, text, length);
        return toHex(std::string(bytes, bytes + count));
    };
    EXPECT_EQ("1B 40", convert("1B40", 4));
    EXPECT_EQ("1B", convert("1b4G", 4));
    EXPECT_EQ("", convert("zz1b", 4));
    EXPECT_EQ("", convert("1z1b", 4));
    EXPECT_EQ("1B", convert("1b4", 3));
    EXPECT_EQ("", convert("1b", 1));
    EXPECT_EQ("", convert("1b", 0));
    EXPECT_EQ("", convert("1b", -2));
    unsigned char byte = 0xEE;
    EXPECT_EQ(0, TagParser::stringToHex(nullptr, "1b", 2));
    EXPECT_EQ(0, TagParser::stringToHex(&byte, nullptr, 2));
    EXPECT_EQ(0xEE, byte);
}

TEST(TagText, TrimSpaceTakesTheFirstRun)
{
    EXPECT_EQ("1b", trimSpace(" 1b 40"));
    EXPECT_EQ("ab", trimSpace("\t\n\v\f\r ab\tcd"));
    EXPECT_EQ("ab", trimSpace("ab"));
    EXPECT_EQ("\xA0", trimSpace("\xA0"));
    EXPECT_EQ("ab", trimSpace(std::string("ab\0cd", 5)));
    char blanks[] = " \n ";
    EXPECT_EQ(0, TagParser::trimSpace(blanks, 3));
    EXPECT_STREQ(" \n ", blanks);
    char text[] = "  ab";
    EXPECT_EQ(1, TagParser::trimSpace(text, 3));
    EXPECT_STREQ("a ab", text);
    EXPECT_EQ(0, TagParser::trimSpace(text, 0));
    EXPECT_EQ(0, TagParser::trimSpace(text, -1));
    EXPECT_EQ(0, TagParser::trimSpace(nullptr, 4));
}

TEST(TagText, RemoveSpaceKeepsAllElse)
{
    EXPECT_EQ("abc", removeSpace(" a b c "));
    EXPECT_EQ("ab", removeSpace(std::string(" ab\0 c", 6)));
    char text[] = " a b c ";
    EXPECT_EQ(3, TagParser::removeSpace(text, 8));
    char blanks[] = " \n ";
    EXPECT_EQ(0, TagParser::removeSpace(blanks, 3));
    EXPECT_STREQ(" \n ", blanks);
    EXPECT_EQ(0, TagParser::removeSpace(nullptr, 4));
}

TEST(TagText, LittleEndian)
{
    unsigned char bytes[5] = {0xEE, 0xEE, 0xEE, 0xEE, 0xEE};
    TagParser::littleEndianUShort(bytes, 0x12F4);
    EXPECT_EQ("F4 12 EE EE EE", toHex(std::string(bytes, bytes + 5)));
    TagParser::littleEndianUInt(bytes, 0xF2345678);
    EXPECT_EQ("78 56 34 F2 EE", toHex(std::string(bytes, bytes + 5)));
    TagParser::littleEndianUShort(nullptr, 1);
    TagParser::littleEndianUInt(nullptr, 1);
}

TEST(TagText, WhatIsJapanese)
{
    for (const char* lang : {"ja", "JA", "jA", "ja-jp", "Ja-Jp", "ja-JP"}) {
        EXPECT_TRUE(TagParser::isLangJP(lang)) << lang;
    }
    for (const char* lang :
         {"", "j", "jpn", "ja_jp", "ja-jp ", "ja-", "ja-j", " ja", "jap", "en"}) {
        EXPECT_FALSE(TagParser::isLangJP(lang)) << lang;
    }
    EXPECT_FALSE(TagParser::isLangJP(nullptr));
}

TEST(TagText, LanguageSwitchesAtTheBorderOnly)
{
    struct Step {
        std::string lang;
        const char* bytes;
        std::string inForce;
    };
    const std::vector<Step> steps = {
        {"en", "", "en"},
        {"fr", "", "en"},
        {"ja-jp", "1B 74 00 1B 52 08", "ja"},
        {"JA", "", "ja"},
        {"en-us", "1B 74 00 1B 52 00", "en-us"},
        {"de", "", "en-us"},
        {"JA", "1B 74 00 1B 52 08", "ja"},
        {"", "1B 74 00 1B 52 00", ""},
        {"ja", "1B 74 00 1B 52 08", "ja"},
        {std::string(31, 'x'), "1B 74 00 1B 52 00", std::string(31, 'x')},
        {"ja", "1B 74 00 1B 52 08", "ja"},
        {std::string(100, 'y'), "1B 74 00 1B 52 00", std::string(31, 'y')},
    };
    std::vector<unsigned char> language(KestrixDispEngine::LANG_BUF_LEN + 1, 0x7F);
    std::memcpy(language.data(), "en", 3);
    AttributeMap state;
    state[TagParser::ATTR_LANG] = language.data();
    for (const Step& step : steps) {
        SCOPED_TRACE(step.lang);
        OutputVector out;
        TagParser::storeLang(reinterpret_cast<const unsigned char*>(step.lang.c_str()), state, out);
        EXPECT_TRUE(sameBytes(fromHex(step.bytes), std::string(out.begin(), out.end())));
        EXPECT_EQ(step.inForce, reinterpret_cast<const char*>(language.data()));
        EXPECT_EQ(0x7F, language.back()) << "wrote behind the buffer";
    }
}

TEST(TagText, Escapes)
{
    EXPECT_EQ("aAb", escToHex("a\\x41b"));
    EXPECT_EQ("\\", escToHex("\\\\"));
    EXPECT_EQ("\\x41", escToHex("\\\\x41"));
    EXPECT_EQ("q", escToHex("\\q"));
    EXPECT_EQ("x4", escToHex("\\x4"));
    EXPECT_EQ("xZZ", escToHex("\\xZZ"));
    EXPECT_EQ("x4Z", escToHex("\\x4Z"));
    EXPECT_EQ("X41", escToHex("\\X41"));
    EXPECT_EQ("a", escToHex("a\\"));
    EXPECT_EQ("xA", escToHex("\\x\\x41"));
    EXPECT_EQ(std::string("\0\xFF", 2), escToHex("\\x00\\xfF"));
    EXPECT_EQ("\x83"
              "A",
              escToHex("\x83\\A"));
    EXPECT_EQ("\\", escToHex("\\"));  // one byte stays as it is
    EXPECT_EQ("", escToHex(""));
    EXPECT_EQ(0, TagParser::escToHex(nullptr, 4));
    unsigned char byte = 'a';
    EXPECT_EQ(-1, TagParser::escToHex(&byte, -1));
}

TEST(TagText, EscapesLeaveShiftJisPairsWhole)
{
    EXPECT_EQ("83 5C 41", toHex(escToHexSjis("\x83\\A")));
    EXPECT_EQ("83 5C 41", toHex(escToHexSjis("\x83\\\\x41")));  // pair, then an escape
    EXPECT_EQ("41 41", toHex(escToHexSjis("A\\x41")));
    EXPECT_EQ("A1 5C", toHex(escToHexSjis("\xA1\\\\")));  // half-width: no lead byte
    EXPECT_EQ("41", toHex(escToHexSjis("A\x83")));        // lead byte at the end
    EXPECT_EQ("20 41", toHex(escToHexSjis("\x83 A")));    // not a trail byte
    EXPECT_EQ("83", toHex(escToHexSjis("\x83")));         // one byte stays as it is
    // The edges of the lead range, told by whether the backslash is a trail byte ...
    for (const char lead : {'\x81', '\x9F', '\xE0', '\xFC'}) {
        EXPECT_EQ(toHex(lead + std::string("\\A")), toHex(escToHexSjis(lead + std::string("\\A"))));
    }
    for (const char single : {'\x80', '\xA0', '\xDF', '\xFD'}) {
        EXPECT_EQ(toHex(single + std::string("A")),
                  toHex(escToHexSjis(single + std::string("\\A"))));
    }
    // ... and of the trail range, by whether the lead byte stays.
    for (const char trail : {'\x40', '\x7E', '\x80', '\xFC'}) {
        EXPECT_EQ(2u, escToHexSjis(std::string("\x81") + trail).size());
    }
    for (const char other : {'\x3F', '\x7F', '\xFD'}) {
        EXPECT_EQ(std::string(1, other), escToHexSjis(std::string("\x81") + other));
    }
}

// str and three spare bytes behind it; the call may use count bytes of them.
std::string utf8tosjis(const std::string& text, unsigned int count, int expected)
{
    std::string room = text + std::string("\0\x7F\x7F\x7F", 4);
    EXPECT_EQ(expected, TagParser::utf8tosjis(room.data(), count));
    EXPECT_EQ('\x7F', room.back()) << "wrote behind the room";
    return toHex(room.c_str());
}

TEST(TagText, Utf8ToShiftJis)
{
    EXPECT_EQ("82 A0", utf8tosjis("\xE3\x81\x82", 0, 2));
    EXPECT_EQ("61 B1 62", utf8tosjis("a\xEF\xBD\xB1"
                                     "b",
                                     0, 3));  // half-width katakana
    EXPECT_EQ("", utf8tosjis("", 0, 0));
    EXPECT_EQ(0, TagParser::utf8tosjis(nullptr, 4));
}

TEST(TagText, Utf8ToShiftJisRefusesWhatDoesNotFit)
{
    // A malformed byte becomes a substitute of two bytes, so the text grows.
    EXPECT_EQ("FF", utf8tosjis("\xFF", 0, 0));
    EXPECT_EQ("FF", utf8tosjis("\xFF", 2, 0));
    EXPECT_EQ("FC FC", utf8tosjis("\xFF", 3, 2));
}

}  // namespace

// The element parsers and their shared helpers, called with attributes and without a converter.

#include "Bytes.h"
#include "engine/KestrixDispEngine.h"

#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

struct Attribute {
    const char* name;
    const char* value;  // null: present without a value
};

struct Row {
    const char* element;
    std::vector<Attribute> attributes;
    const char* bytes;  // hex
};

// The attributes of a row, as an engine would hand them over.
class Attributes {
public:
    explicit Attributes(const std::vector<Attribute>& attributes)
    {
        values_.reserve(attributes.size());
        for (const Attribute& attribute : attributes) {
            unsigned char* value = nullptr;
            if (attribute.value != nullptr) {
                values_.emplace_back(attribute.value);
                value = reinterpret_cast<unsigned char*>(values_.back().data());
            }
            map[attribute.name] = value;
        }
    }

    AttributeMap map;

private:
    std::vector<std::string> values_;
};

std::string bytesOf(const OutputVector& out)
{
    return std::string(out.begin(), out.end());
}

class TagRows : public testing::Test {
protected:
    void SetUp() override { KestrixDispEngine::ucHandle = 0; }

    void check(const std::vector<Row>& rows)
    {
        for (const Row& row : rows) {
            std::string trace = std::string("<") + row.element;
            for (const Attribute& attribute : row.attributes) {
                trace += std::string(" ") + attribute.name + "=" +
                         (attribute.value == nullptr ? "null" : attribute.value);
            }
            SCOPED_TRACE(trace + ">");
            Attributes attributes(row.attributes);
            const std::size_t count = attributes.map.size();
            AttributeMap state;
            unsigned char language[KestrixDispEngine::LANG_BUF_LEN] = "en";
            state[TagParser::ATTR_LANG] = language;
            OutputVector out = {0xEE};  // what stands there already must stay
            engine_.funcMapBegin.at(row.element)->parse(nullptr, attributes.map, state, out);
            EXPECT_TRUE(sameBytes(fromHex(std::string("EE ") + row.bytes), bytesOf(out)));
            EXPECT_EQ(count, attributes.map.size()) << "a lookup has entered a key";
        }
    }

    KestrixDispEngine engine_;
};

TEST_F(TagRows, FixedCommandsWhateverTheAttributes)
{
    check({{"ovix-display", {{"x", "1"}}, ""},
           {"reset", {}, "1B 40"},
           {"reset", {{"value", "20"}, {"CONTENT", "41"}}, "1B 40"},
           {"clear", {{"x", nullptr}}, "0C"},
           {"clock", {{"lang", "ja"}}, "1F 55"}});
}

TEST_F(TagRows, BlinkCountsStepsOfFifty)
{
    check({{"blink", {}, ""},
           {"blink", {{"interval", nullptr}}, "1F 45 00"},
           {"blink", {{"interval", "0"}}, "1F 45 00"},
           {"blink", {{"interval", "1"}}, "1F 45 01"},
           {"blink", {{"interval", "50"}}, "1F 45 01"},
           {"blink", {{"interval", "51"}}, "1F 45 02"},
           {"blink", {{"interval", "500"}}, "1F 45 0A"},
           {"blink", {{"interval", "12750"}}, "1F 45 FF"},
           {"blink", {{"interval", "12751"}}, "1F 45 00"},
           {"blink", {{"interval", "-1"}}, "1F 45 01"},
           {"blink", {{"interval", "-50"}}, "1F 45 FF"},
           {"blink", {{"interval", "-75"}}, "1F 45 00"},
           // 42949672 and -42949672 whole steps, and one for the remainder
           {"blink", {{"interval", "2147483647"}}, "1F 45 29"},
           {"blink", {{"interval", "-2147483648"}}, "1F 45 D9"},
           // saturated at 32 bits; its low 32 bits alone are 50: 01; unsaturated 53
           {"blink", {{"interval", "4294967346"}}, "1F 45 29"},
           {"blink", {{"interval", "99999999999999999999"}}, "1F 45 29"},
           {"blink", {{"interval", "-99999999999999999999"}}, "1F 45 D9"}});
}

TEST_F(TagRows, BrightnessKnowsFourValues)
{
    check({{"brightness", {}, ""},
           {"brightness", {{"value", nullptr}}, ""},
           {"brightness", {{"value", "20abc"}}, "1F 58 01"},
           {"brightness", {{"value", "40"}}, "1F 58 02"},
           {"brightness", {{"value", " \n\t+60"}}, "1F 58 03"},
           {"brightness", {{"value", "100"}}, "1F 58 04"},
           {"brightness", {{"value", "0"}}, ""},
           {"brightness", {{"value", "80"}}, ""},
           {"brightness", {{"value", "-20"}}, ""},
           {"brightness", {{"value", "0x14"}}, ""},
           {"brightness", {{"value", "276"}}, ""},           // low byte 20
           {"brightness", {{"value", "4294967316"}}, ""}});  // low 32 bits 20
}

TEST_F(TagRows, CommandTakesTheFirstRunOfPairs)
{
    check({{"command", {}, ""},
           {"command", {{"CONTENT", nullptr}}, ""},
           {"command", {{"CONTENT", " \t\r\n"}}, ""},
           {"command", {{"CONTENT", "1b40"}}, "1B 40"},
           {"command", {{"CONTENT", "\n\v\f 1B40 \r\n"}}, "1B 40"},
           {"command", {{"CONTENT", "1B 40"}}, "1B"},
           {"command", {{"CONTENT", "1B4G0C"}}, "1B"},
           {"command", {{"CONTENT", "1BG40C"}}, "1B"},
           {"command", {{"CONTENT", "1B4"}}, "1B"},
           {"command", {{"CONTENT", "1"}}, ""},
           {"command", {{"CONTENT", "00fFaA09"}}, "00 FF AA 09"},
           {"command", {{"CONTENT", "1B/:@`gG"}}, "1B"}});  // beside the digits
}

TEST_F(TagRows, CommandLeavesTheContentAsItWas)
{
    Attributes attributes(std::vector<Attribute>{{"CONTENT", "  1b40"}});
    AttributeMap state;
    OutputVector out;
    engine_.funcMapBegin.at("command")->parse(nullptr, attributes.map, state, out);
    EXPECT_STREQ("  1b40", reinterpret_cast<const char*>(attributes.map.at("CONTENT")));
}

TEST_F(TagRows, WindowForms)
{
    const auto geometry = [](std::vector<Attribute> more) {
        std::vector<Attribute> all = {{"x", "1"}, {"y", "2"}, {"width", "20"}, {"height", "3"}};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    };
    check({// by "destroy" and geometry
           {"window", {{"number", "2"}}, "1A 43 02"},
           {"window", {{"number", "2"}, {"destroy", "true"}}, "1B 57 02 30"},
           {"window", geometry({{"number", "1"}}), "1A 57 01 01 02 14 03 01"},
           {"window", geometry({{"number", "2"}, {"destroy", "true"}}), ""},
           // what counts as yes
           {"window", {{"number", "2"}, {"destroy", "1"}}, "1B 57 02 30"},
           {"window", {{"number", "2"}, {"destroy", "false"}}, "1A 43 02"},
           {"window", {{"number", "2"}, {"destroy", "TRUE"}}, "1A 43 02"},
           {"window", {{"number", "2"}, {"destroy", "1 "}}, "1A 43 02"},
           {"window", {{"number", "2"}, {"destroy", nullptr}}, "1A 43 02"},
           // geometry is all four or none
           {"window", {{"number", "3"}, {"x", "1"}, {"y", "1"}}, "1A 43 03"},
           {"window", {{"number", "3"}, {"y", "1"}, {"width", "1"}, {"height", "1"}}, "1A 43 03"},
           {"window", {{"number", "3"}, {"x", "1"}, {"width", "1"}, {"height", "1"}}, "1A 43 03"},
           {"window", {{"number", "3"}, {"x", "1"}, {"y", "1"}, {"height", "1"}}, "1A 43 03"},
           {"window", {{"number", "3"}, {"x", "1"}, {"y", "1"}, {"width", "1"}}, "1A 43 03"},
           {"window",
            {{"number", "3"}, {"x", nullptr}, {"y", ""}, {"width", "-1"}, {"height", "257"}},
            "1A 57 03 00 00 FF 01 01"},
           // no number, no window
           {"window", geometry({}), ""},
           {"window", geometry({{"number", "0"}}), ""},
           {"window", geometry({{"number", "256"}}), ""},
           {"window", {{"number", nullptr}, {"destroy", "1"}}, ""},
           {"window", {{"number", "257"}}, "1A 43 01"},
           // scroll modes, "reset"
           {"window", geometry({{"number", "1"}, {"scrollmode", "v_scroll"}}),
            "1A 57 01 01 02 14 03 02"},
           {"window", geometry({{"number", "1"}, {"scrollmode", "h_scroll"}}),
            "1A 57 01 01 02 14 03 03"},
           {"window", geometry({{"number", "1"}, {"scrollmode", "overwrite"}}),
            "1A 57 01 01 02 14 03 01"},
           {"window", geometry({{"number", "1"}, {"scrollmode", "V_SCROLL"}}),
            "1A 57 01 01 02 14 03 01"},
           {"window", geometry({{"number", "1"}, {"scrollmode", nullptr}, {"reset", "true"}}),
            "1A 57 01 01 02 14 03 01"}});
}

TEST_F(TagRows, CursorForms)
{
    check({{"cursor", {}, ""},
           {"cursor", {{"x", "1"}, {"y", "2"}}, "1F 24 01 02"},
           {"cursor", {{"x", "1"}, {"y", "2"}, {"moveto", "top_left"}}, ""},
           {"cursor",
            {{"x", "1"}, {"y", "2"}, {"moveto", "top_left"}, {"type", "underline"}},
            "1F 43 01"},
           {"cursor", {{"x", "5"}, {"moveto", "top_right"}}, "1A 6D 02"},
           {"cursor", {{"y", "5"}, {"moveto", "bottom_left"}}, "1A 6D 03"},
           {"cursor", {{"x", "5"}}, ""},
           {"cursor", {{"y", "5"}}, ""},
           {"cursor", {{"moveto", "top_left"}}, "1A 6D 01"},
           {"cursor", {{"moveto", "bottom_right"}}, "1A 6D 04"},
           {"cursor", {{"moveto", "Top_Left"}}, ""},
           {"cursor", {{"moveto", nullptr}, {"type", nullptr}}, "1F 43 00"},
           {"cursor", {{"moveto", "middle"}, {"type", "underline"}}, "1F 43 01"},
           {"cursor", {{"type", "none"}}, "1F 43 00"},
           {"cursor", {{"type", "Underline"}}, "1F 43 00"},
           {"cursor", {{"x", "300"}, {"y", "-2"}, {"type", "underline"}}, "1F 24 2C FE 1F 43 01"},
           {"cursor", {{"x", nullptr}, {"y", "40px"}}, "1F 24 00 28"},
           {"cursor", {{"x", "4294967297"}, {"y", "-4294967297"}}, "1F 24 FF 00"}});
}

// The converter has no handle 0: it rejects every text.
TEST_F(TagRows, TextAndMarqueeWithoutAConverter)
{
    check({{"text", {}, "1F 72 00"},
           {"text", {{"x", "0"}, {"y", "0"}}, "1F 24 00 00 1F 72 00"},
           {"text", {{"x", "9"}, {"reverse", "true"}}, "1F 72 01"},
           {"text", {{"y", "9"}, {"reverse", "1"}}, "1F 72 01"},
           {"text", {{"reverse", "yes"}}, "1F 72 00"},
           {"text", {{"reverse", "TRUE"}, {"CONTENT", "abc"}}, "1F 72 00"},
           {"text", {{"reverse", nullptr}, {"CONTENT", nullptr}}, "1F 72 00"},
           {"text",
            {{"lang", "JA"}, {"x", "300"}, {"y", "2"}},
            "1B 74 00 1B 52 08 1F 24 2C 02 1F 72 00"},
           {"marquee", {{"uwait", "1"}, {"rwait", "1"}, {"CONTENT", "A"}}, ""},
           {"marquee",
            {{"lang", "ja"}, {"uwait", "1"}, {"rwait", "1"}, {"CONTENT", "A"}},
            "1B 74 00 1B 52 08"},
           {"marquee", {{"lang", "ja"}, {"uwait", "1"}, {"CONTENT", "A"}}, ""},
           {"marquee", {{"lang", "ja"}, {"rwait", "1"}, {"CONTENT", "A"}}, ""},
           {"marquee", {{"lang", "ja"}, {"uwait", "1"}, {"rwait", "1"}, {"CONTENT", ""}}, ""},
           {"marquee", {{"lang", "ja"}, {"uwait", "1"}, {"rwait", "1"}}, ""}});
}

TEST(TagHelpers, HasAttrComparesByContent)
{
    Attributes attributes(std::vector<Attribute>{{"x", nullptr}, {"yy", "1"}});
    const std::string name = "x";
    EXPECT_TRUE(TagParser::hasAttr(name.c_str(), attributes.map));
    EXPECT_FALSE(TagParser::hasAttr("y", attributes.map));
    EXPECT_FALSE(TagParser::hasAttr("X", attributes.map));
    EXPECT_EQ(2u, attributes.map.size());
}

TEST(TagHelpers, NamesOrderByUnsignedBytesAndPrefixesFirst)
{
    EXPECT_TRUE(compare()("a", "ab"));
    EXPECT_TRUE(compare()("z", "\xC3"));
    EXPECT_FALSE(compare()("a", std::string("a").c_str()));
}

TEST(TagHelpers, EveryEngineSetsStylesAndColorsAgain)
{
    KestrixDispEngine first;
    TagParser::styleMap["thin"] = 9;
    TagParser::colorMap.erase("none");
    KestrixDispEngine second;
    EXPECT_EQ(1, TagParser::styleMap.at("thin"));
    EXPECT_EQ(0x30, TagParser::colorMap.at("none"));
    EXPECT_EQ(6u, TagParser::styleMap.size());
    EXPECT_EQ(5u, TagParser::colorMap.size());
}

}  // namespace

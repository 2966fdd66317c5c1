// Documents through the whole engine, with a converter profile on disk.

#include "Bytes.h"
#include "CaseFile.h"
#include "ProfileFixture.h"
#include "converter/RuvoConverter.h"
#include "engine/KestrixDispEngine.h"
#include "tags/TextTagParser.h"

#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <libxml/xmlerror.h>

namespace {

// The XML library reports each error of a document to stderr.
void ignoreReport(void*, const char*, ...) {}

class Engine : public ProfileFixture {
protected:
    void SetUp() override
    {
        xmlSetGenericErrorFunc(nullptr, ignoreReport);
        smallDisplay().write(".");
    }
    void TearDown() override { xmlSetGenericErrorFunc(nullptr, nullptr); }

    std::string parse(const std::string& document, const std::string& device = "DEVICE")
    {
        return engine.parse(document, device, noSetting);
    }

    KestrixDispEngine engine;
};

// A second device, whose texts begin with another table selection.
Profile otherDevice()
{
    Profile profile = smallDisplay();
    profile.deviceName = "OTHER";
    profile.tables[0].commandParam = 1;
    return profile;
}

// One document of a case and what it gives.
struct Step {
    int number;
    std::string document;
    std::string out;
};

TEST_F(Engine, Documents)
{
    for (const Case& row : readCases("documents.txt")) {
        SCOPED_TRACE("catches:" + row.name + ", documents.txt:" + std::to_string(row.number));
        Profile profile = smallDisplay();
        std::vector<Step> steps;
        std::string lines;
        for (const auto& [number, keyword, value] : row.lines) {
            const std::size_t end = value.find_last_of(keyword == "set" ? ' ' : '=');
            const bool isWhole =
                end < value.size() && value.find_first_of("<>", end) == std::string::npos;
            if (keyword == "set") {
                profile.set(value.substr(0, end), value.substr(end + 1));
            } else if (keyword == "out") {
                steps.at(steps.size() - 1).out += fromHex(value);
            } else if (!isWhole) {
                lines += expandText(value) + "\n";
            } else {
                std::string document = std::exchange(lines, "") + expandText(value.substr(0, end));
                if (document.ends_with(' ')) {
                    document.pop_back();
                }
                if (keyword == "elements") {
                    document = "<any>" + document + "</any>";
                }
                steps.push_back({number, document, fromHex(value.substr(end + 1))});
            }
        }
        EXPECT_EQ("", lines) << "no bytes of a document";
        profile.write(".");
        KestrixDispEngine ofCase;
        for (const Step& step : steps) {
            EXPECT_TRUE(sameBytes(step.out, ofCase.parse(step.document, "DEVICE", noSetting)))
                << "  document of line " << step.number;
            EXPECT_LT(0, KestrixDispEngine::getUCHandle());
        }
    }
}

// catches: a part of a text shown, or kept for the next one, where it is no UTF-8
TEST_F(Engine, MalformedTextOfADirectCallerIsDroppedWhole)
{
    parse("<any/>");
    OutputVector out;
    unsigned char malformed[] = "a\xC3";
    TextTagParser::storeText(malformed, out);
    EXPECT_TRUE(out.empty());
    EXPECT_TRUE(sameBytes(fromHex("1F 72 00 1B 74 00 62"), parse("<text>b</text>")));
}

// catches: a device opened for each document, under another's name, or not for an empty document; a
// handle of a program's own replaced
TEST_F(Engine, OneHandleForEachDeviceString)
{
    otherDevice().write(".");
    EXPECT_EQ("", parse(""));
    const short device = KestrixDispEngine::getUCHandle();
    EXPECT_TRUE(sameBytes(fromHex("1F 72 00 1B 74 01 61"), parse("<text>a</text>", "OTHER")));
    EXPECT_NE(device, KestrixDispEngine::getUCHandle());

    // An empty setting would be refused, but that of a device that is open is ignored.
    EXPECT_TRUE(sameBytes("\f", engine.parse("<clear/>", "DEVICE", "")));
    EXPECT_EQ(device, KestrixDispEngine::getUCHandle());
    EXPECT_EQ(device, engine.ucHandleMap.at("DEVICE"));
    engine.ucHandleMap["CLOSED"] = RUVO_INVALID_HANDLE;
    EXPECT_TRUE(
        sameBytes(fromHex("0C 1F 72 00"), parse("<any><clear/><text>a</text></any>", "CLOSED")));
    EXPECT_EQ(RUVO_INVALID_HANDLE, KestrixDispEngine::getUCHandle());
    EXPECT_EQ(3u, engine.ucHandleMap.size());
}

// catches: a failed open kept, without its code, or with bytes of the document
TEST_F(Engine, AFailedOpenGivesNothingAndIsTriedAgain)
{
    for (const auto& [device, setting, status] :
         {std::tuple{"", std::string(noSetting), RUVO_INVALID_ARGUMENT},
          {"DEVICE", "", RUVO_INVALID_ARGUMENT},
          {"DEVICE", std::string("\0ID", 3), RUVO_INVALID_ARGUMENT},
          {"OTHER", noSetting, RUVO_DEVICE_INFO_MISSING}}) {
        EXPECT_EQ("", engine.parse("<clear/>", device, setting));
        EXPECT_EQ(status, KestrixDispEngine::getUCHandle());
        EXPECT_TRUE(engine.ucHandleMap.empty());
    }
    otherDevice().write(".");
    EXPECT_TRUE(sameBytes("\f", parse("<clear/>", "OTHER")));
}

// A program's own parser: appends a mark and the number of attributes, and adds attributes.
class CountingParser final : public TagParser {
public:
    void subParse(AttributeMap& attributes, AttributeMap&, OutputVector& out) override
    {
        out.push_back(0xEE);
        out.push_back(static_cast<unsigned char>(attributes.size()));
        attributes["~"] = nullptr;
    }
};

// Puts a parser in place of the engine's own, which the program owns from then on.
void exchange(TagParser*& place, TagParser* parser)
{
    TagParser::operator delete(place, std::destroying_delete_t{});
    place = parser;
}

// A parser that gives the element "clock" another parser while a document runs.
class ExchangingParser final : public TagParser {
public:
    static inline ParserMap* parsers = nullptr;
    void subParse(AttributeMap&, AttributeMap&, OutputVector&) override
    {
        exchange(parsers->at("clock"), new CountingParser);
    }
};

// catches: a parser called that is none of the maps' any more, one deleted twice or never,
// attributes that one parser has had or entered passed on
TEST_F(Engine, ChangedRegistriesAreFollowed)
{
    ParserMap& begin = engine.funcMapBegin;
    ParserMap& end = engine.funcMapEnd;
    EXPECT_EQ(11u, begin.size());
    EXPECT_EQ(1u, end.size());
    EXPECT_NE(begin.at("ovix-display"), end.at("ovix-display"));
    exchange(begin["clear"], new CountingParser);
    end["clear"] = begin["clear"];  // one parser at three places
    begin["cleared"] = begin["clear"];
    end["text"] = new CountingParser;
    end["none"] = nullptr;
    end["new"] = new CountingParser;
    begin["exchange"] = new ExchangingParser;
    ExchangingParser::parsers = &begin;
    exchange(begin["command"], nullptr);
    exchange(begin["marquee"], nullptr);
    begin.erase("marquee");

    EXPECT_TRUE(sameBytes(fromHex("EE 02 EE 00"
                                  "EE 02 EE 00"
                                  "EE 01 EE 00"
                                  "1F 72 01 1B 74 00 61 EE 00"
                                  "1F 72 00 EE 00"
                                  "EE 02 EE 00"
                                  "1F 55 EE 00"
                                  "1F 72 00 EE 00"),
                          parse("<any><clear a=\"1\" b=\"2\"/><clear a=\"3\" b=\"4\"/>"
                                "<clear a=\"1\"></clear>"
                                "<text reverse=\"1\">a</text><text/><none/>"
                                "<new a=\"1\" b=\"2\"/><new a=\"1\"></new>"
                                "<clock/><exchange/><clock/>"
                                "<command>0c</command><marquee uwait=\"1\" rwait=\"1\">A"
                                "</marquee><command>0c</command><text/></any>")));
}

}  // namespace

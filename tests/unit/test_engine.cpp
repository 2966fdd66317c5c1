// Documents through the whole engine, with a converter profile on disk.

#include "Bytes.h"
#include "CaseFile.h"
#include "ProfileFixture.h"
#include "converter/RuvoConverter.h"
#include "engine/KestrixDispEngine.h"
#include "tags/TextTagParser.h"

#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <libxml/xmlerror.h>

namespace {

// The XML library reports each error of a document to stderr.
void ignoreReport(void*, const char*, ...) {}

class Engine : public ProfileFixture {
protected:
    void SetUp() override { xmlSetGenericErrorFunc(nullptr, ignoreReport); }
    void TearDown() override { xmlSetGenericErrorFunc(nullptr, nullptr); }

    std::string parse(KestrixDispEngine& engine, const std::string& document,
                      const std::string& device = "DEVICE")
    {
        return engine.parse(document, device, noSetting);
    }
};

Profile profileNamed(const std::string& name)
{
    Profile profile = smallDisplay();
    if (name == "five-bytes") {
        profile.set("OutputBufferBlockSize", "5");
        profile.set("OutputBufferBlockMax", "1");
    } else if (name == "utf-16") {
        profile.set("EncodeTypeDefault", "1");
    } else if (name == "large-blocks") {
        profile.set("OutputBufferBlockSize", "1000000");
    } else if (name != "small") {
        throw std::invalid_argument("no profile " + name);
    }
    return profile;
}

// One document of a case and what it gives.
struct Step {
    int number;
    std::string document;
    std::string out;
};

struct DocumentCase {
    std::string profile = "small";
    std::vector<Step> steps;
};

DocumentCase documentCase(const Case& row)
{
    DocumentCase result;
    std::string previous;
    for (const CaseLine& line : row.lines) {
        if (line.keyword == "profile") {
            result.profile = line.value;
        } else if (line.keyword == "document" && previous != "document") {
            result.steps.push_back({line.number, expandText(line.value), ""});
        } else if (line.keyword == "document") {
            result.steps.back().document += "\n" + expandText(line.value);
        } else if (line.keyword == "out" && !result.steps.empty()) {
            result.steps.back().out += fromHex(line.value);
        } else {
            throw std::invalid_argument("line " + std::to_string(line.number) + " out of place");
        }
        previous = line.keyword;
    }
    if (previous != "out") {
        throw std::invalid_argument("the case ends without \"out\"");
    }
    return result;
}

TEST_F(Engine, Documents)
{
    for (const Case& row : readCases("documents.txt")) {
        SCOPED_TRACE("case " + row.name + ", documents.txt:" + std::to_string(row.number));
        const DocumentCase documents = documentCase(row);
        profileNamed(documents.profile).write(".");
        KestrixDispEngine engine;
        for (const Step& step : documents.steps) {
            EXPECT_TRUE(sameBytes(step.out, parse(engine, step.document)))
                << "  document of line " << step.number;
            EXPECT_LT(0, KestrixDispEngine::getUCHandle());
        }
    }
}

TEST_F(Engine, MalformedTextOfADirectCallerIsDroppedWhole)
{
    smallDisplay().write(".");
    KestrixDispEngine engine;
    parse(engine, "<any/>");
    OutputVector out;
    unsigned char malformed[] = "a\xC3";
    TextTagParser::storeText(malformed, out);
    EXPECT_TRUE(out.empty());
    EXPECT_TRUE(sameBytes(fromHex("1F 72 00 1B 74 00 62"), parse(engine, "<text>b</text>")));
}

TEST_F(Engine, OneHandleForEachDeviceString)
{
    smallDisplay().write(".");
    Profile other = smallDisplay();
    other.deviceName = "OTHER";
    other.tables[0].commandParam = 1;
    other.write(".");
    KestrixDispEngine engine;
    EXPECT_TRUE(sameBytes(fromHex("1F 72 00 1B 74 00 61"), parse(engine, "<text>a</text>")));
    const short device = KestrixDispEngine::getUCHandle();
    EXPECT_TRUE(
        sameBytes(fromHex("1F 72 00 1B 74 01 61"), parse(engine, "<text>a</text>", "OTHER")));
    EXPECT_NE(device, KestrixDispEngine::getUCHandle());

    // The setting of a device that is open is not looked at: an empty one would be refused.
    EXPECT_TRUE(sameBytes(fromHex("0C"), engine.parse("<clear/>", "DEVICE", "")));
    EXPECT_EQ(device, KestrixDispEngine::getUCHandle());
    EXPECT_EQ(device, engine.ucHandleMap.at("DEVICE"));
    EXPECT_EQ(2u, engine.ucHandleMap.size());
}

TEST_F(Engine, DeviceStringsThatDifferBehindTheirNulAreTwoHandles)
{
    smallDisplay().write(".");
    KestrixDispEngine engine;
    const std::string first("DEVICE\0a", 8);
    const std::string second("DEVICE\0b", 8);
    EXPECT_TRUE(sameBytes(fromHex("0C"), parse(engine, "<clear/>", first)));
    EXPECT_TRUE(sameBytes(fromHex("0C"), parse(engine, "<clear/>", second)));
    ASSERT_EQ(2u, engine.ucHandleMap.size());
    EXPECT_NE(engine.ucHandleMap.at(first), engine.ucHandleMap.at(second));
}

TEST_F(Engine, AFailedOpenGivesNothingAndIsTriedAgain)
{
    smallDisplay().write(".");
    KestrixDispEngine engine;
    EXPECT_EQ("", parse(engine, "<clear/>", ""));
    EXPECT_EQ(RUVO_INVALID_ARGUMENT, KestrixDispEngine::getUCHandle());
    EXPECT_EQ("", engine.parse("<clear/>", "DEVICE", ""));
    EXPECT_EQ(RUVO_INVALID_ARGUMENT, KestrixDispEngine::getUCHandle());
    EXPECT_EQ("", engine.parse("<clear/>", "DEVICE", std::string("\0ID", 3)));
    EXPECT_EQ(RUVO_INVALID_ARGUMENT, KestrixDispEngine::getUCHandle());
    EXPECT_EQ("", parse(engine, "<clear/>", "OTHER"));
    EXPECT_EQ(RUVO_DEVICE_INFO_MISSING, KestrixDispEngine::getUCHandle());
    EXPECT_TRUE(engine.ucHandleMap.empty());

    Profile other = smallDisplay();
    other.deviceName = "OTHER";
    other.write(".");
    EXPECT_TRUE(sameBytes(fromHex("0C"), parse(engine, "<clear/>", "OTHER")));
    EXPECT_LT(0, KestrixDispEngine::getUCHandle());
    EXPECT_EQ(1u, engine.ucHandleMap.size());
}

TEST_F(Engine, AHandleOfTheCallersIsUsedAsItIs)
{
    KestrixDispEngine engine;
    engine.ucHandleMap["CLOSED"] = RUVO_INVALID_HANDLE;
    EXPECT_TRUE(sameBytes(fromHex("0C 1F 72 00"),
                          parse(engine, "<any><clear/><text>a</text></any>", "CLOSED")));
    EXPECT_EQ(RUVO_INVALID_HANDLE, KestrixDispEngine::getUCHandle());
    EXPECT_EQ(1u, engine.ucHandleMap.size());
}

TEST_F(Engine, AnEmptyDocumentSelectsTheHandle)
{
    smallDisplay().write(".");
    KestrixDispEngine engine;
    KestrixDispEngine::ucHandle = 0;
    EXPECT_EQ("", parse(engine, ""));
    EXPECT_EQ(1u, engine.ucHandleMap.size());
    EXPECT_EQ(engine.ucHandleMap.at("DEVICE"), KestrixDispEngine::getUCHandle());
}

TEST_F(Engine, TwoEnginesShareNoHandle)
{
    smallDisplay().write(".");
    std::optional<KestrixDispEngine> first(std::in_place);
    KestrixDispEngine second;
    parse(*first, "<text lang=\"ja\">a</text>");
    const short firstHandle = KestrixDispEngine::getUCHandle();
    parse(second, "<clear/>");
    const short secondHandle = KestrixDispEngine::getUCHandle();
    EXPECT_NE(firstHandle, secondHandle);
    parse(*first, "<clear/>");
    EXPECT_EQ(firstHandle, KestrixDispEngine::getUCHandle());

    first.reset();
    EXPECT_EQ(RUVO_INVALID_HANDLE, KestrixDispEngine::RuvoCloseHandle(firstHandle))
        << "the destructor has left a handle open";
    EXPECT_TRUE(sameBytes(fromHex("1F 72 00 1B 74 00 61"), parse(second, "<text>a</text>")));
    EXPECT_EQ(secondHandle, KestrixDispEngine::getUCHandle());
}

// A parser of a program's own: appends a mark and the number of attributes, and leaves others.
class CountingParser final : public TagParser {
public:
    void subParse(AttributeMap& attributes, AttributeMap&, OutputVector& out) override
    {
        out.push_back(0xEE);
        out.push_back(static_cast<unsigned char>(attributes.size()));
        attributes["~"] = nullptr;
    }
};

// Gives the element "clock" another parser while a document runs.
class ExchangingParser final : public TagParser {
public:
    static inline ParserMap* parsers = nullptr;
    void subParse(AttributeMap&, AttributeMap&, OutputVector&) override
    {
        TagParser*& parser = parsers->at("clock");
        TagParser::operator delete (parser, std::destroying_delete_t{});
        parser = new CountingParser;
    }
};

TEST_F(Engine, RegistriesHoldEveryElement)
{
    KestrixDispEngine engine;
    std::set<std::string> names;
    std::set<TagParser*> parsers;
    for (const auto& [name, parser] : engine.funcMapBegin) {
        names.insert(name);
        parsers.insert(parser);
    }
    EXPECT_EQ((std::set<std::string>{"text", "ovix-display", "window", "reset", "cursor", "clear",
                                     "blink", "brightness", "marquee", "clock", "command"}),
              names);
    ASSERT_EQ(1u, engine.funcMapEnd.size());
    parsers.insert(engine.funcMapEnd.at("ovix-display"));
    EXPECT_EQ(12u, parsers.size()) << "a parser stands in two places";
    EXPECT_EQ(KestrixDispEngine::TAG_TEXT, engine.funcMapBegin.find("text")->first);

    EXPECT_TRUE(engine.hasParser(std::string("marquee").c_str(), engine.funcMapBegin));
    EXPECT_FALSE(engine.hasParser("marquee", engine.funcMapEnd));
    EXPECT_FALSE(engine.hasParser("Marquee", engine.funcMapBegin));
    EXPECT_FALSE(engine.hasParser("", engine.funcMapBegin));
    EXPECT_FALSE(engine.hasParser(nullptr, engine.funcMapBegin));
}

TEST_F(Engine, ChangedRegistriesAreFollowed)
{
    smallDisplay().write(".");
    KestrixDispEngine engine;
    TagParser::operator delete (engine.funcMapBegin["clear"], std::destroying_delete_t{});
    engine.funcMapBegin["clear"] = new CountingParser;
    engine.funcMapEnd["clear"] = engine.funcMapBegin["clear"];  // one parser at two places
    engine.funcMapEnd["text"] = new CountingParser;
    engine.funcMapEnd["none"] = nullptr;
    engine.funcMapEnd["new"] = new CountingParser;
    engine.funcMapBegin["exchange"] = new ExchangingParser;
    ExchangingParser::parsers = &engine.funcMapBegin;
    TagParser::operator delete (engine.funcMapBegin["command"], std::destroying_delete_t{});
    engine.funcMapBegin["command"] = nullptr;
    TagParser::operator delete (engine.funcMapBegin["marquee"], std::destroying_delete_t{});
    engine.funcMapBegin.erase("marquee");

    EXPECT_TRUE(sameBytes(fromHex("EE 02 EE 00"
                                  "EE 02 EE 00"
                                  "EE 01 EE 00"
                                  "1F 72 01 1B 74 00 61 EE 00"
                                  "1F 72 00 EE 00"
                                  "EE 02 EE 00"
                                  "1F 55 EE 00"),
                          parse(engine, "<any><clear a=\"1\" b=\"2\"/><clear a=\"3\" b=\"4\"/>"
                                        "<clear a=\"1\"></clear>"
                                        "<text reverse=\"1\">a</text><text/><none/>"
                                        "<new a=\"1\" b=\"2\"/><new a=\"1\"></new>"
                                        "<clock/><exchange/><clock/>"
                                        "<command>0c</command><marquee uwait=\"1\" rwait=\"1\">A"
                                        "</marquee></any>")));
}

}  // namespace

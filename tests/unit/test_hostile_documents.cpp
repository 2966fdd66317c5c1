// Documents that are cut, damaged, in any encoding, or made to cost time, memory or a file access.

#include "Bytes.h"
#include "ProfileFixture.h"
#include "engine/DocumentSource.h"
#include "engine/KestrixDispEngine.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <malloc.h>

#include <libxml/parser.h>
#include <unicode/unistr.h>

namespace {

void ignoreReport(void*, const char*, ...) {}

// A valid document in pieces, and the commands of each piece, which are given whole or not at all.
constexpr std::pair<const char*, const char*> pieces[] = {
    {"<!DOCTYPE ovix-display [<!ENTITY e \"77\"><!ENTITY % p ''>%p;]><ovix-display><!-- c "
     "--><clear/>",
     "0C"},
    {"<text x=\"1\" lang=\"ja\" y='2'>a&amp;&#xE4;&e;b</text>",
     "1B 74 00 1B 52 08 1F 24 01 02 1F 72 00 1B 74 00 61 26 1B 74 02 84 1B 74 00 62"},
    {"<window number=\"1\"/>", "1A 43 01"},
    {"<text>a<b>c</b><![CDATA[d]]></text>", "1F 72 00 1B 74 00 61 64"},
    {"<command>1b40</command>", "1B 40"},
    {"<marquee uwait=\"1\" rwait=\"1\">A</marquee>", "1A 4D 01 01 00 01 00 00 04 00 1B 74 00 41"},
    {"<text lang=\"en\"/></ovix-display>", "1B 74 00 1B 52 00 1F 72 00"},
};

class HostileDocuments : public ProfileFixture {
protected:
    void SetUp() override
    {
        xmlSetGenericErrorFunc(nullptr, ignoreReport);
        smallDisplay().write(".");
        for (const auto& [xml, out] : pieces) {
            valid_ += xml;
            results_.push_back(results_.back() + fromHex(out));
        }
        used_ = mallinfo2().uordblks;
    }
    void TearDown() override
    {
        xmlSetGenericErrorFunc(nullptr, nullptr);
        EXPECT_GT(used_ + 1000000, mallinfo2().uordblks)
            << "each document leaves some memory behind";
    }

    std::string parse(const std::string& document)
    {
        return engine_.parse(document, "DEVICE", noSetting);
    }

    // Parses a damaged document. It must give the commands of whole pieces from the start.
    std::string parseDamaged(const std::string& document)
    {
        const std::string bytes = parse(document);
        EXPECT_EQ(1, std::ranges::count(results_, bytes)) << document << "\n" << toHex(bytes);
        return bytes;
    }

    std::string valid_;
    std::vector<std::string> results_ = {""};

private:
    KestrixDispEngine engine_;
    std::size_t used_ = 0;  // memory, in bytes
};

// `count` texts, each with its number in it.
std::string numbered(const std::string& before, std::size_t count, const std::string& after)
{
    std::string result;
    for (std::size_t i = 0; i < count; ++i) {
        result += before + std::to_string(i) + after;
    }
    return result;
}

std::string encoded(const std::string& text, const std::string& encoding)
{
    const icu::UnicodeString characters = icu::UnicodeString::fromUTF8(text);
    std::string bytes(8 * text.size(), '\0');
    const int size = characters.extract(0, characters.length(), bytes.data(),
                                        static_cast<unsigned>(bytes.size()), encoding.c_str());
    return bytes.substr(0, static_cast<unsigned>(size));
}

std::string declaration(const std::string& encoding)
{
    return "<?xml version='1.0' encoding='" + encoding + "'?>";
}

// The document in an encoding that it declares. If the first bytes do not tell the encoding, the
// declaration is in ASCII.
std::string declaredAs(const std::string& encoding, const std::string& document)
{
    const bool byMark = encoding == "UTF-16" || encoding == "UCS-4" || encoding == "IBM037";
    return byMark ? encoded(declaration(encoding) + document,
                            encoding == "UCS-4" ? "UTF-32BE" : encoding)
                  : declaration(encoding) + encoded(document, encoding);
}

// catches: half a command, or one after an error, shown of a cut document; an encoding not known
TEST_F(HostileDocuments, EveryBeginningInEveryEncodingGivesWholeCommands)
{
    std::vector<std::string> documents = {
        valid_, "\xEF\xBB\xBF" + declaration("utf-8") + valid_,
        "\xFE\xFF" + encoded(declaration("UTF-16") + valid_, "UTF-16BE"),
        encoded(declaration("UTF-16") + valid_, "UTF-16LE"), encoded(valid_, "UTF-16")};
    for (const char* encoding :
         {"UCS-4", "ISO-8859-15", "Shift_JIS", "ISO-2022-JP", "GB18030", "IBM037"}) {
        documents.push_back(declaredAs(encoding, valid_));
    }
    for (const std::string& document : documents) {
        EXPECT_TRUE(sameBytes(results_.back(), parse(document)));
        std::set<std::string> results;
        for (std::size_t length = 0; length < document.size(); ++length) {
            results.insert(parseDamaged(document.substr(0, length)));
        }
        EXPECT_LT(2u, results.size()) << "hardly anything is shown of a cut document";
    }
}

// catches: a command shown that the damage is a part of
TEST_F(HostileDocuments, DamageAndWrongDeclarationsGiveWholeCommands)
{
    for (std::size_t at = 0; at <= valid_.size(); ++at) {
        for (const char byte : {'\0', '\x01', '\xFF'}) {
            parseDamaged(std::string(valid_).insert(at, 1, byte));
        }
    }
    for (const char* encoding : {"UTF-16", "UTF-16LE", "UCS-4", "EBCDIC-US", "ISO-2022-JP", "UTF-7",
                                 "x-unknown", "", "\xE4", "UTF-8' version='1.0"}) {
        parseDamaged(declaration(encoding) + valid_);
        parseDamaged("\xFF\xFE" + declaration(encoding) + valid_);
    }
}

// Each of these entities is three times the one before.
std::string entities(const std::string& kind, const std::string& first, int levels)
{
    std::string text = "<!ENTITY " + kind + "e0 \"" + first + "\">";
    for (int i = 1; i < levels; ++i) {
        text += "<!ENTITY " + kind + "e" + std::to_string(i) + " '" +
                repeated((kind.empty() ? "&e" : "&#37;e") + std::to_string(i - 1) + ";", 3) + "'>";
    }
    return text;
}

std::string typed(const std::string& declarations, const std::string& document)
{
    return "<!DOCTYPE any [" + declarations + "]>" + document;
}

std::string between(const std::string& middle)
{
    return "<any><clear/>" + middle + "<clear/></any>";
}

// catches: a limit one off, counted in bytes that are no characters of markup, or not named
TEST_F(HostileDocuments, LimitsAreExactInEveryEncoding)
{
    const std::string tag = "<clear" + numbered(" a", 4096, "=''");
    const std::string value = "<a b='" + std::string(1048576 - 9, 'x');
    const std::string entity = "<!ENTITY e '" + std::string(32768 - 31, '>');
    // Quotes and "<" that are text, not markup.
    const std::string words = repeated("don't <b \"c ", 5000);
    using enum DocumentEnd;
    const std::tuple<std::string, std::string, DocumentEnd> rows[] = {
        {between(tag + "/>"), "\f\f\f", wellFormed},
        {between(tag + " b=''/>"), "\f", manyAttributes},
        {between(value + "'/>"), "\f\f", wellFormed},
        {between(value + "x'/>"), "\f", largeTag},
        {typed(entity + "'>", between("")), "\f\f", wellFormed},
        {typed(entity + "x'>", between("")), "", largeDocumentType},
        {between("<!--" + words + "--><![CDATA[" + words + "]]><?p " + words + "?>"), "\f\f",
         wellFormed},
        {"<any>", "", damaged}};
    for (const char* encoding :
         {"UTF-8", "UTF-16", "UCS-4", "Shift_JIS", "EUC-JP", "Big5", "GB18030", "ISO-2022-JP",
          "ISO-2022-KR", "UTF-7", "ISO-8859-1", "IBM037"}) {
        for (const auto& [text, result, end] : rows) {
            const std::string document = declaredAs(encoding, text);
            EXPECT_TRUE(sameBytes(result, parse(document))) << encoding << text.substr(0, 50);
            DocumentSource source(document);
            while (source.read() != 0) {
            }
            EXPECT_EQ(end, source.end()) << encoding << text.substr(0, 50);
        }
    }
}

// catches: bytes of characters taken for markup
TEST_F(HostileDocuments, LongDocumentsGiveTheSameInEveryEncoding)
{
    // In ISO-2022-JP the first two are 3C 21 and 24 22, "<!" and "$\"" in ASCII; in Shift_JIS the
    // second byte of the third is 5C, a backslash. That of the value is 24 27, with a quote.
    const std::string text = repeated("<text x='1'>\u6B21\u3042\u8868</text>", 2000) + "<a b='" +
                             repeated("\u3047", 12000) + "'/>";
    const std::string expected = repeated(fromHex("1F 72 00 1B 74 00 3F 3F 3F"), 2000);
    for (const char* encoding :
         {"UTF-16", "Shift_JIS", "EUC-JP", "GB18030", "ISO-2022-JP", "UTF-7"}) {
        EXPECT_TRUE(sameBytes("\f" + expected + "\f", parse(declaredAs(encoding, between(text)))));
    }
}

// Without the limits of engine/MarkupLimits.h and DocumentSource.h some of these take hours.
// catches: a limit not kept, one that ends documents which are read in no time, one off
TEST_F(HostileDocuments, LargeDocumentsAreShownAsFarAsTheyCanBeRead)
{
    constexpr std::size_t million = 1000000;
    const std::string one = "\f";
    const std::string two = "\f\f";
    const std::string shown = fromHex("1F 72 00 1B 74 00 61");
    const std::string idReferences = "<!ATTLIST e i IDREF #IMPLIED j IDREFS #IMPLIED>";
    const std::string nested = typed(entities("", "{x*10}", 30), "<any><clear/>");
    const auto namespaces = [](std::size_t count) {
        return "<a" + numbered(" xmlns:a", count, "='u'") + ">";
    };
    const auto declared = [](std::size_t count, const std::string& value) {
        return typed("<!ATTLIST clear" + numbered(" a", count, " CDATA " + value) + ">",
                     between(""));
    };
    const auto parameterEntities = [](int levels) {
        return typed(entities("% ", "<!ATTLIST clear a CDATA ''>", levels) + "%e" +
                         std::to_string(levels - 1) + ";",
                     between(""));
    };
    struct Row {
        std::string document;
        std::vector<std::string> results;  // the XML reader's own limits decide among them
    };
    for (const auto& [document, results] : {
             Row{between("<clear" + numbered(" a", million, "=''") + "/>"), {one}},
             {encoded(between("<a" + numbered(" a", million, "=''") + "/>"), "UTF-16"), {one}},
             {between("<a b='" + std::string(1048576 - 9, '>') + "'/>"), {two}},
             {between(namespaces(4000) + namespaces(96) + "</a><a xmlns:b='u'/></a>"), {two}},
             {between(namespaces(4000) + namespaces(96) + "<a xmlns:b='u'/></a></a>"), {one}},
             {between(namespaces(4095) + repeated("<b xmlns:b='u'/>", 5) + "</a>"), {two}},
             {declared(64, "''"), {two}},
             {declared(65, "''"), {""}},
             {declared(1000, "#IMPLIED"), {two}},
             {parameterEntities(1), {two}},
             {parameterEntities(30), {""}},
             // Newer readers refuse the reference as an error, older ones pass it on as a node.
             {nested + std::string(5000, ' ') + "<text>a&e29;</text></any>", {one, one + shown}},
             {nested + std::string(5000, ' ') + "<clear a='&e29;'/></any>", {one, two}},
             // The reader waits for a second quote.
             {typed("<?p '?>", between(repeated("<a>x</a>\n", million))), {""}},
             {typed(idReferences, between(repeated("<e i='q' j='q q'/>", 200000))), {two}},
             {typed(repeated("<!-- -->", 10000), between("")), {""}},
             {typed("<!-- ' -->", between(std::string(40000, ' '))), {two}},
             {"<!DOCTYPE any [" + repeated("<!ENTITY e ''>", million), {""}},
             {between(repeated("<a>", 100000) + "<clear/>" + repeated("</a>", 100000)), {one}},
             {between("<text>" + repeated("<a>", 100000) + "</text>"), {one}},
             {between("<text>" + std::string(50 * million, 'a') + "</text>"),
              {one, one + fromHex("1F 72 00") + one}},
             {between(std::string(50 * million, ' ')), {one, two}},
             {between("<!--" + std::string(5 * million, 'x') + "--><?a " +
                      std::string(5 * million, '?') + "?>"),
              {two}},
             {"<text>" + repeated("don't ", 9000) + "</text>",
              {shown.substr(0, 6) + repeated("don't ", 9000)}},
             {"<text><![CDATA[" + std::string(30000, 'a') + "]]>" +
                  repeated("<![CDATA[a]]>", 30000) + repeated("&#97;", 30000) + "</text>",
              {shown + std::string(89999, 'a')}},
             {between(numbered("<a", million, "/>")), {one}},
             {between(repeated("<a/>", million)), {two}},
         }) {
        SCOPED_TRACE(document.substr(0, 100));
        const std::string bytes = parse(document);
        EXPECT_TRUE(std::ranges::count(results, bytes))
            << bytes.size() << " bytes: " << toHex(bytes.substr(0, 100));
        EXPECT_TRUE(sameBytes(one, parse("<clear/>"))) << "the next document";
    }
}

// ---- Documents that name files ----

int loads = 0;
xmlExternalEntityLoader loaderOfReader = nullptr;

// Notes each file that the reader asks for, on disk or in a network.
xmlParserInputPtr countLoad(const char* name, const char* id, xmlParserCtxtPtr context)
{
    ++loads;
    return loaderOfReader(name, id, context);
}

// catches: a file read or a network asked, because of a document or of what a host has set
TEST_F(HostileDocuments, NothingThatADocumentNamesIsFetched)
{
    std::ofstream("secret.dtd") << "<!ENTITY inside \"secret\"><clear/>";
    loaderOfReader = xmlGetExternalEntityLoader();
    xmlSetExternalEntityLoader(countLoad);
    xmlFreeDoc(xmlReadFile("secret.dtd", nullptr, 0));
    ASSERT_EQ(1, std::exchange(loads, 0)) << "nothing is seen";

    // Settings of the XML library that a host may have made.
    xmlSubstituteEntitiesDefaultValue = 1;
    xmlDoValidityCheckingDefaultValue = 1;
    xmlLoadExtDtdDefaultValue = XML_DETECT_IDS | XML_COMPLETE_ATTRS;
    for (const std::string& place :
         {std::string("secret.dtd"),
          "file://" + std::filesystem::current_path().string() + "/secret.dtd",
          std::string("http://127.0.0.1:9/secret.dtd"), std::string("ftp://127.0.0.1:9/a")}) {
        const std::string system = "SYSTEM \"" + place + "\"";
        for (const std::string& document :
             {"<!DOCTYPE any " + system + "><any><clear/><text>a&inside;</text></any>",
              "<!DOCTYPE any PUBLIC \"p\" \"" + place + "\"><any><clear/></any>",
              typed("<!ENTITY e " + system + ">", "<any a=\"&e;\"><text>a&e;b</text>&e;</any>"),
              typed("<!ENTITY % p " + system + "> %p;", "<any><text>a&inside;</text></any>"),
              typed("<!NOTATION n " + system + "><!ENTITY e " + system + " NDATA n>",
                    "<any><text>a</text></any>"),
              "<?xml-stylesheet href=\"" + place +
                  "\"?><any xmlns:xi=\"http://www.w3.org/2001/XInclude\"><xi:include href=\"" +
                  place + "\"/></any>"}) {
            EXPECT_EQ(std::string::npos, parse(document).find("secret")) << document;
            EXPECT_EQ(0, std::exchange(loads, 0)) << document;
        }
    }
    xmlSetExternalEntityLoader(loaderOfReader);
    EXPECT_EQ(1, std::exchange(xmlSubstituteEntitiesDefaultValue, 0));
    EXPECT_EQ(1, std::exchange(xmlDoValidityCheckingDefaultValue, 0));
    EXPECT_EQ(XML_DETECT_IDS | XML_COMPLETE_ATTRS, std::exchange(xmlLoadExtDtdDefaultValue, 0));
}

}  // namespace

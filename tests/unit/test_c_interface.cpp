// The plain C interface, and why documents end early.
#include "Bytes.h"
#include "ProfileFixture.h"
#include "engine/DocumentRun.h"
#include "engine/kestrix_disp.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

namespace {

class CInterface : public ProfileFixture {
protected:
    CInterface() : display(kestrix_disp_new(), kestrix_disp_free) { smallDisplay().write("."); }

    short parse(const std::string& document, const char* device = "DEVICE")
    {
        const unsigned char* data = nullptr;
        std::size_t length = 0;
        const short status = kestrix_disp_parse(display.get(), document.data(), document.size(),
                                                device, noSetting, &data, &length);
        bytes.assign(data, data + length);
        const char* const text = kestrix_disp_message(display.get(), &line);
        message = text == nullptr ? "-" : text;
        return status;
    }

    std::unique_ptr<KestrixDisp, void (*)(KestrixDisp*)> display;
    std::string bytes;
    std::string message;
    unsigned long line = 0;
};

// catches: a mistake told in other words, at another line, not at all, or on the standard error
TEST_F(CInterface, SaysWhyADocumentEndsEarly)
{
    const struct {
        const char* document;
        unsigned long line;
        const char* message;
    } rows[] = {
        {"<any/>", 0, "-"},
        {"<a:any/>", 0, "-"},
        {"<any>\nM\xC3\xBCller & Co</any>", 2, "an & that begins no entity; write &amp;"},
        {"<any>M&C</any>", 1, "an & without the ; of an entity; write &amp;"},
        {"<any>\n\n&nbsp;</any>", 3,
         "the entity &nbsp; is not known; XML knows &amp; &lt; &gt; &quot; &apos; and numbers like "
         "&#233;"},
        {"<any>1 < 2</any>", 1, "a < that begins no tag; write &lt;"},
        {"<any a=\"1>\n<b/></any>", 2,
         "a < in the value of an attribute: end its quotes, or write &lt;"},
        {"<any a='1", 1, "an attribute whose value has no closing quote"},
        {"<any a=1/>", 1, "an attribute whose value is not in quotes"},
        {"<any a/>", 1, "the attribute a has no value"},
        {"<any a='' a=''/>", 1, "the attribute a stands twice in one tag"},
        {"<any a=''b=''/>", 1, "attributes without a blank between them"},
        {"<any a='' \"/>", 1, "something in a tag that is no attribute"},
        {"<any>\n<b>\n</any>", 3, "</any> stands where <b> of line 2 must end first"},
        {"<any>\n<b>", 2, "the end tag of <b> of line 2 is missing"},
        {"<any/>\n<b/>", 2, "there is more after the end of the root element"},
        {"", 1, "there is no root element"},
        {" <any", 1, "the tag <any does not end in >"},
        {"{\"x\": 1}", 1, "a document must begin with <"},
        {"<any>\x01</any>", 1, "a character that XML does not allow"},
        {"<any>&#1;</any>", 1, "a character that XML does not allow"},
        {"<any>\xE9</any>", 1,
         "bytes that are not UTF-8; if the document is in another encoding, its first line must "
         "say so"},
        {"<?xml version='1.0' encoding='klingon'?><any/>", 1, "the encoding klingon is not known"},
        {"<?xml version='1.0' encoding='UTF-16'?><any/>", 1,
         "bytes that are not in the encoding that the document declares"},
        {"<?xml version='1.0' encoding='EUC-JP'?>\n<any>\xFF\xFF</any>", 2,
         "bytes that are not in the encoding that the document declares"},
        {"\n<?xml version='1.0'?><any/>", 2, "an <?xml that is not at the very start"},
        {"<any>\n<!-- a -- b\n\n-->\n</any>", 2, "a -- in a comment"},
        {"<!DOCTYPE any [<!ENTITY e '<b'><!ENTITY f 'c&e;d'>]>\n<any>\n&f;</any>", 3,
         "in the entity &f;: in the entity &e;: the tag <b does not end in >"},
        {"<!DOCTYPE any [<!ENTITY e '&f;'><!ENTITY f '&e;'>]>\n<any>\n&f;</any>", 3,
         "Detected an entity reference loop"},
        {"<any><!-- a", 1, "a comment without its end, -->"},
        {"<any>\n<!- a -->\n</any>", 2, "a <! that begins no comment"},
        {"<any>]]></any>", 1, "Sequence ']]>' not allowed in content"},
    };
    testing::internal::CaptureStderr();
    for (const auto& row : rows) {
        EXPECT_EQ(0, parse(row.document)) << row.document;
        EXPECT_EQ(row.message, message) << row.document;
        EXPECT_EQ(row.line, line) << row.document;
    }
    EXPECT_EQ("", testing::internal::GetCapturedStderr());
    EXPECT_EQ(0,
              parse("<any>" + std::string(2000, '\n') + "<clear/>" + std::string(2000, ' ') + "&"));
    EXPECT_EQ(2001U, line);
    EXPECT_TRUE(sameBytes("\f", bytes));
}

// catches: a limit taken for damage, damage before a limit taken for the limit, the line of a
// limit, a full dictionary of names taken for exhausted memory
TEST_F(CInterface, TellsLimitsFromDamage)
{
    std::string tag = "<b";
    for (int i = 0; i < 5000; ++i) {
        tag += " a" + std::to_string(i) + "=''";
    }
    std::string names;
    for (int i = 100000; i < 130000; ++i) {
        names += "<c" + std::to_string(i) + std::string(40, 'y') + "/>";
    }
    const std::string tooLong = "a text, comment, tag or value of more than 10 MB";
    for (const char* encoding : {"UTF-8", "ISO-8859-1"}) {
        const std::string start =
            std::string("<?xml version='1.0' encoding='") + encoding + "'?>\n<any>\n";
        const std::tuple<std::string, unsigned long, std::string> rows[] = {
            {start + tag + "/></any>", 3, "a tag has more than 4096 attributes"},
            {start + "&\n" + tag + "/></any>", 3, "an & that begins no entity; write &amp;"},
            {start + "<b c='" + std::string(1100000, 'x') + "'/></any>", 3,
             "a tag has more than 1048576 bytes"},
            {start + repeated("<b>", 300), 3, "more than 256 elements inside each other"},
            {start + "<x:b>" + names + "</x:b></any>", 3,
             "the names that differ have more than 1048576 bytes"},
            {start + "&" + names + "</any>", 3, "an & that begins no entity; write &amp;"},
            {start + names.substr(0, 1000000), 3, "the end tag of <any> of line 2 is missing"},
            {start + std::string(11000000, 'x') + "</any>", 3, tooLong},
            {start + "<!--" + std::string(11000000, 'x') + "--></any>", 3, tooLong},
        };
        for (const auto& [document, expectedLine, expected] : rows) {
            EXPECT_EQ(0, parse(document));
            EXPECT_EQ(expected, message);
            EXPECT_EQ(expectedLine, line) << expected;
        }
    }
    std::string defaults;
    for (int i = 0; i < 65; ++i) {
        defaults += " a" + std::to_string(i) + " CDATA ''";
    }
    EXPECT_EQ(0, parse("<!DOCTYPE any [<!ATTLIST any" + defaults + ">]><x:any/>"));
    EXPECT_EQ("the document type declares more than 64 attributes with default values", message);
    EXPECT_EQ(1U, line);
    std::string namespaces = "<any>\n<clear/>\n<b";
    for (int i = 0; i < 4000; ++i) {
        namespaces += " xmlns:a" + std::to_string(i) + "='u'";
    }
    EXPECT_EQ(0, parse(namespaces + ">\n" + namespaces.substr(15) + "></b></b></any>"));
    EXPECT_EQ("an element has more than 4096 namespaces in scope", message);
    EXPECT_EQ(4U, line);
}

// catches: a null pointer that is read, bytes or the message of an earlier document, an exception
// for a length that is none
TEST_F(CInterface, TakesWhatCallersGive)
{
    const unsigned char* data = nullptr;
    std::size_t length = 7;
    KestrixDisp* const d = display.get();
    EXPECT_EQ(-20, kestrix_disp_parse(nullptr, "", 0, "DEVICE", noSetting, &data, &length));
    EXPECT_EQ(0U, length);
    EXPECT_EQ(-20, kestrix_disp_parse(d, nullptr, 0, "DEVICE", noSetting, &data, &length));
    EXPECT_EQ(-20, kestrix_disp_parse(d, "", 0, nullptr, noSetting, &data, &length));
    EXPECT_EQ(-20, kestrix_disp_parse(d, "", 0, "DEVICE", nullptr, &data, &length));
    EXPECT_EQ(-20, kestrix_disp_parse(d, "", 0, "DEVICE", noSetting, nullptr, &length));
    EXPECT_EQ(-20, kestrix_disp_parse(d, "", 0, "DEVICE", noSetting, &data, nullptr));
    EXPECT_EQ(nullptr, kestrix_disp_message(nullptr, &line));
    EXPECT_EQ(nullptr, kestrix_disp_message(d, nullptr));
    kestrix_disp_free(nullptr);

    EXPECT_EQ(0, parse("<any><text>A</text></any>"));
    EXPECT_TRUE(sameBytes(fromHex("1F 72 00 1B 74 00 41"), bytes));
    EXPECT_EQ(0, parse("<any>"));
    EXPECT_EQ(-200, parse("<any>", "missing"));
    EXPECT_EQ("- ", bytes + message + " ");
    EXPECT_EQ(-20, parse("<any/>", ""));
    EXPECT_EQ(0, parse("<any>"));
    EXPECT_EQ(-20, kestrix_disp_parse(d, nullptr, 0, "DEVICE", noSetting, &data, &length));
    EXPECT_EQ(nullptr, kestrix_disp_message(d, &line));
    EXPECT_EQ(0, kestrix_disp_parse(d, "", SIZE_MAX, "DEVICE", noSetting, &data, &length));
    EXPECT_STREQ("the document has more than 2147483647 bytes", kestrix_disp_message(d, &line));
    EXPECT_EQ(0, parse(std::string("<any>\0<clear/></any>", 20)));
    EXPECT_EQ("a character that XML does not allow", message);
    EXPECT_STREQ("the device information file is missing", kestrix_disp_status_text(-200));
    EXPECT_STREQ("unknown status", kestrix_disp_status_text(-1));
}

struct Listener : ElementListener {
    void hear(const ElementBytes& element) override
    {
        heard += std::to_string(element.line) + " " + element.name + " " +
                 std::to_string(element.begin) + "-" + std::to_string(element.end) + "; ";
    }
    std::string heard;
};

// catches: an element not told, told twice, with the line or the bytes of another
TEST_F(CInterface, TellsEachElementWithItsLineAndBytes)
{
    KestrixDispEngine engine;
    Listener listener;
    const DocumentRun run = explainedRun(engine,
                                         "<any>\n<clear/><x:reset xmlns:x='u'>\n<none/></x:reset>\n"
                                         "<text>\n<clear/>a\n</text><command/>\n<clock></clock>"
                                         "\n<text\nx='1'/></any>",
                                         "DEVICE", noSetting, &listener);
    EXPECT_EQ(
        "1 any 0-0; 2 clear 0-1; 2 reset 1-3; 3 none 3-3; 4 text 3-12; 6 command 12-12; 7 clock "
        "12-14; 9 text 14-17; ",
        listener.heard);
    EXPECT_EQ(17U, run.bytes.size());
}

// catches: threads in each other's way (ThreadSanitizer sees more), a lock left closed after fork
// KESTRIX_SOAK=full runs it for a minute.
TEST_F(CInterface, ThreadsAndForksMayUseIt)
{
    using Clock = std::chrono::steady_clock;
    const char* const soak = std::getenv("KESTRIX_SOAK");
    const Clock::time_point end =
        Clock::now() + std::chrono::minutes(soak != nullptr && std::string(soak) == "full" ? 1 : 0);
    const auto work = [](int rounds, Clock::time_point until) {
        bool same = true;
        for (int i = 0; i < rounds || Clock::now() < until; ++i) {
            KestrixDisp* const own = kestrix_disp_new();
            const unsigned char* data = nullptr;
            std::size_t length = 0;
            for (const char* text : {"<any><text>A</text></any>", "<any><text>B</text>&"}) {
                same = kestrix_disp_parse(own, text, std::strlen(text), "DEVICE", noSetting, &data,
                                          &length) == 0 &&
                       (kestrix_disp_message(own, nullptr) != nullptr || length == 7) && same;
            }
            kestrix_disp_free(own);
        }
        return same;
    };
    std::vector<std::thread> threads;
    std::vector<char> results(4);
    for (char& result : results) {
        threads.emplace_back([&] { result = work(100, end); });
    }
    for (int i = 0; i < 20 || Clock::now() < end; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(10);
            _exit(work(1, {}) ? 0 : 1);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(0, status);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(std::vector<char>(4, 1), results);
}

}  // namespace

// The engine when memory runs out at each of its allocations.

#include "AllocationFailure.h"
#include "Bytes.h"
#include "ProfileFixture.h"
#include "converter/RuvoConverter.h"
#include "engine/KestrixDispEngine.h"
#include "engine/kestrix_disp.h"

#include <new>
#include <set>
#include <string>

namespace {

class EngineMemory : public ProfileFixture {
protected:
    // Repeats a call, with the first, second, third ... allocation failing, until none fails;
    // checks after each call. Returns the number of failures.
    template <class Call, class Check>
    static long failEachAllocation(Call call, Check check)
    {
        bool failed = true;
        long allocations = 0;
        for (; failed && !HasFailure(); ++allocations) {
            {
                const AllocationFailure failure(allocations);
                try {
                    call();
                } catch (const std::bad_alloc&) {
                    // of a constructor, or of the arguments of parse
                }
                failed = failure.happened();
            }
            check();
            EXPECT_FALSE(HasFailure()) << "failing after " << allocations;
        }
        return allocations - 1;
    }

    const KestrixDispEngine warmUp_;  // fills the code tables of the class, which stay
};

// catches: a parser, a place in a registry or a list of engines lost, or freed twice
TEST_F(EngineMemory, AConstructorThatFailsLeavesNothingBehind)
{
    const long before = liveAllocations();
    const long failures = failEachAllocation([] { const KestrixDispEngine engine; },
                                             [&] { EXPECT_EQ(before, liveAllocations()); });
    EXPECT_LE(24, failures) << "twelve parsers and their places in the registries";
}

// catches: half a command, or text of a failed parse left on the handle for the next one
TEST_F(EngineMemory, AParseThatFailsGivesWholeCommandsAndLeavesNoText)
{
    smallDisplay().write(".");
    KestrixDispEngine engine;
    const std::string document = "<any><clear/><text x=\"1\" y=\"1\">abc</text>"
                                 "<marquee uwait=\"1\" rwait=\"2\">A</marquee></any>";
    const std::string text = fromHex("0C 1F 24 01 01 1F 72 00");
    const std::string shown = fromHex("1B 74 00 61 62 63");
    const std::string marquee = fromHex("1A 4D 01 01 00 02 00 00 04 00 1B 74 00 41");
    const std::string whole = text + shown + marquee;
    ASSERT_TRUE(sameBytes(whole, engine.parse(document, "DEVICE", noSetting)));

    std::string bytes;
    std::set<std::string> results;
    failEachAllocation([&] { bytes = engine.parse(document, "DEVICE", noSetting); },
                       [&] {
                           results.insert(bytes);
                           unsigned long buffered = 0;
                           RuvoGetOutputData(KestrixDispEngine::getUCHandle(), nullptr, &buffered);
                           EXPECT_EQ(0u, buffered);
                           EXPECT_TRUE(
                               sameBytes(whole, engine.parse(document, "DEVICE", noSetting)));
                       });
    EXPECT_TRUE(results.contains(""));
    // The converter's own failures are rejected texts.
    const std::set<std::string> allowed = {"", text, text + shown, whole, text + marquee};
    for (const std::string& result : results) {
        EXPECT_TRUE(allowed.contains(result)) << toHex(result);
    }
}

// catches: the beginning of a text left on the handle where the converter stopped for memory
TEST_F(EngineMemory, ATextThatStopsHalfwayLeavesNothingOfIt)
{
    smallDisplay().write(".");
    KestrixDispEngine engine;
    const std::string text = repeated("\xC3\xA4"
                                      "a",
                                      5000);  // a switch at each character
    engine.parse("<any/>", "DEVICE", noSetting);
    failEachAllocation([&] { engine.parse("<text>" + text + "</text>", "DEVICE", noSetting); },
                       [&] {
                           unsigned long buffered = 0;
                           RuvoGetOutputData(KestrixDispEngine::getUCHandle(), nullptr, &buffered);
                           EXPECT_EQ(0u, buffered);
                       });
}

// catches: a text or an end that memory ran out for told as done, bytes of the document before
TEST_F(EngineMemory, TheCFunctionTellsEveryLoss)
{
    smallDisplay().write(".");
    const std::string document = "<?xml version='1.0' encoding='ISO-8859-1'?><any a='&amp;'>"
                                 "<text>" +
                                 repeated("\xE4"
                                          "a",
                                          2000) +
                                 "</text><clear/></any>";
    KestrixDisp* display = nullptr;
    const unsigned char* data = nullptr;
    std::size_t length = 0;
    short status = 0;
    const auto parse = [&] {
        status = kestrix_disp_parse(display, document.data(), document.size(), "DEVICE", noSetting,
                                    &data, &length);
    };
    failEachAllocation([&] { display = kestrix_disp_new(); },
                       [&] {
                           parse();
                           EXPECT_EQ(display == nullptr ? -20 : 0, status);
                           kestrix_disp_free(display);
                       });
    display = kestrix_disp_new();
    parse();
    const std::string whole(data, data + length);
    long done = 0;
    const long failures = failEachAllocation(parse, [&] {
        done += status == 0 ? 1 : 0;
        EXPECT_EQ(status == 0 ? whole : "", std::string(data, data + length));
        EXPECT_TRUE(status == 0 || status == -60) << status;
        EXPECT_EQ(nullptr, kestrix_disp_message(display, nullptr));
    });
    EXPECT_LE(8, failures);
    EXPECT_EQ(1, done) << "all but the last";
    kestrix_disp_free(display);
}

}  // namespace

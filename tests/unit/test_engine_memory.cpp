// The engine when memory runs out at each of its allocations.

#include "AllocationFailure.h"
#include "Bytes.h"
#include "ProfileFixture.h"
#include "converter/RuvoConverter.h"
#include "engine/KestrixDispEngine.h"

#include <memory>
#include <new>
#include <set>
#include <string>
#include <utility>

namespace {

using EngineMemory = ProfileFixture;

TEST_F(EngineMemory, AConstructorThatFailsLeavesNothingBehind)
{
    KestrixDispEngine warmUp;  // the code tables of the class are filled once and stay
    bool succeeded = false;
    int failures = 0;
    for (long allocations = 0; !succeeded; ++allocations) {
        const long before = liveAllocations();
        try {
            const AllocationFailure failure(allocations);
            const KestrixDispEngine engine;
            succeeded = true;
        } catch (const std::bad_alloc&) {
            ++failures;
        }
        EXPECT_EQ(before, liveAllocations()) << "failing after " << allocations;
    }
    EXPECT_LE(24, failures) << "twelve parsers and their places in the registries";
}

struct Outcome {
    std::set<std::string> results;  // in hex
    bool sawFailure = false;
};

// Parses document with the first, second, third ... allocation failing until none fails. After each
// parse nothing may be buffered on a handle and the next one must give whole.
Outcome failEachAllocation(KestrixDispEngine& engine, const std::string& document,
                           const std::string& whole, const std::string& setting)
{
    Outcome outcome;
    bool failed = true;
    for (long allocations = 0; failed; ++allocations) {
        std::string data = document;
        std::string device = "DEVICE";
        std::string id = setting;
        std::string bytes;
        {
            const AllocationFailure failure(allocations);
            bytes = engine.parse(std::move(data), std::move(device), std::move(id));
            failed = failure.happened();
        }
        outcome.sawFailure |= failed;
        outcome.results.insert(toHex(bytes));

        unsigned long buffered = 0;
        RuvoGetOutputData(KestrixDispEngine::getUCHandle(), nullptr, &buffered);
        EXPECT_EQ(0u, buffered) << "left on the handle, failing after " << allocations;
        EXPECT_TRUE(sameBytes(whole, engine.parse(document, "DEVICE", setting)))
            << "failing after " << allocations;
        if (testing::Test::HasFailure()) {
            break;
        }
    }
    return outcome;
}

TEST_F(EngineMemory, AParseThatFailsGivesWholeCommandsAndLeavesNoText)
{
    smallDisplay().write(".");
    KestrixDispEngine engine;
    const std::string document = "<any><clear/><text x=\"1\" y=\"1\">abc</text>"
                                 "<marquee uwait=\"1\" rwait=\"2\">A</marquee></any>";
    const std::string clear = "0C";
    const std::string text = " 1F 24 01 01 1F 72 00";
    const std::string shown = " 1B 74 00 61 62 63";
    const std::string marquee = " 1A 4D 01 01 00 02 00 00 04 00 1B 74 00 41";
    const std::string whole = fromHex(clear + text + shown + marquee);
    ASSERT_TRUE(sameBytes(whole, engine.parse(document, "DEVICE", noSetting)));

    const Outcome outcome = failEachAllocation(engine, document, whole, noSetting);
    EXPECT_TRUE(outcome.sawFailure);
    EXPECT_TRUE(outcome.results.contains(""));
    // The converter's own failures are rejected texts.
    const std::set<std::string> allowed = {"", clear + text, clear + text + shown,
                                           clear + text + shown + marquee, clear + text + marquee};
    for (const std::string& result : outcome.results) {
        EXPECT_TRUE(allowed.contains(result)) << result;
    }
}

TEST_F(EngineMemory, AnOpenThatFailsIsNotKept)
{
    const KestrixDispEngine warmUp;  // the code tables of the class are filled once and stay
    Profile profile = smallDisplay();
    profile.tables[0].lines.resize(4);  // few allocations: each is failed in turn
    profile.database.clear();
    for (const char32_t c : {U' ', U'!', U'"', U'#'}) {
        profile.database.push_back(Profile::character(c));
    }
    profile.write(".");
    int opened = 0;
    for (long allocations = 0; opened == 0; ++allocations) {
        const long before = liveAllocations();
        auto engine = std::make_unique<KestrixDispEngine>();
        std::string data = "<any/>";
        std::string device = "DEVICE";
        std::string id = noSetting;
        KestrixDispEngine::ucHandle = 0;
        bool failed = false;
        {
            const AllocationFailure failure(allocations);
            engine->parse(std::move(data), std::move(device), std::move(id));
            failed = failure.happened();
        }
        if (KestrixDispEngine::getUCHandle() > 0) {
            EXPECT_EQ(1u, engine->ucHandleMap.size());
            opened += failed ? 0 : 1;
        } else {
            EXPECT_TRUE(engine->ucHandleMap.empty());
        }
        engine.reset();
        // The process's handle table is one allocation, which the first open leaves.
        EXPECT_GE(before + 1, liveAllocations()) << "failing after " << allocations;
        if (HasFailure()) {
            break;
        }
    }
}

}  // namespace

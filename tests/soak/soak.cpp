// Long life in one process: no round leaves memory or a descriptor behind.
//
// KESTRIX_SOAK=full runs all rounds; otherwise a fiftieth of them.

#include "../unit/Bytes.h"
#include "../unit/ConverterHandle.h"
#include "../unit/ProfileFixture.h"
#include "converter/RuvoConverter.h"
#include "engine/KestrixDispEngine.h"

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>

#include <malloc.h>

#include <libxml/xmlerror.h>

namespace {

namespace fs = std::filesystem;

// Bytes that are allocated and not freed. Under sanitizers there are none: they find leaks
// themselves.
std::size_t allocated()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

std::ptrdiff_t openDescriptors()
{
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

void ignoreReport(void*, const char*, ...) {}

// Runs the first tenth of the rounds to warm up; memory may not grow in the others, but for what
// the C library keeps for its threads.
void expectConstantMemory(int count, const std::function<void(int)>& round)
{
    const char* const value = std::getenv("KESTRIX_SOAK");
    count /= value != nullptr && std::string(value) == "full" ? 1 : 50;
    std::size_t before = 0;
    std::ptrdiff_t descriptors = 0;
    for (int i = 0; i < count; ++i) {
        if (i == count / 10) {
            before = allocated();
            descriptors = openDescriptors();
        }
        round(i);
    }
    EXPECT_GT(before + 16384, allocated()) << "after " << count << " rounds";
    EXPECT_EQ(descriptors, openDescriptors());
}

using Soak = ProfileFixture;

TEST_F(Soak, DocumentsUseNoMemory)
{
    xmlSetGenericErrorFunc(nullptr, ignoreReport);
    smallDisplay().write(".");
    KestrixDispEngine engine;
    const std::string documents[] = {
        "<any><clear/><text x=\"1\" y=\"2\">abc\xC3\xA4\xD0\xB6 a\xCC\x88\xC2\xA5</text></any>",
        "<!DOCTYPE any [<!ENTITY e 'x'><!ATTLIST text x CDATA '1'>]><any><text "
        "lang=\"ja\">&e;b</text>",
        "<any><marquee uwait=\"1\" rwait=\"1\">" + std::string(70000, 'a') + "</marquee></any>",
        "<any><text>\xC3</text><clear/>&undefined;<clear/></any>",
        "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><text>\xE4</text>",
        "<window number=\"1\" x=\"1\"/>",
    };
    const std::string first = engine.parse(documents[0], "DEVICE", noSetting);
    ASSERT_FALSE(first.empty());
    expectConstantMemory(200000, [&](int i) {
        const std::string bytes = engine.parse(
            documents[static_cast<std::size_t>(i) % std::size(documents)], "DEVICE", noSetting);
        if (i % 6 == 0) {
            EXPECT_TRUE(sameBytes(first, bytes));
        }
        engine.parse("<text>A</text>", "DEVICE", noSetting);  // table 0 is the current one again
    });
}

TEST_F(Soak, OpensAndClosesLeaveNothing)
{
    smallDisplay().write(".");
    expectConstantMemory(5000, [&](int i) {
        const ConverterHandle handle(i % 2 == 0 ? "DEVICE" : "MISSING");
        ASSERT_EQ(i % 2 == 0, handle > 0);
        std::string text = "a\xC3\xA4";
        EXPECT_EQ(i % 2 == 0 ? RUVO_OK : RUVO_INVALID_HANDLE, handle.setData(text));
    });
}

}  // namespace

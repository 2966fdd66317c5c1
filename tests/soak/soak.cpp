// Many rounds in one process: none of them may lose memory or a file descriptor.
//
// KESTRIX_SOAK=full runs all rounds; otherwise a fiftieth of them.

#include "../unit/Bytes.h"
#include "../unit/ProfileFixture.h"
#include "engine/KestrixDispEngine.h"

#include <cstdlib>
#include <iterator>
#include <string>

#include <malloc.h>

#include <libxml/xmlerror.h>

namespace {

// Bytes that are allocated and not freed; 0 under sanitizers, which find leaks themselves.
std::size_t allocated()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void ignoreReport(void*, const char*, ...) {}

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
    const char* const value = std::getenv("KESTRIX_SOAK");
    const int rounds = value != nullptr && std::string(value) == "full" ? 200000 : 4000;
    std::size_t before = 0;
    std::ptrdiff_t files = 0;
    for (int i = 0; i < rounds; ++i) {
        if (i == rounds / 10) {  // by now everything that is made only once exists
            before = allocated();
            files = openFiles();
        }
        const std::string bytes = engine.parse(
            documents[static_cast<std::size_t>(i) % std::size(documents)], "DEVICE", noSetting);
        if (i % 6 == 0) {
            EXPECT_TRUE(sameBytes(first, bytes));
        }
        engine.parse("<text>A</text>", "DEVICE", noSetting);  // makes table 0 the current one again
    }
    EXPECT_GT(before + 16384, allocated()) << "the C library keeps some for its threads";
    EXPECT_EQ(files, openFiles());
}

}  // namespace

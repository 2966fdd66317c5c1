// Long life in one process: memory, descriptors, handles, and time that grows with the input only.
//
// KESTRIX_SOAK=full runs all rounds; otherwise a fiftieth of them.

#include "../unit/Bytes.h"
#include "../unit/ConverterHandle.h"
#include "../unit/ProfileFixture.h"
#include "converter/RuvoConverter.h"
#include "engine/KestrixDispEngine.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <malloc.h>

#include <libxml/xmlerror.h>

namespace {

namespace fs = std::filesystem;

bool isFull()
{
    const char* const value = std::getenv("KESTRIX_SOAK");
    return value != nullptr && std::string(value) == "full";
}

int rounds(int full)
{
    return isFull() ? full : full / 50;
}

// Bytes that are allocated and not freed, give or take what the C library keeps for its threads.
// Under sanitizers there are none: they find leaks themselves.
std::size_t allocated()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

constexpr std::size_t keptByTheCLibrary = 16384;

std::ptrdiff_t openDescriptors()
{
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

void ignoreReport(void*, const char*, ...) {}

class Soak : public ProfileFixture {
protected:
    void SetUp() override
    {
        xmlSetGenericErrorFunc(nullptr, ignoreReport);
        profile_.set("MaximumHandle", "254");  // the first open of the process decides
        profile_.write(".");
    }

    // Runs the first tenth of the rounds to warm up; memory may not grow in the others.
    static void expectConstantMemory(int count, const std::function<void(int)>& round)
    {
        for (int i = 0; i < count / 10; ++i)
            round(i);
        const std::size_t before = allocated();
        const std::ptrdiff_t descriptors = openDescriptors();
        for (int i = count / 10; i < count; ++i)
            round(i);
        EXPECT_GT(before + keptByTheCLibrary, allocated()) << "after " << count << " rounds";
        EXPECT_EQ(descriptors, openDescriptors());
    }

    Profile profile_ = smallDisplay();
};

TEST_F(Soak, DocumentsUseNoMemory)
{
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
    expectConstantMemory(rounds(200000), [&](int i) {
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
    expectConstantMemory(rounds(5000), [&](int) {
        ConverterHandle handle;
        ASSERT_GT(handle, 0);
        std::string text = "a\xC3\xA4";
        EXPECT_EQ(RUVO_OK, handle.setData(text));
        EXPECT_TRUE(sameBytes(fromHex("1B 74 00 61 1B 74 02 84"), handle.output()));
    });
}

TEST_F(Soak, FailedOpensLeaveNothing)
{
    const char* const files[] = {"HalvoSet.txt", "DEVICE", "latin.txt", "national.txt",
                                 "UnicodeData.txt"};
    for (const char* const file : files) {
        SCOPED_TRACE(file);
        fs::rename(file, "away");
        for (const bool empty : {false, true}) {
            if (empty && std::string(file) == "UnicodeData.txt")
                continue;  // a database without characters is one
            if (empty)
                std::ofstream(file) << "no such line\n";
            expectConstantMemory(rounds(1200), [&](int) { EXPECT_LT(ConverterHandle(), -50); });
        }
        fs::rename("away", file);
    }
    EXPECT_GT(ConverterHandle(), 0);
}

// Each handle's profile has a table parameter and a byte for "a" of its own.
TEST_F(Soak, EveryHandleKeepsToItsProfile)
{
    constexpr int count = 254;
    std::vector<std::unique_ptr<ConverterHandle>> handles;
    for (int i = 0; i < count; ++i) {
        Profile profile = profile_;
        profile.tables[0].commandParam = 255 - i;
        profile.tables[1].commandParam = 254 - i;
        profile.tables[0].lines = {Profile::mapping(i, U'a')};
        profile.set("MissingCharacterCode", std::to_string(32 + i % 224));
        profile.set("OutputBufferBlockSize", i % 2 == 0 ? "5" : "1000000000");
        profile.set("OutputBufferBlockMax", i % 2 == 0 ? "2" : "255");
        profile.write(".");
        handles.push_back(std::make_unique<ConverterHandle>());
        ASSERT_GT(*handles.back(), 0) << i;
    }
    EXPECT_EQ(RUVO_NO_FREE_HANDLE, ConverterHandle());
    const std::string long11(11, 'a');
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < count; ++i) {  // all are fed before any is read
            std::string text = "a\xC3\xA4\xE2\x82\xAC";
            EXPECT_EQ(RUVO_OK, handles[static_cast<std::size_t>(i)]->setData(text));
        }
        for (int i = 0; i < count; ++i) {
            const ConverterHandle& handle = *handles[static_cast<std::size_t>(i)];
            const auto byte = [](int value) { return static_cast<char>(value); };
            const std::string expected = {0x1B,          't',        byte(255 - i),
                                          byte(i),       0x1B,       't',
                                          byte(254 - i), byte(0x84), byte(32 + i % 224)};
            EXPECT_TRUE(sameBytes(expected, handle.output())) << "handle " << short{handle};
            std::string text = long11;  // one more than two blocks of 5 hold
            EXPECT_EQ(i % 2 == 0 ? RUVO_OUTPUT_FULL : RUVO_OK, handle.setData(text));
            EXPECT_EQ(3u + (i % 2 == 0 ? 10 : 11), handle.output().size());
        }
    }
}

// ---- Time ----

// Of the processor: other programs do not count.
double seconds(const std::function<void()>& work)
{
    std::clock_t least = std::numeric_limits<std::clock_t>::max();
    for (int i = 0; i < 3; ++i) {
        const std::clock_t start = std::clock();
        work();
        least = std::min(least, std::clock() - start);
    }
    return static_cast<double>(least) / CLOCKS_PER_SEC;
}

// Eight times the input may take up to 40 times the time, as caches overflow and other programs
// take their share; a quadratic algorithm takes 64 times as much.
void expectLinear(const std::string& name, const std::function<double(std::size_t)>& secondsFor,
                  std::size_t size)
{
    const double less = secondsFor(size);
    const double more = secondsFor(8 * size);
    std::cout << name << ": " << size << " in " << less << " s, eight times as much in " << more
              << " s\n";
    EXPECT_GT(40 * std::max(less, 0.005), more) << name;
}

std::string repeated(const std::string& text, std::size_t size)
{
    std::string result;
    while (result.size() < size)
        result += text;
    return result;
}

std::string numbered(const std::string& front, const std::string& back, std::size_t size)
{
    std::string result;
    for (int i = 0; result.size() < size; ++i)
        result += front + std::to_string(i) + back;
    return result;
}

TEST_F(Soak, DocumentsTakeTimeInProportionToTheirLength)
{
    struct Row {
        const char* name;
        std::function<std::string(std::size_t)> document;
    };
    const Row rows[] = {
        {"text", [](std::size_t n) { return "<text>" + std::string(n, 'a') + "</text>"; }},
        {"marks", [](std::size_t n) { return "<text>a" + repeated("\xCC\x88", n) + "</text>"; }},
        {"switches",
         [](std::size_t n) { return "<text>" + repeated("a\xC3\xA4\xC2\xA5", n) + "</text>"; }},
        {"sections",
         [](std::size_t n) { return "<text>" + repeated("<![CDATA[a]]>", n) + "</text>"; }},
        {"references",
         [](std::size_t n) {
             return "<!DOCTYPE a [<!ENTITY e 'x'>]><text>" + repeated("&e;", n) + "</text>";
         }},
        {"elements", [](std::size_t n) { return "<a>" + repeated("<clear/>", n) + "</a>"; }},
        {"texts", [](std::size_t n) { return "<a>" + repeated("<text>a</text>", n) + "</a>"; }},
        {"names", [](std::size_t n) { return "<a>" + numbered("<a", "/>", n) + "</a>"; }},
        {"attributes", [](std::size_t n) { return "<a><b" + numbered(" a", "=''", n) + "/></a>"; }},
        {"tags of many attributes",
         [](std::size_t n) {
             return "<a>" + repeated("<b" + numbered(" a", "=''", 15000) + "/>", n) + "</a>";
         }},
        {"declared attributes",
         [](std::size_t n) {
             return "<!DOCTYPE a [<!ATTLIST b" + numbered(" a", " CDATA ''", 700) + ">]><a>" +
                    repeated("<b/>", n) + "</a>";
         }},
        {"namespaces",
         [](std::size_t n) { return "<a><b" + numbered(" xmlns:a", "='u'", n) + "/></a>"; }},
        {"entities",
         [](std::size_t n) {
             return "<!DOCTYPE a [" + numbered("<!ENTITY e", " 'x'>", n) + "]><a/>";
         }},
        {"comment", [](std::size_t n) { return "<a><!--" + repeated("- ", n) + "--></a>"; }},
        {"instruction", [](std::size_t n) { return "<a><?p " + std::string(n, '?') + "?></a>"; }},
        {"one section",
         [](std::size_t n) { return "<text><![CDATA[" + std::string(n, ']') + "]]></text>"; }},
        {"depth", [](std::size_t n) { return "<a>" + repeated("<b>", n) + "</a>"; }},
        {"Latin 1",
         [](std::size_t n) {
             return "<?xml version='1.0' encoding='ISO-8859-1'?><text>" + std::string(n, '\xE4') +
                    "</text>";
         }},
        {"Latin 1 attribute",
         [](std::size_t n) {
             return "<?xml version='1.0' encoding='ISO-8859-1'?><a b='" + std::string(n, '\xE4') +
                    "'/>";
         }},
    };
    KestrixDispEngine engine;
    const std::size_t size = isFull() ? 1000000 : 100000;
    for (const Row& row : rows) {
        expectLinear(
            row.name,
            [&](std::size_t n) {
                const std::string document = row.document(n);
                return seconds([&] { engine.parse(document, "DEVICE", noSetting); });
            },
            size);
    }
}

TEST_F(Soak, FilesTakeTimeInProportionToTheirLength)
{
    const auto opening = [](const std::string& file,
                            const std::function<std::string(std::size_t)>& text) {
        return [=](std::size_t n) {
            std::ofstream(file, std::ios::binary) << text(n);
            return seconds([] { const ConverterHandle handle; });
        };
    };
    const std::size_t size = isFull() ? 4000000 : 200000;
    profile_.set("DecompositionClassNumber", "1114112");
    profile_.set("DecompositionMappingSize", "20");
    profile_.write(".");
    const std::string database = "UnicodeData.txt";
    expectLinear("database",
                 opening(database,
                         [](std::size_t n) {
                             std::string text;  // of a million lines when the test is full, the
                                                // larger size counted
                             for (int i = 0; text.size() < n; ++i) {
                                 char line[40];
                                 std::snprintf(line, sizeof line, "%06X;NAME;Lo;0;L;0061 0308;;\n",
                                               i % 0x110000);
                                 text += line;
                             }
                             return text;
                         }),
                 size);
    expectLinear(
        "database of one code point",
        opening(database, [](std::size_t n) { return repeated("0061;a;Mn;230;L;0061;;\n", n); }),
        size);
    expectLinear("database of long lines",
                 opening(database, [](std::size_t n) { return std::string(n, ';'); }), size);
    expectLinear("database of NULs",
                 opening(database, [](std::size_t n) { return std::string(n, '\0'); }), size);
    profile_.write(".");
    for (const char* const file : {"HalvoSet.txt", "DEVICE", "latin.txt"}) {
        for (const char filler : {'\n', 'x', '\0'}) {
            expectLinear(std::string(file) + " of " + std::to_string(int{filler}),
                         opening(file, [=](std::size_t n) { return std::string(n, filler); }),
                         size);
        }
        profile_.write(".");
    }
}

}  // namespace

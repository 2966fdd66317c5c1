// The converter's rules, by rows of real bytes and by laws that hold for any text.

#include "AllocationFailure.h"
#include "Bytes.h"
#include "CaseFile.h"
#include "ConverterHandle.h"
#include "ProfileFixture.h"
#include "converter/RuvoConverter.h"

#include <algorithm>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

// ---- Rows ----

using Conversion = ProfileFixture;

TEST_F(Conversion, Rows)
{
    for (const Case& row : readCases("conversion.txt")) {
        Profile profile;
        std::vector<CaseLine> calls;
        for (const CaseLine& line : row.lines) {
            if (!profile.define(line.keyword, line.value)) {
                calls.push_back(line);
            }
        }
        if (profile.sets.empty()) {
            profile.define("set", "1");
        }
        profile.write(".");
        const ConverterHandle handle;
        ASSERT_GT(handle, 0) << row.name;
        std::string text;
        for (const CaseLine& line : calls) {
            SCOPED_TRACE("conversion.txt:" + std::to_string(line.number) + ": " + row.name);
            std::istringstream words(line.value);
            std::string bytes;
            short status = 0;
            long number = 0;
            if (line.keyword == "data") {
                std::getline(words >> status, bytes, '=');
                text = fromHex(bytes);
                EXPECT_EQ(status, handle.setData(text));
                if (std::getline(words, bytes)) {
                    EXPECT_TRUE(sameBytes(fromHex(bytes), handle.output()));
                }
            } else if (line.keyword == "buffer") {
                EXPECT_TRUE(sameBytes(fromHex(line.value), text));
            } else if (line.keyword == "raw") {
                const RawStreams raw = handle.raw();
                for (const std::string* stream : {&raw.characters, &raw.tables, &raw.sets}) {
                    std::getline(words, bytes, '|');
                    EXPECT_TRUE(sameBytes(fromHex(bytes), *stream));
                }
            } else if (line.keyword == "encode") {
                for (words >> status; words >> number;) {
                    EXPECT_EQ(status, RuvoSetEncodeType(handle, static_cast<short>(number)));
                }
            } else if (line.keyword == "target") {
                for (words >> status; words >> number;) {
                    EXPECT_EQ(status, RuvoSetTargetCodePage(handle, number));
                }
            } else {
                ADD_FAILURE() << "unknown keyword " << line.keyword;
            }
        }
    }
}

// ---- Laws ----

std::u32string randomText(std::mt19937& random)
{
    // Plain runs of all lengths, and what interrupts them.
    static const std::u32string rare =
        U"$@`~\x1F\x7F\u00A5\u00E1\u00E9\u0301\u0301\u0323\u0300\u20AC\u3041"
        U"\u3042\u3043\U00010400\U00010401ae\n";
    std::u32string text;
    const std::size_t length = random() % 400;
    while (text.size() < length) {
        if (random() % 3 != 0) {
            text.append(random() % 90, static_cast<char32_t>('A' + random() % 26));
        }
        for (std::size_t i = random() % 6; i > 0; --i) {
            text.push_back(rare[random() % rare.size()]);
        }
    }
    return text;
}

// A text must give the same bytes in UTF-8 and in UTF-16, for which there is no fast path; in two
// calls and in one, if the second does not begin with a mark; and with the tables in another order.
// The raw streams must merge to the output.
TEST_F(Conversion, LawsForRandomTexts)
{
    for (const int blockSize : {5, 7, 64, 4096}) {
        Profile profile = mixedDisplay(blockSize);
        profile.write(".");
        const ConverterHandle first;
        std::ranges::reverse(profile.tables);
        profile.write(".");
        const ConverterHandle second;
        ASSERT_GT(first, 0);
        ASSERT_GT(second, 0);
        std::mt19937 random(static_cast<unsigned>(blockSize));
        for (int round = 0; round < 400; ++round) {
            SCOPED_TRACE("block size " + std::to_string(blockSize) + ", text " +
                         std::to_string(round));
            const std::u32string text = randomText(random) + U'A';
            const std::size_t half = text.find_first_not_of(U"\u0300\u0301\u0323", text.size() / 2);
            const short encodeType =
                round % 2 == 0 ? RUVO_UTF16_BIG_ENDIAN : RUVO_UTF16_LITTLE_ENDIAN;
            ASSERT_EQ(RUVO_OK, RuvoSetEncodeType(second, encodeType));
            for (const short handle : {short{first}, short{second}}) {
                ASSERT_EQ(RUVO_OK, RuvoSetTargetCodePage(handle, round % 3 == 0 ? 850 : -1));
            }

            std::string front = utf8(text.substr(0, half));
            std::string back = utf8(text.substr(half));
            short status = half > 0 ? first.setData(front) : short{RUVO_OK};
            if (status == RUVO_OK) {
                status = first.setData(back);
            }
            std::string whole = encodeType == RUVO_UTF16_BIG_ENDIAN ? utf16BigEndian(text)
                                                                    : utf16LittleEndian(text);
            ASSERT_EQ(status, second.setData(whole));
            ASSERT_TRUE(sameBytes(mergedSlowly(second.raw(), static_cast<std::size_t>(blockSize)),
                                  first.output()));
        }
    }
}

TEST_F(Conversion, InputAtTheLimits)
{
    Profile profile = smallDisplay();
    profile.set("OutputBufferBlockSize", "100000");
    profile.write(".");
    const ConverterHandle handle;
    ASSERT_GT(handle, 0);
    // The number of characters that come out after the table selection. Each text is U+0061 up to
    // its length; a lone byte at the end counts as a character, unless it is cut off.
    const struct {
        short encodeType;
        std::size_t length;
        short status;
        std::size_t characters;
    } rows[] = {
        {RUVO_UTF8, 0x800000, RUVO_OK, 0x800000},
        {RUVO_UTF8, 0x800001, RUVO_INPUT_TOO_LONG, 0x800000},
        {RUVO_UTF16_BIG_ENDIAN, 0x400000, RUVO_OK, 0x200000},
        {RUVO_UTF16_BIG_ENDIAN, 0x3FFFFF, RUVO_ODD_LENGTH, 0x200000},
        {RUVO_UTF16_BIG_ENDIAN, 0x400001, RUVO_ODD_LENGTH, 0x200000},
        {RUVO_UTF16_BIG_ENDIAN, 0x400002, RUVO_INPUT_TOO_LONG, 0x200000},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.length);
        ASSERT_EQ(RUVO_OK, RuvoSetEncodeType(handle, row.encodeType));
        std::string text(row.length, 'a');
        if (row.encodeType != RUVO_UTF8) {
            for (std::size_t i = 0; i < text.size(); i += 2) {
                text[i] = 0;
            }
        }
        EXPECT_EQ(row.status, handle.setData(text));
        EXPECT_EQ(3 + row.characters, handle.output().size());
    }
}

TEST_F(Conversion, ATextWithoutMemoryLeavesTheHandleUsable)
{
    mixedDisplay(4096).write(".");
    // Characters of every table and set, with more switches than memory is kept for; then a million
    // marks.
    std::u32string text;
    for (int i = 0; i < 20000; ++i) {
        text += U"a\u0301 A\u3041\u00A5";
    }
    for (int i = 0; i < 400000; ++i) {
        text += U"\u0301\u0323";
    }
    int failures = 0;
    const ConverterHandle warmUp;  // the first open of a process makes an array that stays
    for (bool failed = true; failed; ++failures) {
        SCOPED_TRACE("allocation " + std::to_string(failures));
        const long allocations = liveAllocations();
        {
            const ConverterHandle handle;
            std::string small = "A";
            EXPECT_EQ(RUVO_OK, handle.setData(small));
            handle.output();
            const std::size_t before = liveBytes();
            short status;
            {
                std::string data = utf8(text);
                const AllocationFailure failure(failures);
                status = handle.setData(data);
                failed = failure.happened();
            }
            EXPECT_EQ(failed ? RUVO_OUT_OF_MEMORY : RUVO_OK, status);
            for (int i = 0; i < 2; ++i) {
                EXPECT_EQ(RUVO_OK, handle.setData(small));
                EXPECT_EQ('A', handle.output().back());
            }
            EXPECT_GE(before + 200000, liveBytes()) << "kept of a long text";
            const AllocationFailure none(0);
            EXPECT_EQ(RUVO_OK, handle.setData(small)) << "small texts never allocate";
        }
        EXPECT_EQ(allocations, liveAllocations());
    }
    EXPECT_LT(5, failures);
}

// Each of a million characters would take as many steps as the database has decompositions.
TEST_F(Conversion, LongWaysAndCirclesInALargeDatabase)
{
    constexpr char32_t first = 0x10000;
    constexpr char32_t count = 20000;
    Profile profile = smallDisplay();
    profile.set("DecompositionClassNumber", "30000");
    profile.set("MissingCharacterCode", "95");
    profile.define("char", "1000 Lo 0 1001 | 1001 Lo 0 1000");
    for (char32_t i = 0; i < count; ++i) {
        std::ostringstream next;
        next << "<compat> 20 " << std::hex << first + (i + 1 < count ? i + 1 : 1000);
        profile.database.push_back(Profile::character(first + i, "Mn", "0", next.str()));
    }
    profile.write(".");
    const ConverterHandle handle;
    ASSERT_GT(handle, 0);
    std::u32string text;
    for (char32_t i = 0; i < 1000000; i += 4) {
        text += {0x1000, first + i % 19999, first + i / 4 % count, 'a'};
    }
    std::string bytes = utf8(text);
    EXPECT_EQ(RUVO_OK, handle.setData(bytes));
    const std::string output = handle.output();
    EXPECT_EQ(250000, std::ranges::count(output, 'a'));
    EXPECT_EQ(750000, std::ranges::count(output, '_'));
}

}  // namespace

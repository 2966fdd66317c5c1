// The converter's rules, by rows of real bytes and by laws that hold for any text.

#include "AllocationFailure.h"
#include "Bytes.h"
#include "CaseFile.h"
#include "ConverterHandle.h"
#include "ProfileFixture.h"
#include "converter/RuvoConverter.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

// ---- Rows ----

void addMappings(std::istringstream& words, Profile::Lines& lines, std::set<char32_t>& codePoints)
{
    std::string word;
    while (words >> word) {
        const auto codePoint = static_cast<char32_t>(std::stoul(word.substr(3), nullptr, 16));
        lines.push_back(Profile::mapping(std::stoi(word.substr(0, 2), nullptr, 16), codePoint));
        codePoints.insert(codePoint);
    }
}

Profile profileOf(const Case& row)
{
    Profile profile;
    profile.tables.clear();
    profile.sets.clear();
    std::set<char32_t> codePoints;
    std::map<char32_t, std::string> database;
    for (const CaseLine& line : row.lines) {
        std::istringstream words(line.value);
        if (line.keyword == "key") {
            std::string name;
            std::string value;
            words >> name >> value;
            profile.set(name, value);
        } else if (line.keyword == "table") {
            Profile::Table table{};
            words >> table.commandParam >> table.codePage;
            table.fileName = "table" + std::to_string(profile.tables.size()) + ".txt";
            addMappings(words, table.lines, codePoints);
            profile.tables.push_back(table);
        } else if (line.keyword == "set") {
            Profile::InternalSet set{};
            words >> set.commandParam;
            set.fileName = "set" + std::to_string(profile.sets.size()) + ".txt";
            addMappings(words, set.lines, codePoints);
            profile.sets.push_back(set);
        } else if (line.keyword == "char") {
            std::string codePoint;
            std::string category;
            int combiningClass = 0;
            std::string decomposition;
            words >> codePoint >> category >> combiningClass >> std::ws;
            std::getline(words, decomposition);
            const auto value = static_cast<char32_t>(std::stoul(codePoint, nullptr, 16));
            database[value] = Profile::character(value, category, combiningClass, decomposition);
        }
    }
    for (const char32_t codePoint : codePoints)
        database.try_emplace(codePoint, Profile::character(codePoint));
    if (profile.sets.empty())
        profile.sets.push_back({1, "empty.txt", {}});
    for (const auto& [codePoint, line] : database)
        profile.database.push_back(line);
    return profile;
}

using Conversion = ProfileFixture;

TEST_F(Conversion, Rows)
{
    const std::set<std::string> profileKeywords = {"key", "table", "set", "char"};
    for (const Case& row : readCases("conversion.txt")) {
        profileOf(row).write(".");
        const ConverterHandle handle;
        ASSERT_GT(handle, 0) << row.name;
        std::string text;
        for (const CaseLine& line : row.lines) {
            SCOPED_TRACE("conversion.txt:" + std::to_string(line.number) + ": " + row.name);
            std::istringstream words(line.value);
            std::string rest;
            const auto restBytes = [&] {
                std::getline(words, rest);
                return fromHex(rest);
            };
            short status = 0;
            long number = 0;
            if (line.keyword == "data") {
                words >> status;
                text = restBytes();
                EXPECT_EQ(status, handle.setData(text));
            } else if (line.keyword == "buffer") {
                EXPECT_TRUE(sameBytes(restBytes(), text));
            } else if (line.keyword == "output") {
                EXPECT_TRUE(sameBytes(restBytes(), handle.output()));
            } else if (line.keyword == "raw") {
                const RawStreams raw = handle.raw();
                for (const std::string* stream : {&raw.characters, &raw.tables, &raw.sets}) {
                    std::getline(words, rest, '|');
                    EXPECT_TRUE(sameBytes(fromHex(rest), *stream));
                }
            } else if (line.keyword == "encode") {
                words >> status >> number;
                EXPECT_EQ(status, RuvoSetEncodeType(handle, static_cast<short>(number)));
            } else if (line.keyword == "target") {
                words >> status >> number;
                EXPECT_EQ(status, RuvoSetTargetCodePage(handle, number));
            } else if (!profileKeywords.contains(line.keyword)) {
                ADD_FAILURE() << "unknown keyword " << line.keyword;
            }
        }
    }
}

// ---- Laws ----

std::u32string randomText(std::mt19937& random)
{
    // Plain runs of all lengths, and what interrupts them.
    static const std::u32string rare = U"$@~\u00A5\u00E1\u00E9\u0301\u0301\u0323\u0300\u20AC\u3041"
                                       U"\u3042\u3043\U00010400\U00010401ae\n";
    std::u32string text;
    const std::size_t length = random() % 400;
    while (text.size() < length) {
        if (random() % 3 != 0)
            text.append(random() % 90, static_cast<char32_t>('A' + random() % 26));
        for (std::size_t i = random() % 6; i > 0; --i)
            text.push_back(rare[random() % rare.size()]);
    }
    return text;
}

TEST_F(Conversion, LawsForRandomTexts)
{
    for (const int blockSize : {5, 7, 64, 4096}) {
        mixedDisplay(blockSize).write(".");
        const ConverterHandle first;
        const ConverterHandle second;
        ASSERT_GT(first, 0);
        ASSERT_GT(second, 0);
        std::mt19937 random(static_cast<unsigned>(blockSize));
        for (int round = 0; round < 400; ++round) {
            SCOPED_TRACE("block size " + std::to_string(blockSize) + ", text " +
                         std::to_string(round));
            const long target = round % 3 == 0 ? 850 : -1;
            std::u32string text = randomText(random);
            text.push_back(U'A');
            std::string forms[] = {utf8(text), utf16BigEndian(text), utf16LittleEndian(text)};
            for (const short handle : {short{first}, short{second}}) {
                ASSERT_EQ(RUVO_OK, RuvoSetTargetCodePage(handle, target));
                ASSERT_EQ(RUVO_OK, RuvoSetEncodeType(handle, RUVO_UTF8));
            }
            const short status = first.setData(forms[0]);
            ASSERT_TRUE(status == RUVO_OK || status == RUVO_OUTPUT_FULL);

            // The same text, in an encoding that knows no shortcut, on a handle in the same state.
            const short encodeType =
                round % 2 == 0 ? RUVO_UTF16_BIG_ENDIAN : RUVO_UTF16_LITTLE_ENDIAN;
            ASSERT_EQ(RUVO_OK, RuvoSetEncodeType(second, encodeType));
            ASSERT_EQ(status, second.setData(forms[encodeType]));
            const std::string output = first.output();
            ASSERT_TRUE(
                sameBytes(mergedSlowly(second.raw(), static_cast<std::size_t>(blockSize)), output));
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
    // The characters that come out, the table selection in front of them not counted. Each text is
    // U+0061 up to its length; an odd byte at the end is a character of its own unless it is cut.
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
            for (std::size_t i = 0; i < text.size(); i += 2)
                text[i] = 0;
        }
        EXPECT_EQ(row.status, handle.setData(text));
        EXPECT_EQ(3 + row.characters, handle.output().size());
    }
}

TEST_F(Conversion, AMillionMarksOnOneBase)
{
    mixedDisplay(4096).write(".");
    const ConverterHandle handle;
    ASSERT_GT(handle, 0);
    std::u32string text = U"a";
    for (int i = 0; i < 1000000; ++i)
        text += i % 2 == 0 ? U'\u0301' : U'\u0323';
    const std::string bytes = utf8(text);
    const std::size_t before = liveBytes();
    bool complete = false;
    for (long allocations = 0; !complete; ++allocations) {
        {
            std::string data = bytes;
            const AllocationFailure failure(allocations);
            const short status = handle.setData(data);
            complete = !failure.happened();
            EXPECT_EQ(complete ? RUVO_OK : RUVO_OUT_OF_MEMORY, status);
        }
        std::string small = "a";  // gives an output that can be retrieved
        EXPECT_EQ(RUVO_OK, handle.setData(small));
        EXPECT_LT(complete ? text.size() : 0, handle.output().size());
        EXPECT_GE(before + 200000, liveBytes()) << "kept, failing after " << allocations;
    }
}

// Each of a million characters would take as many steps as the database has decompositions.
TEST_F(Conversion, LongWaysAndCirclesInALargeDatabase)
{
    constexpr char32_t first = 0x10000;
    constexpr char32_t end = first + 20000;
    Profile profile = smallDisplay();
    profile.set("DecompositionClassNumber", "30000");
    profile.set("MissingCharacterCode", "95");
    const auto add = [&](char32_t c, const char* category, const char* front, char32_t back) {
        char decomposition[32];
        std::snprintf(decomposition, sizeof decomposition, "%s%lX", front,
                      static_cast<unsigned long>(back));
        profile.database.push_back(Profile::character(c, category, 0, decomposition));
    };
    add(0x1000, "Lo", "", 0x1001);
    add(0x1001, "Lo", "", 0x1000);
    for (char32_t c = first; c < end; ++c)
        add(c, "Mn", "<compat> 20 ", c + 1 < end ? c + 1 : first + 1000);
    profile.write(".");
    const ConverterHandle handle;
    ASSERT_GT(handle, 0);
    std::u32string text;
    for (char32_t i = 0; i < 1000000; i += 4)
        text += {0x1000, first + i % 19999, first + i / 4 % 20000, 'a'};
    std::string bytes = utf8(text);
    EXPECT_EQ(RUVO_OK, handle.setData(bytes));
    const std::string output = handle.output();
    EXPECT_EQ(250000, std::ranges::count(output, 'a'));
    EXPECT_EQ(750000, std::ranges::count(output, '_'));
}

}  // namespace

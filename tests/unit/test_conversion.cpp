// The converter's rules, by rows of real bytes and by laws that hold for any text.

#include "Bytes.h"
#include "CaseFile.h"
#include "ProfileFixture.h"
#include "converter/RuvoConverter.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

const unsigned char* bytesOf(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

std::string textOf(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
}

class Handle {
public:
    Handle()
    {
        const std::string device = "DEVICE";
        const std::string id = "KESTRIX-TEST-NO-SUCH-ID";
        m_handle = RuvoOpenHandle(bytesOf(device), device.size(), bytesOf(id), id.size());
    }
    ~Handle() { RuvoCloseHandle(m_handle); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    operator short() const { return m_handle; }

    // Hands the text in and gives the status; the text is as the call leaves it.
    short setData(std::string& text) const
    {
        return RuvoSetData(m_handle, reinterpret_cast<unsigned char*>(text.data()), text.size());
    }

    std::string output() const
    {
        unsigned long length = 0;
        const short query = RuvoGetOutputData(m_handle, nullptr, &length);
        EXPECT_EQ(length == 0 ? RUVO_OK : RUVO_BUFFER_TOO_SMALL, query);
        Bytes bytes(length + 2, 0xEE);
        if (length > 0) {
            unsigned long tooShort = length - 1;
            EXPECT_EQ(RUVO_BUFFER_TOO_SMALL, RuvoGetOutputData(m_handle, bytes.data(), &tooShort));
            EXPECT_EQ(length, tooShort);
        }
        unsigned long room = length + 1;
        EXPECT_EQ(RUVO_OK, RuvoGetOutputData(m_handle, bytes.data(), &room));
        EXPECT_EQ(length, room) << "the announced length is the delivered one";
        EXPECT_EQ(0xEE, bytes[length]) << "written behind the announced length";
        bytes.resize(length);
        return textOf(bytes);
    }

    struct Raw {
        std::string characters;
        std::string tables;
        std::string sets;
    };

    Raw raw() const
    {
        unsigned long lengths[3] = {0, 0, 0};
        const short query = RuvoGetRawData(m_handle, nullptr, &lengths[0], nullptr, &lengths[1],
                                           nullptr, &lengths[2]);
        EXPECT_EQ(lengths[0] == 0 ? RUVO_OK : RUVO_BUFFER_TOO_SMALL, query);
        Bytes streams[3];
        for (int i = 0; i < 3; ++i)
            streams[i].resize(lengths[i]);
        EXPECT_EQ(RUVO_OK,
                  RuvoGetRawData(m_handle, streams[0].data(), &lengths[0], streams[1].data(),
                                 &lengths[1], streams[2].data(), &lengths[2]));
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(streams[i].size(), lengths[i]);
        return {textOf(streams[0]), textOf(streams[1]), textOf(streams[2])};
    }

private:
    short m_handle;
};

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
        const Handle handle;
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
                EXPECT_EQ("", handle.output()) << "buffered after a retrieval";
            } else if (line.keyword == "raw") {
                const Handle::Raw raw = handle.raw();
                for (const std::string* stream : {&raw.characters, &raw.tables, &raw.sets}) {
                    std::getline(words, rest, '|');
                    EXPECT_TRUE(sameBytes(fromHex(rest), *stream));
                }
                EXPECT_EQ("", handle.output()) << "buffered after a retrieval";
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

// Tables of many characters, alone and shared, sets, marks that compose and marks that do not.
Profile mixedDisplay(int blockSize)
{
    Profile profile;
    profile.set("OutputBufferBlockSize", std::to_string(blockSize));
    profile.set("DecompositionMappingSize", "3");
    Profile::Lines ascii;
    Profile::Lines shifted;
    Profile::Lines wide;
    for (int i = 0x20; i < 0x7F; ++i) {
        ascii.push_back(Profile::mapping(i, static_cast<char32_t>(i)));
        if (i != '$' && i != '@')
            shifted.push_back(Profile::mapping(i < 0x60 ? i : i + 0x20, static_cast<char32_t>(i)));
        wide.push_back(Profile::mapping(i + 0x80, static_cast<char32_t>(0x3000 + i)));
    }
    for (int i = 0; i < 32; ++i) {
        ascii.push_back(Profile::mapping(0xC0 + i, static_cast<char32_t>(0xE0 + i)));
        wide.push_back(Profile::mapping(0x20 + i, static_cast<char32_t>(0x10400 + i)));
    }
    profile.tables = {
        {437, 0, "a.txt", ascii}, {850, 4, "b.txt", shifted}, {932, 2, "c.txt", wide}};
    profile.sets = {{7, "s.txt", {Profile::mapping(0x5C, 0xA5), Profile::mapping(0x7E, '~')}}};
    for (char32_t i = 0x20; i < 0x110; ++i) {
        const bool composes = i == 0xE1 || i == 0xE9 || i == 0x101;
        const std::string decomposition = i == 0xE1    ? "0061 0301"
                                          : i == 0xE9  ? "0065 0301"
                                          : i == 0x101 ? "00E1 0323"
                                                       : "";
        profile.database.push_back(Profile::character(i, composes ? "Ll" : "Lo", 0, decomposition));
    }
    for (const char32_t mark : {0x300, 0x301, 0x323})
        profile.database.push_back(Profile::character(mark, "Mn", mark == 0x323 ? 220 : 230));
    for (char32_t i = 0x3000; i < 0x3100; ++i)
        profile.database.push_back(Profile::character(i));
    for (char32_t i = 0x10400; i < 0x10430; ++i)
        profile.database.push_back(Profile::character(i));
    return profile;
}

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

std::string utf8(const std::u32string& text)
{
    std::string bytes;
    for (const char32_t c : text) {
        const auto put = [&](char32_t value) { bytes.push_back(static_cast<char>(value)); };
        if (c < 0x80) {
            put(c);
        } else if (c < 0x800) {
            put(0xC0 | c >> 6);
            put(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            put(0xE0 | c >> 12);
            put(0x80 | (c >> 6 & 0x3F));
            put(0x80 | (c & 0x3F));
        } else {
            put(0xF0 | c >> 18);
            put(0x80 | (c >> 12 & 0x3F));
            put(0x80 | (c >> 6 & 0x3F));
            put(0x80 | (c & 0x3F));
        }
    }
    return bytes;
}

std::string utf16BigEndian(const std::u32string& text)
{
    std::string bytes;
    const auto put = [&](char32_t unit) {
        bytes.push_back(static_cast<char>(unit >> 8 & 0xFF));
        bytes.push_back(static_cast<char>(unit & 0xFF));
    };
    for (const char32_t c : text) {
        if (c < 0x10000) {
            put(c);
        } else {
            put(0xD800 + ((c - 0x10000) >> 10));
            put(0xDC00 + ((c - 0x10000) & 0x3FF));
        }
    }
    return bytes;
}

std::string utf16LittleEndian(const std::u32string& text)
{
    std::string bytes = utf16BigEndian(text);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        std::swap(bytes[i], bytes[i + 1]);
    return bytes;
}

struct Record {
    std::uint32_t position;
    char parameter;
};

// The records of a raw switch stream, the gaps behind full blocks left out.
std::vector<Record> recordsOf(const std::string& stream, std::size_t blockSize)
{
    std::vector<Record> records;
    for (std::size_t block = 0; block < stream.size(); block += blockSize) {
        const std::string_view bytes = std::string_view(stream).substr(block, blockSize);
        for (std::size_t i = 0; i + 5 <= bytes.size(); i += 5) {
            std::uint32_t position = 0;
            for (std::size_t k = 4; k > 0; --k)
                position = position << 8 | static_cast<unsigned char>(bytes[i + k - 1]);
            records.push_back({position, bytes[i + 4]});
        }
    }
    return records;
}

// The merge, one character at a time.
std::string mergedSlowly(const Handle::Raw& raw, std::size_t blockSize)
{
    std::string merged;
    std::vector<Record> tables = recordsOf(raw.tables, blockSize);
    std::vector<Record> sets = recordsOf(raw.sets, blockSize);
    const auto take = [&](std::vector<Record>& records, std::size_t position, char command) {
        if (!records.empty() && records.front().position == position) {
            merged += {0x1B, command, records.front().parameter};
            records.erase(records.begin());
        }
    };
    for (std::size_t k = 0; k < raw.characters.size(); ++k) {
        take(tables, k, 't');
        take(sets, k, 'R');
        merged.push_back(raw.characters[k]);
        take(sets, k + 1, 'R');
    }
    return merged;
}

TEST_F(Conversion, LawsForRandomTexts)
{
    for (const int blockSize : {5, 7, 64, 4096}) {
        mixedDisplay(blockSize).write(".");
        const Handle first;
        const Handle second;
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
    const Handle handle;
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

TEST_F(Conversion, TenThousandMarksOnOneBase)
{
    mixedDisplay(4096).write(".");
    const Handle handle;
    ASSERT_GT(handle, 0);
    std::u32string text = U"a";
    for (int i = 0; i < 10000; ++i)
        text += i % 2 == 0 ? U'\u0301' : U'\u0323';
    std::string bytes = utf8(text);
    EXPECT_EQ(RUVO_OK, handle.setData(bytes));
    EXPECT_EQ(3 + text.size(), handle.output().size());
}

}  // namespace

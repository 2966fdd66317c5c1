#include "ConverterHandle.h"

#include "Bytes.h"
#include "converter/RuvoConverter.h"

#include <utility>
#include <vector>

namespace {

const unsigned char* bytesOf(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

unsigned char* bytesOf(std::string& text)
{
    return reinterpret_cast<unsigned char*>(text.data());
}

// The switch commands of a raw stream, by the position of the character that they precede. Skips
// the gaps at the ends of full blocks.
std::vector<std::pair<std::size_t, std::string>> switchesOf(const std::string& stream,
                                                            std::size_t blockSize, char command)
{
    std::vector<std::pair<std::size_t, std::string>> switches;
    for (std::size_t i = 0; i < stream.size(); i += 5) {
        if (i % blockSize + 5 > blockSize) {
            i += blockSize - i % blockSize;
        }
        std::size_t position = 0;
        for (std::size_t k = 4; k > 0; --k) {
            position = position << 8 | static_cast<unsigned char>(stream[i + k - 1]);
        }
        switches.push_back({position, {0x1B, command, stream[i + 4]}});
    }
    return switches;
}

}  // namespace

ConverterHandle::ConverterHandle(const std::string& device, const std::string& id)
    : handle_(RuvoOpenHandle(bytesOf(device), device.size(), bytesOf(id), id.size()))
{
}

ConverterHandle::~ConverterHandle()
{
    RuvoCloseHandle(handle_);
}

short ConverterHandle::setData(std::string& text) const
{
    return RuvoSetData(handle_, bytesOf(text), text.size());
}

std::string ConverterHandle::output() const
{
    unsigned long length = 0;
    const short query = RuvoGetOutputData(handle_, nullptr, &length);
    EXPECT_EQ(length == 0 ? RUVO_OK : RUVO_BUFFER_TOO_SMALL, query);
    std::string bytes(length + 2, '\xEE');
    unsigned long room = length - 1;
    if (length > 0) {
        EXPECT_EQ(RUVO_BUFFER_TOO_SMALL, RuvoGetOutputData(handle_, bytesOf(bytes), &room));
        EXPECT_EQ(length, room);
    }
    room = length + 1;
    EXPECT_EQ(RUVO_OK, RuvoGetOutputData(handle_, bytesOf(bytes), &room));
    EXPECT_EQ(length, room) << "the announced length is the delivered one";
    EXPECT_EQ("\xEE\xEE", bytes.substr(length)) << "written beyond the announced length";
    expectEmpty();
    return bytes.substr(0, length);
}

RawStreams ConverterHandle::raw() const
{
    unsigned long lengths[3] = {0, 0, 0};
    const short query =
        RuvoGetRawData(handle_, nullptr, &lengths[0], nullptr, &lengths[1], nullptr, &lengths[2]);
    EXPECT_EQ(lengths[0] == 0 ? RUVO_OK : RUVO_BUFFER_TOO_SMALL, query);
    RawStreams raw = {std::string(lengths[0], '\0'), std::string(lengths[1], '\0'),
                      std::string(lengths[2], '\0')};
    EXPECT_EQ(RUVO_OK,
              RuvoGetRawData(handle_, bytesOf(raw.characters), &lengths[0], bytesOf(raw.tables),
                             &lengths[1], bytesOf(raw.sets), &lengths[2]));
    EXPECT_EQ(raw.characters.size(), lengths[0]);
    EXPECT_EQ(raw.tables.size(), lengths[1]);
    EXPECT_EQ(raw.sets.size(), lengths[2]);
    expectEmpty();
    return raw;
}

void ConverterHandle::expectEmpty() const
{
    unsigned long length = 0;
    EXPECT_EQ(RUVO_OK, RuvoGetOutputData(handle_, nullptr, &length));
    EXPECT_EQ(0u, length) << "buffered after a retrieval";
}

std::string mergedSlowly(const RawStreams& raw, std::size_t blockSize)
{
    std::string merged;
    const auto tables = switchesOf(raw.tables, blockSize, 't');
    const auto sets = switchesOf(raw.sets, blockSize, 'R');
    auto table = tables.begin();
    auto set = sets.begin();
    const auto take = [&](auto& next, const auto& list, std::size_t position) {
        if (next != list.end() && next->first == position) {
            merged += next++->second;
        }
    };
    for (std::size_t k = 0; k < raw.characters.size(); ++k) {
        take(table, tables, k);
        take(set, sets, k);
        merged.push_back(raw.characters[k]);
        take(set, sets, k + 1);
    }
    return merged;
}

std::string utf8(const std::u32string& text)
{
    std::string bytes;
    for (const char32_t c : text) {
        const int more = c < 0x80 ? 0 : c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
        static constexpr char32_t leads[] = {0x00, 0xC0, 0xE0, 0xF0};
        bytes.push_back(static_cast<char>(leads[more] | c >> 6 * more));
        for (int i = more - 1; i >= 0; --i) {
            bytes.push_back(static_cast<char>(0x80 | (c >> 6 * i & 0x3F)));
        }
    }
    return bytes;
}

std::string utf16BigEndian(const std::u32string& text)
{
    std::string bytes;
    const auto put = [&](char32_t unit) {
        bytes += {static_cast<char>(unit >> 8 & 0xFF), static_cast<char>(unit & 0xFF)};
    };
    for (const char32_t c : text) {
        if (c >= 0x10000) {
            put(0xD800 + ((c - 0x10000) >> 10));
        }
        put(c < 0x10000 ? c : 0xDC00 + (c & 0x3FF));
    }
    return bytes;
}

std::string utf16LittleEndian(const std::u32string& text)
{
    std::string bytes = utf16BigEndian(text);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        std::swap(bytes[i], bytes[i + 1]);
    }
    return bytes;
}

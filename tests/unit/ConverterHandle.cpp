#include "ConverterHandle.h"

#include "Bytes.h"
#include "ProfileFixture.h"
#include "converter/RuvoConverter.h"

#include <cstdint>
#include <string_view>
#include <utility>
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

}  // namespace

ConverterHandle::ConverterHandle()
{
    const std::string device = "DEVICE";
    const std::string id = "KESTRIX-TEST-NO-SUCH-ID";
    handle_ = RuvoOpenHandle(bytesOf(device), device.size(), bytesOf(id), id.size());
}

ConverterHandle::~ConverterHandle()
{
    RuvoCloseHandle(handle_);
}

short ConverterHandle::setData(std::string& text) const
{
    return RuvoSetData(handle_, reinterpret_cast<unsigned char*>(text.data()), text.size());
}

std::string ConverterHandle::output() const
{
    unsigned long length = 0;
    const short query = RuvoGetOutputData(handle_, nullptr, &length);
    EXPECT_EQ(length == 0 ? RUVO_OK : RUVO_BUFFER_TOO_SMALL, query);
    Bytes bytes(length + 2, 0xEE);
    if (length > 0) {
        unsigned long tooShort = length - 1;
        EXPECT_EQ(RUVO_BUFFER_TOO_SMALL, RuvoGetOutputData(handle_, bytes.data(), &tooShort));
        EXPECT_EQ(length, tooShort);
    }
    unsigned long room = length + 1;
    EXPECT_EQ(RUVO_OK, RuvoGetOutputData(handle_, bytes.data(), &room));
    EXPECT_EQ(length, room) << "the announced length is the delivered one";
    EXPECT_EQ(0xEE, bytes[length]) << "written behind the announced length";
    expectEmpty();
    bytes.resize(length);
    return textOf(bytes);
}

RawStreams ConverterHandle::raw() const
{
    unsigned long lengths[3] = {0, 0, 0};
    const short query =
        RuvoGetRawData(handle_, nullptr, &lengths[0], nullptr, &lengths[1], nullptr, &lengths[2]);
    EXPECT_EQ(lengths[0] == 0 ? RUVO_OK : RUVO_BUFFER_TOO_SMALL, query);
    Bytes streams[3];
    for (int i = 0; i < 3; ++i)
        streams[i].resize(lengths[i]);
    EXPECT_EQ(RUVO_OK, RuvoGetRawData(handle_, streams[0].data(), &lengths[0], streams[1].data(),
                                      &lengths[1], streams[2].data(), &lengths[2]));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(streams[i].size(), lengths[i]);
    expectEmpty();
    return {textOf(streams[0]), textOf(streams[1]), textOf(streams[2])};
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

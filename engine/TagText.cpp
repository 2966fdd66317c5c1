// The helpers of TagParser that read and change text.
#include "base/Ascii.h"
#include "engine/TagParser.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include <unicode/unistr.h>

namespace {

// The part of str that counts: at most len characters, up to a NUL.
char* endOfText(char* str, int len)
{
    return std::find(str, str + len, '\0');
}

constexpr bool isShiftJisLead(unsigned char byte)
{
    return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
}

constexpr bool isShiftJisTrail(unsigned char byte)
{
    return (byte >= 0x40 && byte <= 0x7E) || (byte >= 0x80 && byte <= 0xFC);
}

enum class Encoding { singleByte, shiftJis };

// The write position never passes the read position, so the result is built in place.
int replaceEscapes(unsigned char* buf, int len, Encoding encoding)
{
    if (buf == nullptr) {
        return 0;
    }
    if (len <= 1) {
        return len;
    }
    int in = 0;
    int out = 0;
    while (in < len) {
        const unsigned char byte = buf[in];
        const bool hasNext = in + 1 < len;
        if (byte == '\\') {
            unsigned char value = 0;
            if (hasNext && buf[in + 1] == '\\') {
                buf[out++] = byte;
                in += 2;
            } else if (len - in >= TagParser::ESCAPE_BLOCK_LEN && buf[in + 1] == 'x' &&
                       TagParser::stringToHex(&value, reinterpret_cast<const char*>(buf + in + 2),
                                              2) == 1) {
                buf[out++] = value;
                in += TagParser::ESCAPE_BLOCK_LEN;
            } else {
                ++in;
            }
        } else if (encoding == Encoding::shiftJis && isShiftJisLead(byte)) {
            if (hasNext && isShiftJisTrail(buf[in + 1])) {
                buf[out++] = byte;
                buf[out++] = buf[in + 1];
                in += 2;
            } else {
                ++in;
            }
        } else {
            buf[out++] = byte;
            ++in;
        }
    }
    return out;
}

}  // namespace

int TagParser::stringToHex(unsigned char* dst, const char* src, int len)
{
    if (dst == nullptr || src == nullptr) {
        return 0;
    }
    const int pairs = len / 2;
    int count = 0;
    for (; count < pairs; ++count) {
        const int high = hexDigitValue(src[2 * count]);
        const int low = hexDigitValue(src[2 * count + 1]);
        if (high < 0 || low < 0) {
            break;
        }
        dst[count] = static_cast<unsigned char>(high * 16 + low);
    }
    return count;
}

int TagParser::trimSpace(char* str, int len)
{
    if (str == nullptr || len <= 0) {
        return 0;
    }
    char* const end = endOfText(str, len);
    char* const first = std::find_if_not(str, end, isAsciiSpace);
    char* const last = std::find_if(first, end, isAsciiSpace);
    std::copy(first, last, str);
    return static_cast<int>(last - first);
}

int TagParser::removeSpace(char* str, int len)
{
    if (str == nullptr || len <= 0) {
        return 0;
    }
    return static_cast<int>(std::remove_if(str, endOfText(str, len), isAsciiSpace) - str);
}

void TagParser::littleEndianUShort(unsigned char* dst, unsigned short value)
{
    if (dst != nullptr) {
        dst[0] = static_cast<unsigned char>(value & 0xFF);
        dst[1] = static_cast<unsigned char>(value >> 8);
    }
}

void TagParser::littleEndianUInt(unsigned char* dst, unsigned int value)
{
    if (dst != nullptr) {
        for (int i = 0; i < 4; ++i) {
            dst[i] = static_cast<unsigned char>((value >> (8 * i)) & 0xFF);
        }
    }
}

int TagParser::escToHex(unsigned char* buf, int len)
{
    return replaceEscapes(buf, len, Encoding::singleByte);
}

int TagParser::escToHexSjis(unsigned char* buf, int len)
{
    return replaceEscapes(buf, len, Encoding::shiftJis);
}

int TagParser::utf8tosjis(char* str, unsigned int count)
{
    if (str == nullptr) {
        return 0;
    }
    // ICU counts in signed 32 bits.
    constexpr std::size_t limit = std::numeric_limits<std::int32_t>::max();
    const std::size_t taken = std::strlen(str) + 1;
    if (taken > limit) {
        return 0;
    }
    const std::size_t room = std::min(std::max<std::size_t>(count, taken), limit);
    const icu::UnicodeString text(str, "utf8");
    if (text.isBogus()) {  // out of memory
        return 0;
    }
    const std::int32_t length = text.extract(0, text.length(), nullptr, 0, "shift_jis");
    if (length < 0 || static_cast<std::size_t>(length) >= room) {
        return 0;
    }
    return text.extract(0, text.length(), str, static_cast<std::uint32_t>(room), "shift_jis");
}

#include "engine/TagParser.h"

#include "engine/KestrixDispEngine.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <limits>

#include <unicode/unistr.h>

std::map<const char*, unsigned char, compare> TagParser::styleMap;
std::map<const char*, unsigned char, compare> TagParser::colorMap;

namespace {

struct NamedCode {
    const char* name;
    unsigned char code;
};

constexpr NamedCode kStyles[] = {
    {"thin", 1},        {"medium", 2},        {"thick", 3},
    {"thin_double", 4}, {"medium_double", 5}, {"thick_double", 6},
};

constexpr NamedCode kColors[] = {
    {"none", 0x30}, {"color_1", 0x31}, {"color_2", 0x32}, {"color_3", 0x33}, {"color_4", 0x34},
};

// What a present attribute without a value reads as. Nothing writes to it: writers of text write
// inside its length, which is 0.
unsigned char emptyText[1] = {0};

// Classified here and not by isspace and tolower, so that the host's locale changes nothing.
constexpr bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr char lowerCase(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// 0..15, or -1 for a character that is no hexadecimal digit.
constexpr int digitValue(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char folded = lowerCase(c);
    return folded >= 'a' && folded <= 'f' ? folded - 'a' + 10 : -1;
}

bool equalsIgnoringCase(const char* text, const char* lowerCaseText)
{
    for (; *text != '\0' && lowerCase(*text) == *lowerCaseText; ++text, ++lowerCaseText) {
    }
    return *text == *lowerCaseText;
}

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

TagParser::TagParser()
{
    for (const NamedCode& style : kStyles) {
        styleMap[style.name] = style.code;
    }
    for (const NamedCode& color : kColors) {
        colorMap[color.name] = color.code;
    }
}

void TagParser::parse(const unsigned char*, AttributeMap& attributes, AttributeMap& state,
                      OutputVector& out)
{
    subParse(attributes, state, out);
}

bool TagParser::hasAttr(const char* name, const AttributeMap& attributes)
{
    return attributes.find(name) != attributes.end();
}

int TagParser::stringToHex(unsigned char* dst, const char* src, int len)
{
    if (dst == nullptr || src == nullptr) {
        return 0;
    }
    const int pairs = len / 2;
    int count = 0;
    for (; count < pairs; ++count) {
        const int high = digitValue(src[2 * count]);
        const int low = digitValue(src[2 * count + 1]);
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
    char* const first = std::find_if_not(str, end, isSpace);
    char* const last = std::find_if(first, end, isSpace);
    std::copy(first, last, str);
    return static_cast<int>(last - first);
}

int TagParser::removeSpace(char* str, int len)
{
    if (str == nullptr || len <= 0) {
        return 0;
    }
    return static_cast<int>(std::remove_if(str, endOfText(str, len), isSpace) - str);
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

void TagParser::storeLang(const unsigned char* lang, AttributeMap& state, OutputVector& out)
{
    const auto entry = state.find(ATTR_LANG);
    char* const current = entry == state.end() ? nullptr : reinterpret_cast<char*>(entry->second);
    const char* stored = lang == nullptr ? "" : reinterpret_cast<const char*>(lang);
    const bool japanese = isLangJP(stored);
    if (isLangJP(current) == japanese) {
        return;
    }

    const unsigned char characterSet = japanese ? 0x08 : 0x00;
    const unsigned char command[] = {ESC, 0x74, 0x00, ESC, 0x52, characterSet};
    out.insert(out.end(), std::begin(command), std::end(command));

    if (japanese) {
        stored = LANG_JA;
    }
    if (current != nullptr) {
        const std::size_t length = strnlen(stored, KestrixDispEngine::LANG_BUF_LEN - 1);
        std::memcpy(current, stored, length);
        current[length] = '\0';
    }
}

bool TagParser::isLangJP(const char* lang)
{
    return lang != nullptr &&
           (equalsIgnoringCase(lang, LANG_JA) || equalsIgnoringCase(lang, LANG_JA_JP));
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

void* TagParser::operator new(std::size_t size)
{
    return ::operator new(size);
}

void TagParser::operator delete(void* memory) noexcept
{
    ::operator delete(memory);
}

void TagParser::operator delete(TagParser* parser, std::destroying_delete_t) noexcept
{
    // Subclasses are trivially destructible, so giving the storage back ends their life; the cast
    // yields the start of the whole object, whatever its class.
    ::operator delete(dynamic_cast<void*>(parser));
}

unsigned char* TagParser::attributeValue(const char* name, const AttributeMap& attributes)
{
    const auto entry = attributes.find(name);
    if (entry == attributes.end()) {
        return nullptr;
    }
    return entry->second == nullptr ? emptyText : entry->second;
}

bool TagParser::isYes(const char* name, const AttributeMap& attributes)
{
    const unsigned char* const value = attributeValue(name, attributes);
    return value != nullptr && (equals(value, BOOL_TRUE) || equals(value, BOOL_1));
}

bool TagParser::equals(const unsigned char* value, const char* text)
{
    return std::strcmp(reinterpret_cast<const char*>(value), text) == 0;
}

std::int32_t TagParser::decimal(const unsigned char* value)
{
    using Limits = std::numeric_limits<std::int32_t>;
    const char* text = reinterpret_cast<const char*>(value);
    while (isSpace(*text)) {
        ++text;
    }
    const bool negative = *text == '-';
    if (negative || *text == '+') {
        ++text;
    }
    // Through an entity each of many values may have thousands of digits.
    text += std::strspn(text, "0");
    constexpr std::int64_t limit = -std::int64_t{Limits::min()};
    std::int64_t number = 0;
    for (; *text >= '0' && *text <= '9' && number < limit; ++text) {
        number = std::min(number * 10 + (*text - '0'), limit);
    }
    return static_cast<std::int32_t>(negative ? -number
                                              : std::min<std::int64_t>(number, Limits::max()));
}

unsigned char TagParser::lowByte(std::int32_t number)
{
    return static_cast<unsigned char>(static_cast<std::uint32_t>(number) & 0xFF);
}

unsigned short TagParser::lowShort(std::int32_t number)
{
    return static_cast<unsigned short>(static_cast<std::uint32_t>(number) & 0xFFFF);
}

void TagParser::storePosition(const unsigned char* x, const unsigned char* y, OutputVector& out)
{
    const unsigned char command[] = {US, 0x24, lowByte(decimal(x)), lowByte(decimal(y))};
    out.insert(out.end(), std::begin(command), std::end(command));
}

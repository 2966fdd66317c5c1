#include "engine/TagParser.h"

#include "base/Ascii.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>

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
    while (isAsciiSpace(*text)) {
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

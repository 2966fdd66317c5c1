#include "tags/DeviceControlTagParsers.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <limits>

namespace {

constexpr std::int32_t kBlinkUnit = 50;

struct Brightness {
    std::int32_t value;
    unsigned char code;
};

constexpr Brightness kBrightnesses[] = {{20, 0x01}, {40, 0x02}, {60, 0x03}, {100, 0x04}};

}  // namespace

void OVIXDisplayTagParser::subParse(AttributeMap&, AttributeMap&, OutputVector&) {}

void OVIXDisplayEndTagParser::subParse(AttributeMap&, AttributeMap&, OutputVector&) {}

void ResetTagParser::subParse(AttributeMap&, AttributeMap&, OutputVector& out)
{
    const unsigned char command[] = {ESC, 0x40};
    out.insert(out.end(), std::begin(command), std::end(command));
}

void ClearTagParser::subParse(AttributeMap&, AttributeMap&, OutputVector& out)
{
    out.push_back(CLR);
}

void ClockTagParser::subParse(AttributeMap&, AttributeMap&, OutputVector& out)
{
    const unsigned char command[] = {US, 0x55};
    out.insert(out.end(), std::begin(command), std::end(command));
}

void BlinkTagParser::subParse(AttributeMap& attributes, AttributeMap&, OutputVector& out)
{
    const unsigned char* const text = attributeValue(ATTR_INTERVAL, attributes);
    if (text == nullptr) {
        return;
    }
    // Truncated toward zero, then one more for any remainder: -75 gives 0, not -1 or -2.
    const std::int32_t interval = decimal(text);
    const std::int32_t steps = interval / kBlinkUnit + (interval % kBlinkUnit != 0 ? 1 : 0);
    const unsigned char command[] = {US, 0x45, lowByte(steps)};
    out.insert(out.end(), std::begin(command), std::end(command));
}

void BrightnessTagParser::subParse(AttributeMap& attributes, AttributeMap&, OutputVector& out)
{
    const unsigned char* const text = attributeValue(ATTR_VALUE, attributes);
    if (text == nullptr) {
        return;
    }
    const std::int32_t value = decimal(text);
    for (const Brightness& known : kBrightnesses) {
        if (known.value == value) {
            const unsigned char command[] = {US, 0x58, known.code};
            out.insert(out.end(), std::begin(command), std::end(command));
            return;
        }
    }
}

void CommandTagParser::subParse(AttributeMap& attributes, AttributeMap&, OutputVector& out)
{
    const unsigned char* const content = attributeValue(CONTENT, attributes);
    if (content == nullptr) {
        return;
    }
    const char* const begin = reinterpret_cast<const char*>(content);
    const std::size_t length =
        strnlen(begin, static_cast<std::size_t>(std::numeric_limits<int>::max()));
    std::vector<char> digits(begin, begin + length);
    const int count = trimSpace(digits.data(), static_cast<int>(length));

    const std::size_t start = out.size();
    out.resize(start + static_cast<std::size_t>(count) / 2);
    const int written = stringToHex(out.data() + start, digits.data(), count);
    out.resize(start + static_cast<std::size_t>(written));
}

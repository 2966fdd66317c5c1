#include "tags/WindowTagParser.h"

#include <iterator>

void WindowTagParser::subParse(AttributeMap& attributes, AttributeMap&, OutputVector& out)
{
    const unsigned char* const numberText = attributeValue(ATTR_NUMBER, attributes);
    const unsigned char number = numberText == nullptr ? 0 : lowByte(decimal(numberText));
    if (number == 0) {
        return;
    }

    const unsigned char* const x = attributeValue(ATTR_X, attributes);
    const unsigned char* const y = attributeValue(ATTR_Y, attributes);
    const unsigned char* const width = attributeValue(ATTR_WIDTH, attributes);
    const unsigned char* const height = attributeValue(ATTR_HEIGHT, attributes);
    const bool hasGeometry = x != nullptr && y != nullptr && width != nullptr && height != nullptr;

    if (isYes(ATTR_DESTROY, attributes)) {
        if (!hasGeometry) {
            const unsigned char command[] = {ESC, 0x57, number, 0x30};
            out.insert(out.end(), std::begin(command), std::end(command));
        }
    } else if (hasGeometry) {
        const unsigned char command[] = {SUB,
                                         0x57,
                                         number,
                                         lowByte(decimal(x)),
                                         lowByte(decimal(y)),
                                         lowByte(decimal(width)),
                                         lowByte(decimal(height)),
                                         scrollMode(attributes)};
        out.insert(out.end(), std::begin(command), std::end(command));
    } else {
        const unsigned char command[] = {SUB, 0x43, number};
        out.insert(out.end(), std::begin(command), std::end(command));
    }
}

unsigned char WindowTagParser::scrollMode(const AttributeMap& attributes)
{
    const unsigned char* const mode = attributeValue(ATTR_SCROLLMODE, attributes);
    if (mode != nullptr && equals(mode, V_SCROLL)) {
        return VAL_V_SCROLL;
    }
    if (mode != nullptr && equals(mode, H_SCROLL)) {
        return VAL_H_SCROLL;
    }
    return VAL_OVERWRITE;
}

#include "tags/CursorTagParser.h"

#include <iterator>

namespace {

struct Corner {
    const char* name;
    unsigned char code;
};

constexpr Corner kCorners[] = {
    {CursorTagParser::TOP_LEFT, 0x01},
    {CursorTagParser::TOP_RIGHT, 0x02},
    {CursorTagParser::BOTTOM_LEFT, 0x03},
    {CursorTagParser::BOTTOM_RIGHT, 0x04},
};

}  // namespace

void CursorTagParser::subParse(AttributeMap& attributes, AttributeMap&, OutputVector& out)
{
    const unsigned char* const x = attributeValue(ATTR_X, attributes);
    const unsigned char* const y = attributeValue(ATTR_Y, attributes);
    const unsigned char* const moveTo = attributeValue(ATTR_MOVETO, attributes);
    const bool hasPosition = x != nullptr && y != nullptr;
    if (hasPosition && moveTo == nullptr) {
        storeXY(x, y, out);
    } else if (!hasPosition && moveTo != nullptr) {
        storeMoveTo(moveTo, out);
    }
    if (const unsigned char* const type = attributeValue(ATTR_TYPE, attributes)) {
        storeType(type, out);
    }
}

void CursorTagParser::storeXY(const unsigned char* x, const unsigned char* y, OutputVector& out)
{
    storePosition(x, y, out);
}

void CursorTagParser::storeMoveTo(const unsigned char* corner, OutputVector& out)
{
    for (const Corner& known : kCorners) {
        if (equals(corner, known.name)) {
            const unsigned char command[] = {SUB, 0x6D, known.code};
            out.insert(out.end(), std::begin(command), std::end(command));
            return;
        }
    }
}

void CursorTagParser::storeType(const unsigned char* type, OutputVector& out)
{
    const unsigned char appearance = equals(type, UNDERLINE) ? 0x01 : 0x00;
    const unsigned char command[] = {US, 0x43, appearance};
    out.insert(out.end(), std::begin(command), std::end(command));
}

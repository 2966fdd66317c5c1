#include "CursorTagParser.h"

#include <iterator>

namespace {

struct Corner {
    const char* name;
    unsigned char code;
};

constexpr Corner corners[] = {
    {CursorTagParser::TOP_LEFT, 0x01},
    {CursorTagParser::TOP_RIGHT, 0x02},
    {CursorTagParser::BOTTOM_LEFT, 0x03},
    {CursorTagParser::BOTTOM_RIGHT, 0x04},
};

}  // namespace

void CursorTagParser::subParse(AttributeMap& attributes, AttributeMap&, OutputVector& out)
{
    const bool hasPosition = hasAttr(ATTR_X, attributes) && hasAttr(ATTR_Y, attributes);
    const bool hasMoveTo = hasAttr(ATTR_MOVETO, attributes);
    if (hasPosition && !hasMoveTo) {
        storeXY(attributeValue(ATTR_X, attributes), attributeValue(ATTR_Y, attributes), out);
    } else if (hasMoveTo && !hasPosition) {
        storeMoveTo(attributeValue(ATTR_MOVETO, attributes), out);
    }
    if (hasAttr(ATTR_TYPE, attributes)) {
        storeType(attributeValue(ATTR_TYPE, attributes), out);
    }
}

void CursorTagParser::storeXY(const unsigned char* x, const unsigned char* y, OutputVector& out)
{
    storePosition(x, y, out);
}

void CursorTagParser::storeMoveTo(const unsigned char* corner, OutputVector& out)
{
    for (const Corner& known : corners) {
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

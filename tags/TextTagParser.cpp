#include "TextTagParser.h"

#include "ConvertedText.h"

#include <iterator>

void TextTagParser::subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out)
{
    if (hasAttr(ATTR_LANG, attributes)) {
        storeLang(attributeValue(ATTR_LANG, attributes), state, out);
    }
    if (hasAttr(ATTR_X, attributes) && hasAttr(ATTR_Y, attributes)) {
        storeXY(attributeValue(ATTR_X, attributes), attributeValue(ATTR_Y, attributes), out);
    }
    storeReverse(attributes, out);
    if (hasAttr(CONTENT, attributes)) {
        storeText(attributeValue(CONTENT, attributes), out);
    }
}

void TextTagParser::storeXY(const unsigned char* x, const unsigned char* y, OutputVector& out)
{
    storePosition(x, y, out);
}

void TextTagParser::storeReverse(const AttributeMap& attributes, OutputVector& out)
{
    const unsigned char on = isYes(ATTR_REVERSE, attributes) ? 0x01 : 0x00;
    const unsigned char command[] = {US, 0x72, on};
    out.insert(out.end(), std::begin(command), std::end(command));
}

void TextTagParser::storeText(unsigned char* text, OutputVector& out)
{
    const OutputVector bytes = convertedText(text);
    out.insert(out.end(), bytes.begin(), bytes.end());
}

#include "tags/TextTagParser.h"

#include "tags/ConvertedText.h"

#include <iterator>

void TextTagParser::subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out)
{
    if (const unsigned char* const lang = attributeValue(ATTR_LANG, attributes)) {
        storeLang(lang, state, out);
    }
    const unsigned char* const x = attributeValue(ATTR_X, attributes);
    const unsigned char* const y = attributeValue(ATTR_Y, attributes);
    if (x != nullptr && y != nullptr) {
        storeXY(x, y, out);
    }
    storeReverse(attributes, out);
    if (unsigned char* const text = attributeValue(CONTENT, attributes)) {
        storeText(text, out);
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
    appendConvertedText(text, out);
}

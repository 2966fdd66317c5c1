#include "tags/MarqueeTagParser.h"

#include "tags/ConvertedText.h"

namespace {

constexpr std::size_t kLongestText = 0xFFFF;  // L has 16 bits

}  // namespace

void MarqueeTagParser::subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out)
{
    unsigned char* const content = attributeValue(CONTENT, attributes);
    const unsigned char* const uwait = attributeValue(ATTR_UWAIT, attributes);
    const unsigned char* const rwait = attributeValue(ATTR_RWAIT, attributes);
    if (content == nullptr || *content == '\0' || uwait == nullptr || rwait == nullptr) {
        return;
    }

    if (const unsigned char* const lang = attributeValue(ATTR_LANG, attributes)) {
        storeLang(lang, state, out);
    }

    const unsigned char* const format = attributeValue(ATTR_FORMAT, attributes);
    const unsigned char* const repeat = attributeValue(ATTR_REPEAT, attributes);
    OutputVector block(10);
    const std::size_t length = appendConvertedText(content, block);
    if (length == 0 || length > kLongestText) {
        return;
    }
    block[0] = SUB;
    block[1] = 0x4D;
    block[2] = format != nullptr && equals(format, PLACE) ? 0x02 : 0x01;
    littleEndianUShort(&block[3], lowShort(decimal(uwait)));
    littleEndianUShort(&block[5], lowShort(decimal(rwait)));
    block[7] = repeat == nullptr ? 0 : lowByte(decimal(repeat));
    littleEndianUShort(&block[8], static_cast<unsigned short>(length));
    out.insert(out.end(), block.begin(), block.end());
}

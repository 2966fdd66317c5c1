// <marquee>: makes a text run across the display.
//
//   content  the text to run; without it nothing is sent, no language switch either
//   uwait    first wait value, low 16 bits, required: without it nothing is sent
//   rwait    second wait value, the same
//   lang     language of the text; switches the display's character set   no switch
//   format   "place" gives format code 02, anything else 01               01
//   repeat   repeat count, low 8 bits                                     0
//
// Bytes: language switch, then one block
//
//   offset  0   1   2       3      5      7       8   10
//           1A  4D  format  uwait  rwait  repeat  L   L bytes of converted text
//
// where uwait, rwait and L take two bytes, low byte first. The block is sent whole or not at all:
// a text that the converter rejects, answers with nothing, or converts to more than 65535 bytes
// gives no block.
#ifndef KESTRIX_TAGS_MARQUEE_TAG_PARSER_H
#define KESTRIX_TAGS_MARQUEE_TAG_PARSER_H

#include "../engine/TagParser.h"

class KESTRIX_API MarqueeTagParser final : public TagParser {
public:
    static constexpr char ATTR_FORMAT[] = "format";
    static constexpr char ATTR_UWAIT[] = "uwait";
    static constexpr char ATTR_RWAIT[] = "rwait";
    static constexpr char ATTR_REPEAT[] = "repeat";
    static constexpr char PLACE[] = "place";

    void subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out) override;
};

#endif

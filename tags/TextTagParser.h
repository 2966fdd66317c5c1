// <text>: shows a text.
//
//   lang     language of the text; switches the display's character set   no switch
//   x, y     position of the text, low 8 bits each, both needed            no positioning
//   reverse  "true" or "1": reverse display; anything else: off            off
//   content  the characters to show, white space included                  nothing shown
//
// Bytes, in this order: language switch, 1F 24 x y, 1F 72 00 or 01 (always), converted text. A text
// that the converter rejects, with a warning or an error, shows nothing of it.
#ifndef KESTRIX_TAGS_TEXT_TAG_PARSER_H
#define KESTRIX_TAGS_TEXT_TAG_PARSER_H

#include "../engine/TagParser.h"

class KESTRIX_API TextTagParser final : public TagParser {
public:
    static constexpr char ATTR_REVERSE[] = "reverse";

    void subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out) override;

    // Values of "x" and "y" -> 1F 24 x y.
    static void storeXY(const unsigned char* x, const unsigned char* y, OutputVector& out);

    // 1F 72 and 01 or 00, as "reverse" says.
    static void storeReverse(const AttributeMap& attributes, OutputVector& out);

    // The converted bytes of text (NUL-terminated) on the current converter handle.
    static void storeText(unsigned char* text, OutputVector& out);
};

#endif

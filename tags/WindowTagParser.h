// <window>: defines, destroys or selects a window.
//
//   number         window number n, low 8 bits; 0 means no window         0
//   destroy        "true" or "1": destroy it                              no
//   x, y           position, low 8 bits each                              none
//   width, height  size, low 8 bits each                                  none
//   scrollmode     "v_scroll", "h_scroll"; anything else: overwrite       overwrite
//   reset          accepted, without effect
//
// Bytes, for n not 0 (for n 0: none):
//
//   destroy  all of x, y, width, height   bytes
//   yes      yes                          none
//   yes      no                           1B 57 n 30
//   no       yes                          1A 57 n x y width height mode
//   no       no                           1A 43 n
#ifndef KESTRIX_TAGS_WINDOW_TAG_PARSER_H
#define KESTRIX_TAGS_WINDOW_TAG_PARSER_H

#include "../engine/TagParser.h"

class KESTRIX_API WindowTagParser final : public TagParser {
public:
    static constexpr char ATTR_NUMBER[] = "number";
    static constexpr char ATTR_DESTROY[] = "destroy";
    static constexpr char ATTR_SCROLLMODE[] = "scrollmode";
    static constexpr char ATTR_RESET[] = "reset";

    static constexpr char OVERWRITE[] = "overwrite";
    static constexpr char V_SCROLL[] = "v_scroll";
    static constexpr char H_SCROLL[] = "h_scroll";

    static constexpr unsigned char VAL_OVERWRITE = 0x01;
    static constexpr unsigned char VAL_V_SCROLL = 0x02;
    static constexpr unsigned char VAL_H_SCROLL = 0x03;

    void subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out) override;

private:
    static unsigned char scrollMode(const AttributeMap& attributes);
};

#endif

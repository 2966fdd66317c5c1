// <cursor>: moves the cursor and sets its appearance.
//
//   x, y    position, low 8 bits each, both needed                               no movement
//   moveto  corner: "top_left", "top_right", "bottom_left", "bottom_right"       no movement
//   type    "underline" selects the underline cursor, anything else none         no command
//
// Bytes, the movement first:
//
//   both x and y   moveto   movement
//   yes            no       1F 24 x y
//   yes            yes      none
//   no             yes      1A 6D and 01, 02, 03 or 04; none for any other corner
//   no             no       none
//
//   type           1F 43 and 01 or 00
#ifndef KESTRIX_TAGS_CURSOR_TAG_PARSER_H
#define KESTRIX_TAGS_CURSOR_TAG_PARSER_H

#include "../engine/TagParser.h"

class KESTRIX_API CursorTagParser final : public TagParser {
public:
    static constexpr char ATTR_MOVETO[] = "moveto";

    static constexpr char TOP_LEFT[] = "top_left";
    static constexpr char TOP_RIGHT[] = "top_right";
    static constexpr char BOTTOM_LEFT[] = "bottom_left";
    static constexpr char BOTTOM_RIGHT[] = "bottom_right";

    static constexpr char UNDERLINE[] = "underline";
    static constexpr char NONE[] = "none";

    void subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out) override;

    // Values of "x" and "y" -> 1F 24 x y.
    static void storeXY(const unsigned char* x, const unsigned char* y, OutputVector& out);

    // Value of "moveto" -> 1A 6D corner, or nothing for an unknown corner.
    static void storeMoveTo(const unsigned char* corner, OutputVector& out);

    // Value of "type" -> 1F 43 01 or 1F 43 00.
    static void storeType(const unsigned char* type, OutputVector& out);
};

#endif

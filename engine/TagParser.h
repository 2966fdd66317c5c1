// Base of the parsers that turn one element of a display document into command bytes.
//
// A parser object has no state. The engine hands it an element's attributes; it appends the bytes
// of whole commands to the document's output, or nothing. No operation here reports an error, and
// none throws unless it says so.
#ifndef KESTRIX_ENGINE_TAG_PARSER_H
#define KESTRIX_ENGINE_TAG_PARSER_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <new>
#include <vector>

#if defined(__GNUC__)
#define KESTRIX_API __attribute__((visibility("default")))
#else
#define KESTRIX_API
#endif

// Orders NUL-terminated strings by content (as strcmp below 0), never by pointer. Names are short:
// a loop in place is quicker than a call.
struct compare {
    bool operator()(const char* left, const char* right) const noexcept
    {
        while (*left == *right && *left != '\0') {
            ++left;
            ++right;
        }
        return static_cast<unsigned char>(*left) < static_cast<unsigned char>(*right);
    }
};

// Attribute name -> value: NUL-terminated UTF-8, or null for an attribute with no value at all.
// Owns neither; both stay valid for one subParse call. The collected text of "text", "marquee" and
// "command" is the value of TagParser::CONTENT. A map of the same type, with the one entry "lang",
// is the document's state: it points at the writable 32-byte buffer of the document's language.
using AttributeMap = std::map<const char*, unsigned char*, compare>;

// The command bytes of a document. Parsers only append at the end.
using OutputVector = std::vector<unsigned char>;

// Subclasses derive from TagParser alone, override subParse and hold no data. There is no virtual
// destructor: deleting a subclass object through a TagParser pointer is well-defined all the same,
// because operator delete below takes the object whole. (GCC's -Wdelete-non-virtual-dtor does not
// know that and warns at a plain delete; call that operator by name to keep it quiet.)
class KESTRIX_API TagParser {
public:
    // Control bytes of the display.
    static constexpr unsigned char BS = 0x08;
    static constexpr unsigned char HT = 0x09;
    static constexpr unsigned char LF = 0x0A;
    static constexpr unsigned char HOM = 0x0B;
    static constexpr unsigned char CLR = 0x0C;
    static constexpr unsigned char CR = 0x0D;
    static constexpr unsigned char CAN = 0x18;
    static constexpr unsigned char SUB = 0x1A;
    static constexpr unsigned char ESC = 0x1B;
    static constexpr unsigned char US = 0x1F;

    // Attribute names and values that several elements share.
    static constexpr char ATTR_X[] = "x";
    static constexpr char ATTR_Y[] = "y";
    static constexpr char ATTR_TYPE[] = "type";
    static constexpr char BOOL_1[] = "1";
    static constexpr char BOOL_0[] = "0";
    static constexpr char BOOL_TRUE[] = "true";
    static constexpr char BOOL_FALSE[] = "false";
    static constexpr char LANG_JA[] = "ja";
    static constexpr char LANG_JA_JP[] = "ja-jp";
    static constexpr char ATTR_LANG[] = "lang";
    static constexpr char CONTENT[] = "CONTENT";
    static constexpr char ATTR_WIDTH[] = "width";
    static constexpr char ATTR_HEIGHT[] = "height";

    // Length in bytes of one escape: backslash, "x", two hexadecimal digits.
    static constexpr int ESCAPE_BLOCK_LEN = 4;

    // Line style and color names of the display with their codes. Empty from the loading of the
    // library to the construction of the first parser.
    static std::map<const char*, unsigned char, compare> styleMap;
    static std::map<const char*, unsigned char, compare> colorMap;

    // Fills styleMap and colorMap. Not beside another construction on another thread.
    // Throws std::bad_alloc.
    TagParser();

    // Appends the bytes of one element to out.
    //
    // attributes  the element's attributes, and its text under CONTENT
    // state       the document's state
    //
    // May throw std::bad_alloc. First and only slot of the virtual table.
    virtual void subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out) = 0;

    // Calls subParse. The element's name is not used: a parser knows its element by its class.
    void parse(const unsigned char* name, AttributeMap& attributes, AttributeMap& state,
               OutputVector& out);

    // Whether attributes holds the key name, with a value or without.
    static bool hasAttr(const char* name, const AttributeMap& attributes);

    // Hexadecimal text to bytes: len / 2 pairs of digits, either case, high digit first; a last odd
    // character is ignored. Stops at the first pair that holds anything else.
    //
    // dst      room for len / 2 bytes
    // src      len characters
    // returns  bytes written; 0 for a null pointer
    static int stringToHex(unsigned char* dst, const char* src, int len);

    // Moves the first run of non-space characters among the first len, or up to a NUL, to the front
    // of str. Spaces are blank, HT, LF, VT, FF and CR. Writes no terminator.
    //
    // returns  length of the run; 0, str unchanged, without one or for null
    static int trimSpace(char* str, int len);

    // The same for all non-space characters, in order.
    static int removeSpace(char* str, int len);

    // Writes value at dst, low byte first: 2 and 4 bytes. Null dst: writes nothing.
    static void littleEndianUShort(unsigned char* dst, unsigned short value);
    static void littleEndianUInt(unsigned char* dst, unsigned int value);

    // Makes lang the document's language if one of the two is Japanese and the other is not, and
    // appends the switch: 1B 74 00, then 1B 52 08 (to Japanese) or 1B 52 00 (back). Otherwise
    // nothing is appended and the language stays as it is.
    //
    // lang   NUL-terminated; stored as "ja" or cut to 31 bytes
    // state  holds "lang" with a writable buffer of 32 bytes
    static void storeLang(const unsigned char* lang, AttributeMap& state, OutputVector& out);

    // Whether lang is "ja" or "ja-jp" in any case of letters. False for null.
    static bool isLangJP(const char* lang);

    // Replaces escapes in place: two backslashes by one, a backslash with "x" and two hexadecimal
    // digits by that byte. Any other backslash is dropped.
    //
    // buf      len bytes; no terminator is read or written
    // returns  the new length; len as it is when 1 or less; 0 for null
    static int escToHex(unsigned char* buf, int len);

    // The same for Shift_JIS text: a pair of lead and trail byte is kept whole, even if its trail
    // byte is a backslash. A lead byte without a trail byte is dropped.
    static int escToHexSjis(unsigned char* buf, int len);

    // Converts UTF-8 to Shift_JIS in place; what Shift_JIS lacks is substituted.
    //
    // str      NUL-terminated
    // count    room at str in bytes, if that is more than the text takes with its terminator;
    //          otherwise the room is what the text takes
    // returns  bytes of the result, without its terminator; 0, str unchanged, if it does not fit
    //          the room together with its terminator, or cannot be converted, or is null
    static int utf8tosjis(char* str, unsigned int count);

    // All parsers come from the library's heap. From C++20 on, delete needs no virtual destructor.
    static void* operator new(std::size_t size);
    static void operator delete(void* memory) noexcept;  // for a constructor that throws
#ifdef __cpp_lib_destroying_delete
    static void operator delete(TagParser* parser, std::destroying_delete_t) noexcept;
#endif

protected:
    // The value of an attribute: null if absent, "" if present without a value.
    static unsigned char* attributeValue(const char* name, const AttributeMap& attributes);

    // Whether an attribute is present and exactly "true" or "1".
    static bool isYes(const char* name, const AttributeMap& attributes);

    // Whether a value is exactly text.
    static bool equals(const unsigned char* value, const char* text);

    // The decimal number that a value begins with, read as by strtol: leading white space and a
    // sign are accepted, the rest is ignored, no digits are 0. Saturates at the limits of 32 bits.
    static std::int32_t decimal(const unsigned char* value);

    // The only two ways a number narrows on its way into a command.
    static unsigned char lowByte(std::int32_t number);
    static unsigned short lowShort(std::int32_t number);

    // Appends the position command, 1F 24 x y, each value's low byte as it is written.
    static void storePosition(const unsigned char* x, const unsigned char* y, OutputVector& out);
};

#endif

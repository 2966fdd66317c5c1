// The root element and the elements that control the device.
//
//   <ovix-display>           no bytes at either tag
//   <reset>                  1B 40
//   <clear>                  0C
//   <clock>                  1F 55
//   <blink interval>         1F 45 n; n: the interval in steps of 50, rounded up, low 8 bits;
//                            nothing without the attribute
//   <brightness value>       1F 58 n; n: 01, 02, 03, 04 for the values 20, 40, 60, 100;
//                            nothing for any other value
//   <command>hex</command>   the bytes of the first run of characters without white space, taken
//                            as pairs of hexadecimal digits, up to the first that is none
#ifndef KESTRIX_TAGS_DEVICE_CONTROL_TAG_PARSERS_H
#define KESTRIX_TAGS_DEVICE_CONTROL_TAG_PARSERS_H

#include "../engine/TagParser.h"

class KESTRIX_API OVIXDisplayTagParser final : public TagParser {
public:
    void subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out) override;
};

class KESTRIX_API OVIXDisplayEndTagParser final : public TagParser {
public:
    void subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out) override;
};

class KESTRIX_API ResetTagParser final : public TagParser {
public:
    void subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out) override;
};

class KESTRIX_API ClearTagParser final : public TagParser {
public:
    void subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out) override;
};

class KESTRIX_API ClockTagParser final : public TagParser {
public:
    void subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out) override;
};

class KESTRIX_API BlinkTagParser final : public TagParser {
public:
    static constexpr char ATTR_INTERVAL[] = "interval";

    void subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out) override;
};

class KESTRIX_API BrightnessTagParser final : public TagParser {
public:
    static constexpr char ATTR_VALUE[] = "value";

    void subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out) override;
};

class KESTRIX_API CommandTagParser final : public TagParser {
public:
    void subParse(AttributeMap& attributes, AttributeMap& state, OutputVector& out) override;
};

#endif

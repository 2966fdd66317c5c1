// The commands of the display that explain and preview know: one row each. Among them are all that
// the converter and the elements of a document send, but for the bytes of the element "command".
#pragma once

#include "engine/TagParser.h"
#include "tags/WindowTagParser.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

enum class Action {
    clear,
    reset,
    codeTable,
    characterSet,
    position,
    corner,
    cursor,
    reverse,
    brightness,
    blink,
    clock,
    defineWindow,
    selectWindow,
    destroyWindow,
    marquee,
};

// The parts of a command after its prefix.
enum class Parameter : std::uint8_t {
    none,
    number,      // a byte
    wait,        // two bytes, low byte first: milliseconds
    repeat,      // a byte; 0 is for ever
    blinkSteps,  // a byte; 0 is off
    table,       // a byte
    set,         // a byte
    digitZero,   // always 0x30
    text,        // two bytes, low byte first: a length; then that many bytes of text with switches
    // A byte each, whose values have names in kParameterValues.
    corner,
    cursor,
    reverse,
    brightness,
    scrollMode,
    format,
};

struct DisplayCommand {
    Action action;
    std::array<std::uint8_t, 2> prefix;  // the second byte is 0 if the prefix is one byte
    std::array<Parameter, 6> parameters;
    std::string_view words;  // each {} stands for a parameter, in their order

    constexpr std::size_t prefixSize() const { return prefix[1] == 0 ? 1 : 2; }
};

// Whether a byte is a character. The others are control codes; every command begins with one.
constexpr bool isText(std::uint8_t byte)
{
    return byte >= 0x20;
}

inline constexpr DisplayCommand kDisplayCommands[] = {
    {Action::clear, {TagParser::CLR}, {}, "clear the window, cursor to its top left"},
    {Action::reset, {TagParser::ESC, '@'}, {}, "reset the display"},
    {Action::codeTable, {TagParser::ESC, 't'}, {Parameter::table}, "code table {}"},
    {Action::characterSet, {TagParser::ESC, 'R'}, {Parameter::set}, "character set {}"},
    {Action::position,
     {TagParser::US, '$'},
     {Parameter::number, Parameter::number},
     "cursor to column {}, line {}"},
    {Action::corner, {TagParser::SUB, 'm'}, {Parameter::corner}, "cursor to the {}"},
    {Action::cursor, {TagParser::US, 'C'}, {Parameter::cursor}, "cursor {}"},
    {Action::reverse, {TagParser::US, 'r'}, {Parameter::reverse}, "reverse {}"},
    {Action::brightness, {TagParser::US, 'X'}, {Parameter::brightness}, "brightness {}"},
    {Action::blink, {TagParser::US, 'E'}, {Parameter::blinkSteps}, "blink {}"},
    {Action::clock, {TagParser::US, 'U'}, {}, "show the clock"},
    {Action::defineWindow,
     {TagParser::SUB, 'W'},
     {Parameter::number, Parameter::number, Parameter::number, Parameter::number, Parameter::number,
      Parameter::scrollMode},
     "define window {} at column {}, line {}, size {} x {}, {}"},
    {Action::selectWindow, {TagParser::SUB, 'C'}, {Parameter::number}, "select window {}"},
    {Action::destroyWindow,
     {TagParser::ESC, 'W'},
     {Parameter::number, Parameter::digitZero},
     "destroy window {}"},
    {Action::marquee,
     {TagParser::SUB, 'M'},
     {Parameter::format, Parameter::wait, Parameter::wait, Parameter::repeat, Parameter::text},
     "marquee, {}, {} a step, {} between runs, {}: {}"},
};

// The size of a parameter in bytes; for Parameter::text, that of the length before the text.
constexpr std::size_t parameterSize(Parameter parameter)
{
    switch (parameter) {
    case Parameter::none:
        return 0;
    case Parameter::wait:
    case Parameter::text:
        return 2;
    default:
        return 1;
    }
}

// A value that has a name. `number` is what VirtualDisplay makes of it: a percentage, a corner
// (counted from the top left, line by line), a window's mode, or 0 and 1 for false and true.
struct ParameterValue {
    Parameter parameter;
    std::uint8_t value;
    int number;
    std::string_view words;
};

inline constexpr ParameterValue kParameterValues[] = {
    {Parameter::corner, 0x01, 0, "top left"},
    {Parameter::corner, 0x02, 1, "top right"},
    {Parameter::corner, 0x03, 2, "bottom left"},
    {Parameter::corner, 0x04, 3, "bottom right"},
    {Parameter::cursor, 0x00, 0, "none"},
    {Parameter::cursor, 0x01, 1, "underline"},
    {Parameter::reverse, 0x00, 0, "off"},
    {Parameter::reverse, 0x01, 1, "on"},
    {Parameter::brightness, 0x01, 20, "20 %"},
    {Parameter::brightness, 0x02, 40, "40 %"},
    {Parameter::brightness, 0x03, 60, "60 %"},
    {Parameter::brightness, 0x04, 100, "100 %"},
    {Parameter::scrollMode, WindowTagParser::VAL_OVERWRITE, 0, "overwrites"},
    {Parameter::scrollMode, WindowTagParser::VAL_V_SCROLL, 1, "scrolls up"},
    {Parameter::scrollMode, WindowTagParser::VAL_H_SCROLL, 2, "scrolls left"},
    {Parameter::format, 0x01, 0, "walking in from the right"},
    {Parameter::format, 0x02, 1, "placing characters"},
};

constexpr const ParameterValue* findValue(Parameter parameter, std::uint8_t value)
{
    for (const ParameterValue& row : kParameterValues) {
        if (row.parameter == parameter && row.value == value) {
            return &row;
        }
    }
    return nullptr;
}

// The unit of the blink parameter, in milliseconds.
inline constexpr int kBlinkStep = 50;

// Maps characters to display bytes and to the switches between tables and sets.
#pragma once

#include "converter/handle/Handle.h"

#include <cstdint>

namespace ruvo {

class Mapper {
public:
    explicit Mapper(HandleLink& handle) : m_handle(handle), m_settings(handle.settings) {}

    // Appends a character to the handle's output chains, with the switch records that it needs.
    // codePoint is up to U+10FFFF, or kInvalidMarker, for which the substitute is sent. Memory for
    // one more byte has been reserved. Returns 0, or -510 when a chain is full: what was appended
    // before stays. Throws std::bad_alloc.
    short append(std::uint32_t codePoint);

private:
    // The byte of a character and where it comes from.
    struct DisplayCode {
        std::uint8_t ucCode;
        std::uint8_t table;       // command parameter of the table; without meaning for a set
        bool isICS;               // the byte is of the internal set with ucICSParam
        std::uint8_t ucICSParam;  // command parameter of the set
    };

    DisplayCode map(std::uint32_t codePoint);
    std::uint32_t findSpacingForm(std::uint32_t codePoint);
    bool mapDirectly(const UnicodeCharInfo& info, DisplayCode& code) const;
    DisplayCode missingCharacter() const;

    HandleLink& m_handle;
    HandleSettings& m_settings;
};

}  // namespace ruvo

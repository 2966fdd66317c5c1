// Characters to display bytes with their switches.
#pragma once

#include "converter/handle/Handle.h"

#include <cstdint>

namespace ruvo {

class Mapper {
public:
    explicit Mapper(HandleLink& handle) : m_handle(handle), m_settings(handle.settings) {}

    // Appends a character to the handle's output chains, with the switch records that it needs.
    // codePoint may be kInvalidMarker. The character chain has memory for one more byte. Returns 0,
    // or -510 when a chain is full: what was appended before stays. Throws std::bad_alloc.
    short append(std::uint32_t codePoint);

private:
    // How a character goes out.
    struct DisplayCode {
        std::uint8_t ucCode;
        std::uint8_t table;  // the table in force for it
        bool isICS;
        std::uint8_t ucICSParam;
    };

    DisplayCode map(std::uint32_t codePoint);
    std::uint32_t findSpacingForm(std::uint32_t codePoint);
    bool mapDirectly(const UnicodeCharInfo& info, DisplayCode& code) const;
    DisplayCode missingCharacter() const;

    HandleLink& m_handle;
    HandleSettings& m_settings;
};

}  // namespace ruvo

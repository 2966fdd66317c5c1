// Reads a handle's output chains as one command stream.
#pragma once

#include "Handle.h"

#include <cstddef>
#include <cstdint>

namespace ruvo {

// ESC t n and ESC R n.
inline constexpr std::size_t kSwitchLength = 3;

// The length of the merged output, in bytes.
inline std::size_t mergedLength(const HandleLink& handle)
{
    const std::size_t records =
        handle.stTableInfoOut.records().size() + handle.stISetInfoOut.records().size();
    return handle.stCharCodeOut.bytes().size() + kSwitchLength * records;
}

// Writes the merged output, mergedLength bytes: the character codes with ESC t n in front of a
// character of another table, ESC R n around characters of internal character sets.
void Lutm_copyOutputData(const HandleLink& handle, std::uint8_t* destination);

}  // namespace ruvo

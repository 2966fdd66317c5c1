// Reads a handle's output chains as one command stream.
#pragma once

#include "Handle.h"

#include <cstddef>
#include <cstdint>

namespace ruvo {

// The length of the merged output, in bytes.
std::size_t mergedLength(const HandleLink& handle);

// Writes the merged output, mergedLength bytes: the character codes with ESC t n in front of a
// character of another table, ESC R n around characters of internal character sets.
void mergeOutput(const HandleLink& handle, std::uint8_t* destination);

}  // namespace ruvo

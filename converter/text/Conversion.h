// Text to display bytes: decoding, composition, mapping.
#pragma once

#include "converter/handle/Handle.h"

#include <cstddef>
#include <cstdint>

namespace ruvo {

// Converts a text in the handle's encoding and appends the bytes to its output chains, with the
// switch records that they need. length is in bytes, at least 1; little-endian UTF-16 is exchanged
// in place. Returns 0, the first warning (-400 to -500), or -510 when a chain is full: what was
// appended before stays. Throws std::bad_alloc.
short Lutm_SetDataCommon(HandleLink& handle, std::uint8_t* text, std::size_t length);

}  // namespace ruvo

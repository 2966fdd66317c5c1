// The fast path for the bulk of a text.
#pragma once

#include "converter/handle/Handle.h"
#include "converter/text/Decoding.h"

namespace ruvo {

// Appends the plain characters (see DirectTable) at the reader's position, with them bases and
// marks that compose to a plain character and characters of internal sets, and moves the reader
// past them. Stops at the first other character, or when the output has no room. The general path
// converts what is left; the output is the same as without the fast path. Memory for the characters
// has been reserved. Throws std::bad_alloc; the switch record that had no memory is then not
// appended.
void appendByFastPath(Utf8Reader& reader, HandleLink& handle);

}  // namespace ruvo

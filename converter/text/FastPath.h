// The fast path for the bulk of a text.
#pragma once

#include "converter/handle/Handle.h"
#include "converter/text/Decoding.h"

namespace ruvo {

// Appends the characters at the reader's position that are direct (see DirectTable), that a base
// and a mark compose to, or that are of internal sets, and moves the reader past them. Stops at the
// first other character, or when the output has no room. The general path converts what is left;
// the output is the same as without the fast path. Memory for the characters has been reserved.
// Throws std::bad_alloc.
void appendByFastPath(Utf8Reader& reader, HandleLink& handle);

}  // namespace ruvo

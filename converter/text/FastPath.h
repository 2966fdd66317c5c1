// The fast way for the bulk of a text.
#pragma once

#include "converter/handle/Handle.h"
#include "converter/text/Decoding.h"

namespace ruvo {

// Appends the plain characters (see DirectTable) at the front of the text, bases with a mark that
// compose to one, and characters of sets among them, as far as the output has room, and moves the
// reader behind them. All else is left to the general way. The output is the same with it and
// without it.
void appendByFastPath(Utf8Reader& reader, HandleLink& handle);

}  // namespace ruvo

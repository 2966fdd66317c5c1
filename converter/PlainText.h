// The fast way for the bulk of a text.
#pragma once

#include "Decoding.h"
#include "Handle.h"

namespace ruvo {

// Appends the plain characters (see PlainTable) at the front of the text, as far as the output has
// room, and moves the reader behind them. What it leaves alone, the general way converts: the first
// character of an output, which needs a table selection, a base character whose mark follows, and
// all that is not plain. The output is the same with it and without it.
void appendPlainText(Utf8Reader& reader, HandleLink& handle);

}  // namespace ruvo

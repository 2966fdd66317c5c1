// Conversion of a document's text to display bytes, for every element that shows text.
#pragma once

#include "engine/TagParser.h"

#include <cstddef>

// Whether the converter ran out of memory for a text since this was last set to false. Beside
// KestrixDispEngine::ucHandle, and like it of the one parse that may run in a process.
extern bool textLostToMemory;

// Converts text on the current converter handle, KestrixDispEngine::ucHandle, and appends the
// display bytes with their switching commands to out.
//
// text     NUL-terminated, in the handle's encoding (UTF-8 unless its settings say otherwise); a
//          converter set to little-endian UTF-16 exchanges its bytes in place
// returns  bytes appended; 0 if the converter rejects the text with any negative code, a warning
//          too, or answers with nothing
//
// Nothing of the text stays on the handle, shown or not. Throws std::bad_alloc, and then has handed
// nothing to the converter.
std::size_t appendConvertedText(unsigned char* text, OutputVector& out);

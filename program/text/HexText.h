// Bytes as hexadecimal text.
#pragma once

#include <string>
#include <string_view>

// Sixteen bytes a line: offset, bytes, and the printable ones as characters.
std::string hexDump(std::string_view bytes);

// Whether bytes are a text of the kind that bytesOfHexText reads.
bool isHexText(std::string_view text);

// The bytes of a dump, such as hexDump, hexdump -C, od -t x1 and xxd write it, or of a text of
// pairs of digits, with blanks between pairs or without. Throws std::runtime_error that names the
// line where the text is neither.
std::string bytesOfHexText(std::string_view text);

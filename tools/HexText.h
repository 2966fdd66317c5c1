// Bytes as hexadecimal text.
#pragma once

#include <string>
#include <string_view>

// Sixteen bytes a line: offset, bytes, and the printable ones as characters.
std::string hexDump(std::string_view bytes);

// Bytes as hexadecimal text.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// "1B 40".
std::string hexBytes(std::span<const std::uint8_t> bytes);

// A dump with sixteen bytes on a line: offset, bytes, and the printable ones as characters.
std::string hexDump(std::string_view bytes);

// Whether bytesOfHexText reads the text, and at least one byte from it.
bool isHexText(std::string_view text);

// The bytes that a text names: a dump of hexDump, hexdump -C, od -t x1 or xxd, or pairs of digits
// with or without blanks between them. If it is neither, throws std::runtime_error with the line
// number.
std::string bytesOfHexText(std::string_view text);

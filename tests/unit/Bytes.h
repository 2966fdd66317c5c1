// Byte strings in test rows: written in hex, compared with a message that shows the difference.
#pragma once

#include <string>
#include <string_view>

#include <gtest/gtest.h>

std::string repeated(std::string_view text, std::size_t count);

// "1B 40" -> two bytes. Blanks may be anywhere between digits; "{41*300}" is a byte
// 300 times.
// Throws std::invalid_argument for anything else.
std::string fromHex(std::string_view hex);

std::string toHex(std::string_view bytes);

// For EXPECT_TRUE. A failure shows both strings and the first byte that differs.
testing::AssertionResult sameBytes(std::string_view expected, std::string_view actual);

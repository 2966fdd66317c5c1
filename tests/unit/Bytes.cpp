#include "Bytes.h"

#include <algorithm>
#include <stdexcept>

namespace {

constexpr std::string_view digits = "0123456789ABCDEF";

int digitValue(char c)
{
    const std::size_t value = digits.find(c);
    if (value == std::string_view::npos) {
        throw std::invalid_argument("no upper-case hexadecimal digit: " + std::string(1, c));
    }
    return static_cast<int>(value);
}

// The part around a difference: a marquee of 65535 bytes is not printed whole.
std::string shown(std::string_view bytes, std::size_t difference)
{
    constexpr std::size_t around = 32;
    const std::size_t first = difference > around ? difference - around : 0;
    const std::string_view part = bytes.substr(std::min(first, bytes.size()), 2 * around);
    return std::to_string(bytes.size()) + " bytes, from " + std::to_string(first) + ": " +
           toHex(part);
}

}  // namespace

std::string fromHex(std::string_view hex)
{
    std::string bytes;
    for (std::size_t i = 0; i < hex.size();) {
        if (hex[i] == ' ') {
            ++i;
        } else if (hex[i] == '{') {
            const std::size_t star = hex.find('*', i);
            const std::size_t end = hex.find('}', i);
            if (star == std::string_view::npos || end == std::string_view::npos || star > end) {
                throw std::invalid_argument("not of the form {41*300}");
            }
            const std::string byte = fromHex(hex.substr(i + 1, star - i - 1));
            bytes.append(std::stoul(std::string(hex.substr(star + 1, end - star - 1))), byte.at(0));
            i = end + 1;
        } else if (i + 1 < hex.size()) {
            bytes.push_back(static_cast<char>(digitValue(hex[i]) * 16 + digitValue(hex[i + 1])));
            i += 2;
        } else {
            throw std::invalid_argument("odd number of digits");
        }
    }
    return bytes;
}

std::string toHex(std::string_view bytes)
{
    std::string hex;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (!hex.empty()) {
            hex += ' ';
        }
        hex += digits[byte >> 4];
        hex += digits[byte & 0x0F];
    }
    return hex;
}

testing::AssertionResult sameBytes(std::string_view expected, std::string_view actual)
{
    if (expected == actual) {
        return testing::AssertionSuccess();
    }
    const auto difference = static_cast<std::size_t>(
        std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end()).first -
        expected.begin());
    return testing::AssertionFailure()
           << "first difference at byte " << difference << "\n  expected "
           << shown(expected, difference) << "\n  actual   " << shown(actual, difference);
}

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

}  // namespace

std::string repeated(std::string_view text, std::size_t count)
{
    std::string result;
    result.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

std::string fromHex(std::string_view hex)
{
    std::string bytes;
    while (!hex.empty()) {
        std::size_t size = 1;
        if (hex[0] == '{') {
            size = hex.find('}') + 1;
            const std::string_view inside = hex.substr(1, size - 2);
            const std::size_t star = inside.find('*');
            if (size == 0 || star == std::string_view::npos) {
                throw std::invalid_argument("not of the form {41*300}");
            }
            bytes += repeated(fromHex(inside.substr(0, star)),
                              std::stoul(std::string(inside.substr(star + 1))));
        } else if (hex[0] != ' ') {
            size = 2;
            if (hex.size() < size) {
                throw std::invalid_argument("odd number of digits");
            }
            bytes += static_cast<char>(digitValue(hex[0]) * 16 + digitValue(hex[1]));
        }
        hex.remove_prefix(size);
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
    // The part around the difference: a marquee of 65535 bytes is not printed whole.
    constexpr std::ptrdiff_t around = 32;
    const auto difference =
        std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end()).first -
        expected.begin();
    const auto first = static_cast<std::size_t>(std::max(difference - around, std::ptrdiff_t{0}));
    testing::AssertionResult failure = testing::AssertionFailure();
    failure << "first difference at byte " << difference;
    for (const std::string_view bytes : {expected, actual}) {
        failure << (bytes.data() == expected.data() ? "\n  expected " : "\n  actual   ")
                << bytes.size() << " bytes, from " << first << ": "
                << toHex(bytes.substr(std::min(first, bytes.size()), 2 * around));
    }
    return failure;
}

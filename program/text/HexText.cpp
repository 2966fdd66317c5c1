#include "program/text/HexText.h"

#include "base/Ascii.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace {

constexpr std::size_t kDumpWidth = 16;

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

// How a dump shows a byte as a character.
char shownByte(char c)
{
    return c >= 0x20 && c < 0x7F ? c : '.';
}

std::optional<unsigned> digit(char c)
{
    const int value = hexDigitValue(c);
    return value < 0 ? std::nullopt : std::optional(static_cast<unsigned>(value));
}

// Appends the bytes that pairs of digits name. False if the text holds anything but pairs and
// blanks.
bool readPairs(std::string_view text, std::string& bytes)
{
    for (std::size_t i = 0; i < text.size();) {
        if (isBlank(text[i])) {
            ++i;
            continue;
        }
        const auto high = digit(text[i]);
        const auto low = i + 1 < text.size() ? digit(text[i + 1]) : std::nullopt;
        if (!high || !low) {
            return false;
        }
        bytes += static_cast<char>(*high << 4 | *low);
        i += 2;
    }
    return true;
}

std::string_view trimmed(std::string_view line)
{
    while (!line.empty() && isBlank(line.front())) {
        line.remove_prefix(1);
    }
    while (!line.empty() && isBlank(line.back())) {
        line.remove_suffix(1);
    }
    return line;
}

// Reads a dump as hexdump -C, od -t x1 and xxd write it, line by line. A line is an offset, which
// is the number of bytes before it; the bytes; and perhaps the bytes as characters. "*" stands for
// lines that are the same as the line before. The last line may be an offset alone.
class DumpReader {
public:
    // `radix` is that of the offsets. Appends to `bytes`, which must be empty.
    DumpReader(int radix, std::string& bytes) : m_radix(radix), m_bytes(bytes) {}

    // False if the line, which has no blanks at its ends, is not one of such a dump.
    bool read(std::string_view line)
    {
        if (line == "*") {
            m_repeats = true;
            return true;
        }
        std::size_t offset = 0;
        const char* const end = line.data() + line.size();
        const auto [next, error] = std::from_chars(line.data(), end, offset, m_radix);
        line.remove_prefix(static_cast<std::size_t>(next - line.data()));
        const bool colon =
            line.starts_with(':');  // of xxd, which has no frame around the characters
        line.remove_prefix(colon ? 1 : 0);
        if (error != std::errc() || (!line.empty() && !isBlank(line.front()))) {
            return false;
        }
        if (m_repeats && !repeatUpTo(offset)) {
            return false;
        }
        line = trimmed(line);
        const std::string_view digits =
            trimmed(line.substr(0, colon ? line.find("  ") : line.find_first_of("|>")));
        m_lineStart = m_bytes.size();
        if (offset != m_bytes.size() || (!colon && !holdsPairs(digits)) ||
            !readPairs(digits, m_bytes)) {
            return false;
        }
        return !colon || showsLine(trimmed(line.substr(digits.size())));
    }

    // False if the dump ends after "*": how many lines it stands for is not known.
    bool isWhole() const { return !m_repeats; }

private:
    // Whether the line begins with a pair of digits by itself. Groups of more digits are numbers in
    // the byte order of some machine, and two digits before several blanks a decimal number of od.
    static bool holdsPairs(std::string_view digits)
    {
        return digits.size() <= 2 ||
               (isBlank(digits[2]) && (digits.size() <= 3 || !isBlank(digits[3])));
    }

    // Whether these are the characters of the last line's bytes. If they are not, the digits were
    // not bytes in hexadecimal: xxd has other formats that look the same.
    bool showsLine(std::string_view characters) const
    {
        std::string shown;
        for (const char c : std::string_view(m_bytes).substr(m_lineStart)) {
            shown += shownByte(c);
        }
        return characters.empty() || trimmed(shown) == characters;
    }

    // Repeats the last line's bytes up to the offset of the line after "*".
    bool repeatUpTo(std::size_t offset)
    {
        constexpr std::size_t mostBytes =
            64 * 1024 *
            1024;  // more than any display is sent; a wrong offset could claim terabytes
        const std::string row = m_bytes.substr(m_lineStart);
        if (row.empty() || offset > mostBytes) {
            return false;
        }
        while (m_bytes.size() < offset) {
            m_bytes += row;
        }
        m_repeats = false;
        return true;
    }

    int m_radix;
    std::string& m_bytes;
    std::size_t m_lineStart = 0;  // where the last line's bytes begin
    bool m_repeats = false;       // a "*" has been read
};

// The number of the first line for which readLine is false, or 0. Lines are trimmed; empty ones are
// skipped.
template <class ReadLine>
std::size_t findUnreadLine(std::string_view text, ReadLine readLine)
{
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t end = text.find('\n');
        const std::string_view line = trimmed(text.substr(0, end));
        if (!line.empty() && !readLine(line)) {
            return number;
        }
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return 0;
}

std::size_t lastLine(std::string_view text)
{
    return static_cast<std::size_t>(std::ranges::count(text, '\n')) +
           (text.ends_with('\n') ? 0 : 1);
}

// The number of digits of the offset, all zeros, that a dump begins with; 0 if the text is no dump.
std::size_t offsetDigits(std::string_view text)
{
    constexpr std::size_t leastDigits = 6;
    std::string_view line;
    findUnreadLine(text, [&](std::string_view first) {
        line = first;
        return false;
    });
    const std::size_t digits = line.find_first_not_of('0');
    const bool isOffset = digits != std::string_view::npos && digits >= leastDigits &&
                          (line[digits] == ':' || isBlank(line[digits]));
    return isOffset ? digits : 0;
}

// These two return the number of the first line that cannot be read, or 0.

std::size_t readDump(std::string_view text, int radix, std::string& bytes)
{
    DumpReader reader(radix, bytes);
    const std::size_t unread =
        findUnreadLine(text, [&](std::string_view line) { return reader.read(line); });
    return unread != 0 || reader.isWhole() ? unread : lastLine(text);
}

std::size_t readHexText(std::string_view text, std::string& bytes)
{
    constexpr std::size_t odDigits = 7;  // an octal or decimal offset of od; others are hex
    const std::size_t digits = offsetDigits(text);
    if (digits == 0) {
        return findUnreadLine(text, [&](std::string_view line) { return readPairs(line, bytes); });
    }
    if (digits != odDigits) {
        return readDump(text, 16, bytes);
    }
    std::string decimalBytes;
    const std::size_t unread = readDump(text, 8, bytes);
    const std::size_t decimalUnread = readDump(text, 10, decimalBytes);
    if (unread != 0 && decimalUnread != 0) {
        return std::max(unread, decimalUnread);
    }
    if (unread != 0) {
        bytes = std::move(decimalBytes);
    } else if (decimalUnread == 0 && bytes != decimalBytes) {
        return lastLine(text);
    }
    return 0;
}

}  // namespace

std::string hexBytes(std::span<const std::uint8_t> bytes)
{
    std::string text;
    char digits[4];
    for (const std::uint8_t byte : bytes) {
        std::snprintf(digits, sizeof digits, text.empty() ? "%02X" : " %02X", unsigned{byte});
        text += digits;
    }
    return text;
}

std::string hexDump(std::string_view bytes)
{
    std::string text;
    char field[32];
    for (std::size_t start = 0; start < bytes.size(); start += kDumpWidth) {
        const std::string_view row = bytes.substr(start, kDumpWidth);
        std::snprintf(field, sizeof field, "%08zx ", start);
        text += field;
        for (std::size_t i = 0; i < kDumpWidth; ++i) {
            if (i < row.size()) {
                std::snprintf(field, sizeof field, " %02X",
                              unsigned{static_cast<unsigned char>(row[i])});
            }
            text += i < row.size() ? field : "   ";
        }
        text += "  |";
        for (const char c : row) {
            text += shownByte(c);
        }
        text += "|\n";
    }
    return text;
}

bool isHexText(std::string_view text)
{
    std::string bytes;
    return readHexText(text, bytes) == 0 && !bytes.empty();
}

std::string bytesOfHexText(std::string_view text)
{
    std::string bytes;
    if (const std::size_t number = readHexText(text, bytes)) {
        throw std::runtime_error("line " + std::to_string(number) + " is no hexadecimal text");
    }
    return bytes;
}

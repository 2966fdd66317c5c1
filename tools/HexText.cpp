#include "HexText.h"

#include <cstdio>
#include <optional>
#include <stdexcept>

namespace {

constexpr std::size_t kDumpWidth = 16;

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r';
}

std::optional<unsigned> digit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    if (lower >= 'a' && lower <= 'f')
        return lower - 'a' + 10;
    return std::nullopt;
}

// Takes the offset off a line of a dump, which is the number of bytes in front of the line, and the
// characters behind the bytes.
std::string_view withoutDumpColumns(std::string_view line, std::size_t offset)
{
    char column[32];
    const int length = std::snprintf(column, sizeof column, "%08zx  ", offset);
    if (!line.starts_with(std::string_view(column, static_cast<std::size_t>(length))))
        return line;
    return line.substr(static_cast<std::size_t>(length),
                       line.find('|') - static_cast<std::size_t>(length));
}

// Appends the bytes of a line. False when it holds anything but pairs of digits and blanks.
bool readLine(std::string_view line, std::string& bytes)
{
    line = withoutDumpColumns(line, bytes.size());
    for (std::size_t i = 0; i < line.size();) {
        if (isBlank(line[i])) {
            ++i;
            continue;
        }
        const auto high = digit(line[i]);
        const auto low = i + 1 < line.size() ? digit(line[i + 1]) : std::nullopt;
        if (!high || !low)
            return false;
        bytes += static_cast<char>(*high << 4 | *low);
        i += 2;
    }
    return true;
}

// The number of the first line that cannot be read, or 0.
std::size_t readLines(std::string_view text, std::string& bytes)
{
    for (std::size_t number = 1; !text.empty(); ++number) {
        const std::size_t end = text.find('\n');
        if (!readLine(text.substr(0, end), bytes))
            return number;
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return 0;
}

}  // namespace

std::string hexDump(std::string_view bytes)
{
    std::string text;
    char field[32];
    for (std::size_t start = 0; start < bytes.size(); start += kDumpWidth) {
        const std::string_view row = bytes.substr(start, kDumpWidth);
        std::snprintf(field, sizeof field, "%08zx ", start);
        text += field;
        for (std::size_t i = 0; i < kDumpWidth; ++i) {
            if (i < row.size())
                std::snprintf(field, sizeof field, " %02X",
                              unsigned{static_cast<unsigned char>(row[i])});
            text += i < row.size() ? field : "   ";
        }
        text += "  |";
        for (const char c : row)
            text += c >= 0x20 && c < 0x7F ? c : '.';
        text += "|\n";
    }
    return text;
}

bool isHexText(std::string_view text)
{
    std::string bytes;
    return readLines(text, bytes) == 0 && !bytes.empty();
}

std::string bytesOfHexText(std::string_view text)
{
    std::string bytes;
    if (const std::size_t number = readLines(text, bytes))
        throw std::runtime_error("line " + std::to_string(number) + " is no hexadecimal text");
    return bytes;
}

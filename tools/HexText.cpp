#include "HexText.h"

#include <cstdio>

namespace {

constexpr std::size_t kDumpWidth = 16;

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

// The lines of a text.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

// Without their line feeds; the last one may have none.
inline std::vector<std::string> linesOf(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

#include "CaseFile.h"

#include "Bytes.h"

#include <fstream>
#include <set>
#include <stdexcept>

namespace {

constexpr std::string_view catches = "# catches:";

std::string_view withoutBlanks(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

}  // namespace

std::vector<Case> readCases(const std::string& fileName)
{
    std::ifstream file(std::string(KESTRIX_CASES_DIR) + "/" + fileName);
    std::vector<Case> cases;
    std::set<std::string> names;
    bool explained = false;
    int number = 0;
    const auto require = [&](bool condition, const char* message) {
        if (!condition) {
            throw std::runtime_error(fileName + ":" + std::to_string(number) + ": " + message);
        }
    };

    for (std::string line; std::getline(file, line);) {
        ++number;
        if (line.starts_with(catches)) {
            explained = true;
        }
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const std::size_t blank = line.find(' ');
        const std::string keyword = line.substr(0, blank);
        const std::string value(blank == std::string::npos
                                    ? std::string_view()
                                    : withoutBlanks(std::string_view(line).substr(blank)));
        if (keyword == "case") {
            require(explained, "no \"# catches:\" line in front of the case");
            require(!value.empty() && names.insert(value).second, "no name, or one used before");
            cases.push_back({number, value, {}});
            explained = false;
        } else {
            require(!cases.empty() && !explained, "a line that belongs to no case");
            cases.back().lines.push_back({number, keyword, value});
        }
    }
    require(!cases.empty(), "no cases");
    return cases;
}

std::string expandText(std::string_view text)
{
    std::string expanded;
    while (!text.empty()) {
        if (text.front() != '{') {
            expanded += text.front();
            text.remove_prefix(1);
            continue;
        }
        const std::size_t end = text.find('}');
        if (end == std::string_view::npos || end == 1) {
            throw std::invalid_argument("not of the form {E4 00} or {A*300}");
        }
        const std::string_view inside = text.substr(1, end - 1);
        if (const std::size_t star = inside.rfind('*'); star != std::string_view::npos) {
            const auto count = std::stoul(std::string(inside.substr(star + 1)));
            for (unsigned long i = 0; i < count; ++i) {
                expanded += inside.substr(0, star);
            }
        } else {
            expanded += fromHex(inside);
        }
        text.remove_prefix(end + 1);
    }
    return expanded;
}

#include "CaseFile.h"

#include "Bytes.h"

#include <algorithm>
#include <fstream>
#include <set>
#include <stdexcept>

std::vector<Case> readCases(const std::string& fileName)
{
    constexpr std::string_view catches = "# catches:";
    std::ifstream file(std::string(KESTRIX_CASES_DIR) + "/" + fileName);
    std::vector<Case> cases;
    std::set<std::string> names;
    std::string fault;  // that the case which begins here catches
    int number = 0;
    const auto require = [&](bool condition, const char* message) {
        if (!condition) {
            throw std::runtime_error(fileName + ":" + std::to_string(number) + ": " + message);
        }
    };

    for (std::string line; std::getline(file, line);) {
        ++number;
        if (line.starts_with(catches)) {
            fault = line.substr(catches.size());
        }
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const std::size_t blank = line.find(' ');
        const std::string keyword = line.substr(0, blank);
        const std::size_t first = line.find_first_not_of(' ', blank);
        const std::string value = first == std::string::npos ? "" : line.substr(first);
        if (keyword == "case" || !fault.empty()) {
            const std::string& name = keyword == "case" ? value : fault;
            require(!fault.empty(), "no \"# catches:\" line before the case");
            require(!name.empty() && names.insert(name).second, "no name, or one used before");
            cases.push_back({number, name, {}});
            fault.clear();
        }
        if (keyword != "case") {
            require(!cases.empty(), "a line that belongs to no case");
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
        const std::size_t brace = std::min(text.find('{'), text.size());
        expanded += text.substr(0, brace);
        text.remove_prefix(brace);
        if (text.empty()) {
            break;
        }
        const std::size_t end = text.find('}');
        if (end == std::string_view::npos || end == 1) {
            throw std::invalid_argument("not of the form {E4 00} or {A*300}");
        }
        const std::string_view inside = text.substr(1, end - 1);
        const std::size_t star = inside.rfind('*');
        expanded += star == std::string_view::npos
                        ? fromHex(inside)
                        : repeated(inside.substr(0, star),
                                   std::stoul(std::string(inside.substr(star + 1))));
        text.remove_prefix(end + 1);
    }
    return expanded;
}

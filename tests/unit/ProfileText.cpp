#include "ProfileText.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

void writeFile(const std::string& name, const std::string& bytes)
{
    std::ofstream(name, std::ios::binary) << bytes;
}

std::pair<std::string, std::string> halves(const std::string& text, const std::string& separator)
{
    const std::size_t position = text.find(separator);
    if (position == std::string::npos) {
        throw std::invalid_argument("no \"" + separator + "\" in \"" + text + "\"");
    }
    return {text.substr(0, position), text.substr(position + separator.size())};
}

ProfileText ProfileText::base()
{
    ProfileText profile;
    const Case first = readCases("profile_files.txt").front();
    for (const CaseLine& line : first.lines) {
        if (line.keyword == "in") {
            break;
        }
        profile.define(line);
    }
    return profile;
}

void ProfileText::define(const CaseLine& line)
{
    const auto [name, text] = halves(line.value, " ");
    if (line.keyword == "name") {
        m_names[name] = lines(text);
    } else if (line.keyword == "file") {
        m_files[expandText(name)] = lines(text);
    } else if (line.keyword == "with") {
        m_files[name] = withKey(name, text);
    } else {
        throw std::invalid_argument("no keyword " + line.keyword);
    }
}

ProfileText::Lines ProfileText::lines(const std::string& text) const
{
    Lines result;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(" | ", begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        if (line.starts_with('@')) {
            result.insert(result.end(), m_names.at(line).begin(), m_names.at(line).end());
        } else {
            result.push_back(line);
        }
        begin = end + 3;
    }
    return result;
}

ProfileText::Lines ProfileText::withKey(const std::string& name, const std::string& newLine) const
{
    Lines text = file(name);
    const auto line = std::ranges::find_if(text, [&](const std::string& old) {
        return old.find('=') != std::string::npos &&
               newLine.starts_with(old.substr(0, old.find('=')));
    });
    if (line == text.end()) {
        throw std::invalid_argument("no key for " + newLine);
    }
    *line = newLine;
    return text;
}

std::string ProfileText::bytes(const Lines& lines)
{
    std::string result;
    for (std::string line : lines) {
        std::ranges::replace(line, '^', '\t');
        const bool isBroken = !line.ends_with('~');
        result += expandText(isBroken ? line : line.substr(0, line.size() - 1));
        result += isBroken ? "\r\n" : "";
    }
    return result;
}

void ProfileText::write() const
{
    for (const auto& [name, text] : m_files) {
        writeFile(name, bytes(text));
    }
}

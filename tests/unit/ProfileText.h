// Profiles as the files in tests/cases write them: see profile_files.txt.
#pragma once

#include "CaseFile.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

void writeFile(const std::string& name, const std::string& bytes);

// The two halves of a text around the first separator. Throws where there is none.
std::pair<std::string, std::string> halves(const std::string& text, const std::string& separator);

// The profile of the first case, and the changes of a later case.
class ProfileText {
public:
    using Lines = std::vector<std::string>;

    // The profile that the first case of profile_files.txt defines.
    static ProfileText base();

    // Takes a line "name", "file" or "with".
    void define(const CaseLine& line);

    const Lines& file(const std::string& name) const { return m_files.at(name); }
    const std::map<std::string, Lines>& files() const { return m_files; }

    Lines lines(const std::string& text) const;

    // The file after its first line with the same key was replaced by the given line.
    Lines withKey(const std::string& name, const std::string& newLine) const;

    static std::string bytes(const Lines& lines);

    void write() const;

private:
    std::map<std::string, Lines> m_names;
    std::map<std::string, Lines> m_files;
};

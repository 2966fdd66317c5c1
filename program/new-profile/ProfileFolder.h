// Writes the folder of a profile, as a whole or not at all.
#pragma once

#include <map>
#include <string>

// The file with its name and the folder around it.
struct OutsideFile {
    std::string path;
    std::string text;
};

// Writes a new folder, whose path has no "/" at its end, with these files, by name, and a file
// outside of it if its path is not empty. They are made beside their places and renamed when they
// are complete; a signal that would end the program waits for that. Throws std::runtime_error if
// one of the two exists, and whenever not all could be written; then nothing is left.
void writeProfileFolder(const std::string& folder, const std::map<std::string, std::string>& files,
                        const OutsideFile& outside);

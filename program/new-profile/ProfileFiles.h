// The files of a profile as texts.
#pragma once

#include "program/new-profile/ProfilePlan.h"

#include <map>
#include <string>

// What is read of UnicodeData.txt, and how many of its decompositions are kept.
struct UnicodeDatabase {
    std::string text;
    int decompositions = 0;
};

// Copies every line of a UnicodeData.txt, but keeps only the decompositions that lead to one of the
// display's characters, and adds lines for those that it has in a range only. `file` is the file's
// name, for messages. Throws std::runtime_error for a line that is none of UnicodeData.txt.
UnicodeDatabase reducedDatabase(const std::string& text, const std::string& file,
                                const ProfilePlan& plan);

// A UnicodeData.txt out of ICU's data, with the first six fields of each line.
std::string databaseOfICU();

// The text of each file by its name, with CR LF at the end of each line, as the readers of a
// profile expect.
std::map<std::string, std::string> profileFiles(const ProfilePlan& plan,
                                                const UnicodeDatabase& database);

// Of an ID file that names the profile's folder.
std::string idFileText(const std::string& path);

// Throws UsageError if the text cannot be a path in HalvoSet.txt, which is one line of at most 200
// characters.
void checkPath(const std::string& option, const std::string& path);

// Checks a device profile with the converter's own readers.
#pragma once

#include "converter/profile/ProfileListener.h"

#include <cstddef>
#include <string>
#include <vector>

struct Finding {
    enum class Kind {
        error,    // breaks a rule: the open fails
        warning,  // legal, but hardly meant
        note,     // how the profile was read
    };

    Kind kind;
    ruvo::ProfilePlace place;
    std::string words;
    short status;  // of an error, else 0
};

// "path:line: error: words (status -110)", as editors expect it of a compiler. Without the control
// characters that file names may have.
std::string compilerLine(const Finding& finding);

struct CheckedProfile {
    std::vector<Finding> findings;  // in the order of reading, of one file by line
    short status = 0;               // what an open gives, 0 for a handle
    std::size_t tables = 0;         // these four are 0 if the device information is invalid
    std::size_t sets = 0;
    std::size_t characters = 0;
    std::size_t substituted = 0;  // characters for which another one is shown
};

// Reads the profile of a device; `directory` is the folder of HalvoSet.txt. A relative
// "DeviceInfoPath" starts at the current directory, as in an open, or at `directory` if the current
// directory has no such device. The other files of a profile that is not in its place yet are in
// `files`, whatever the "DeviceInfoPath" is.
CheckedProfile checkProfile(const std::string& directory, const std::string& device,
                            const std::string& files = "");

// A line for each finding, and one that says whether the profile of this device opens.
std::string reportText(const CheckedProfile& profile, const std::string& device);

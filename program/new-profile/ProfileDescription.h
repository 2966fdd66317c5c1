// The description of a display, as the arguments of new-profile give it, and the plan made of it.
#pragma once

#include "program/new-profile/ProfilePlan.h"

#include <string>
#include <vector>

struct ProfileDescription {
    std::string device = "default";
    std::vector<std::string> tables;     // PARAM=SOURCE
    std::vector<std::string> maps;       // PARAM:BYTE=CHARACTER
    std::vector<std::string> unmaps;     // PARAM:BYTE
    std::vector<std::string> codePages;  // PARAM=NUMBER
    std::vector<std::string> sets;       // PARAM=NAME|FILE
    std::string defaultSet = "0";
    std::string missing = "?";
    bool fallback = false;
};

// What the user should know, although nothing is wrong.
using Notes = std::vector<std::string>;

// Returns the bytes of a file. Throws std::runtime_error.
using FileReader = std::string (*)(const std::string& file);

// Plans the files of the profile, but for its folders. Throws UsageError for what is wrong in the
// description, and what the reader throws.
ProfilePlan planProfile(const ProfileDescription& description, FileReader read, Notes& notes);

// Throws UsageError if the value of the option cannot be the name of a file of a profile.
void checkName(const std::string& option, const std::string& name);

// The rendering of a document with a profile.
#pragma once

#include "program/profile/ProfileOptions.h"

#include <string>

// Display commands.
struct CommandBytes {
    std::string bytes;
    bool whole = true;  // or those of the part of a document before its damage
};

// The display commands of a document. Tells on the standard error what the XML reader finds wrong.
// Throws std::runtime_error when the profile cannot be opened.
CommandBytes renderDocument(const std::string& document, const ProfileOptions& profile);

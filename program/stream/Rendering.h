// Renders documents with the library.
#pragma once

#include "program/profile/ProfileOptions.h"

#include <string>

struct CommandBytes {
    std::string bytes;
    bool whole = true;  // false: of the part of a document before its damage only
};

// Renders a document. Writes to the standard error why it ends early, if it does. Throws
// std::runtime_error if the profile cannot be opened, or if the document has more than INT_MAX
// bytes.
CommandBytes renderDocument(const std::string& document, const ProfileOptions& profile);

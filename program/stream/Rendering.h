// Renders documents with the library.
#pragma once

#include "engine/DocumentRun.h"
#include "program/profile/ProfileOptions.h"

#include <string>

// Carries out a document. Throws std::runtime_error if the profile cannot be opened, and
// std::bad_alloc where memory runs out.
DocumentRun carryOut(KestrixDispEngine& engine, const std::string& document,
                     const ProfileOptions& profile, ElementListener* listener = nullptr);

struct CommandBytes {
    std::string bytes;
    bool whole = true;  // false: of the part of a document before its damage only
};

// Renders a document with an engine of its own. Writes to the standard error why it ends early, if
// it does. Throws as carryOut does.
CommandBytes renderDocument(const std::string& document, const ProfileOptions& profile);

// How the characters of a text go out to a display.
#pragma once

#include "program/profile/ProfileTables.h"

#include <string>
#include <string_view>

// A line for each character, or for a base character and its marks where they go out as one: code
// points, names, and the byte with its table or set. The text (UTF-8) is converted on an open
// handle of RuvoOpenHandle, which has no output buffered; `tables` is the same profile.
std::string reportCharacters(std::string_view text, short handle, const ProfileTables& tables);

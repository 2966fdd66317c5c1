// Which bytes a text is sent as, and from which tables and sets.
#pragma once

#include "program/profile/ProfileTables.h"

#include <string>
#include <string_view>

// One line, in UTF-8, for each character of a UTF-8 text, or for a character and its marks if they
// were composed: code points, names, and the byte with its table or set. `handle` is an open handle
// of the converter without buffered output; its encoding is set to UTF-8. `tables` must be of the
// same profile. Throws std::runtime_error if the converter refuses a part of the text.
std::string reportCharacters(std::string_view text, short handle, const ProfileTables& tables);

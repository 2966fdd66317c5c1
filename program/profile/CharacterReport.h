// Which bytes a text is sent as, and from which tables and sets.
#pragma once

#include "program/profile/ProfileTables.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct SourceCharacter {
    std::optional<char32_t> codePoint;  // nothing for malformed UTF-8
    std::string_view bytes;             // a part of the text
};

// What the display shows for a character, or for a character and its marks.
enum class Fate {
    itself,
    like,         // another character, which the table has first at the same byte
    composed,     // one character for a character and its marks
    spacingForm,  // the mark, or the like, on its own
    missing,
};

struct SentCharacter {
    std::string place;  // the byte with its table or set, in words
    Fate fate;
    std::optional<char32_t> shown;  // nothing if no table has a character at the byte
};

// What is sent together: a character, or a character with marks that were composed with it.
struct SentCluster {
    using Characters = std::vector<SourceCharacter>;
    Characters characters;
    std::vector<SentCharacter> sent;  // as they come to the display
};

// How a UTF-8 text is sent. `handle` is an open handle of the converter without buffered output;
// its encoding is set to UTF-8. `tables` must be of the same profile. Throws std::runtime_error if
// the converter refuses a part of the text.
std::vector<SentCluster> sendCharacters(std::string_view text, short handle,
                                        const ProfileTables& tables);

// One line, in UTF-8, for each cluster: code points, names, and the byte with its table or set.
std::string reportCharacters(std::string_view text, short handle, const ProfileTables& tables);

// A device profile before its files are written.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// What is wrong in the arguments of a command. The text is the message for the user.
class UsageError : public std::runtime_error {
public:
    using runtime_error::runtime_error;
};

using CharacterOfByte = std::array<std::optional<char32_t>, 256>;

// A code table or a set of national characters.
struct CodeFile {
    int parameter = 0;     // n of the display's ESC t n or ESC R n
    int codePage = 0;      // of a table
    std::string fileName;  // in the profile's folder
    std::string title;     // of a set, for the first line of its file
    std::vector<std::pair<std::uint8_t, char32_t>> characters;  // with their bytes, in their order
    // Whether the characters are those that a table lacks, and the bytes those of others like them.
    bool substitutes = false;
};

struct ProfilePlan {
    std::string device;  // the name of the device information file
    std::vector<CodeFile> tables;
    std::vector<CodeFile> sets;  // at least one
    int defaultSet = 0;
    std::uint8_t missingCharacter = 0x3F;
    // Folders, as the program that opens the profile finds them.
    std::string path = ".";
    std::string logPath = "log";

    // The characters that the display shows as themselves, and those that it shows as others.
    std::set<char32_t> characters() const;
    std::set<char32_t> substituted() const;
    // The combining marks that it shows, as themselves or as their spacing forms (´ for U+0301).
    std::set<char32_t> marks() const;
};

// Whether a profile can have the character: no control character, surrogate or code point that is
// no character.
bool canBeShown(char32_t character);

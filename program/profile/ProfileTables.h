// A device profile for the way back: from the display's bytes to characters.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct ProfileOptions;

// The selected code table and character set, by command parameter.
struct CodeState {
    std::uint8_t table = 0;
    std::uint8_t set = 0;
};

class ProfileTables {
public:
    // No profile: every table has printable ASCII at its own codes, and nothing else.
    ProfileTables();

    // Finds and reads the profile as the library does. Throws std::runtime_error, with a message
    // for the user, if it cannot be read.
    explicit ProfileTables(const ProfileOptions& profile);

    // The selections after power-on and after a reset.
    CodeState powerOn() const { return {0, m_defaultSet}; }

    // The character that the display shows for a byte: that of the set, else that of the table. If
    // a table or set has several at the byte, the first one, in the order of its files and lines.
    // Nothing if neither has one.
    std::optional<char32_t> character(CodeState state, std::uint8_t byte) const;

    // Whether a table, or a set, has the character at the byte. It may have others there as well.
    bool tableHas(unsigned table, std::uint8_t byte, char32_t character) const;
    bool setHas(unsigned set, std::uint8_t byte, char32_t character) const;

    // "17 (code page 866)", "8 (japan.txt)", "0 (default)"; the number alone if the profile has no
    // such table or set.
    std::string tableName(unsigned table) const;
    std::string setName(unsigned set) const;

    std::uint8_t missingCharacter() const { return m_missingCharacter; }

private:
    struct CodeFile {
        std::string name;
        std::array<std::vector<char32_t>, 256> characters;  // of each byte
    };

    using CodeFiles = std::map<unsigned, CodeFile>;  // by command parameter

    // The characters that a file has at a byte, in the order of its lines.
    static const std::vector<char32_t>& charactersOf(const CodeFiles& files, unsigned parameter,
                                                     std::uint8_t byte);

    CodeFiles m_tables;
    CodeFiles m_sets;
    std::uint8_t m_defaultSet = 0;
    std::uint8_t m_missingCharacter = '?';
    bool m_read = false;
};

// The one reader for sections of "key=value" lines, driven by tables of keys.
#pragma once

#include "converter/profile/HandleSettings.h"
#include "converter/profile/ReportingFile.h"

#include <bitset>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace ruvo {

// Where a section's values go.
struct SectionTarget {
    HandleSettings& settings;
    DeviceInfo* deviceInfo;  // null in HalvoSet.txt, which has no key of it
    std::size_t index;       // of a numbered section, from 0
};

struct SectionKey {
    std::string_view name;
    long minimum;                               // of a number
    long maximum;                               // of a number, or of a text's length in bytes
    void (*storeNumber)(SectionTarget&, long);  // null for a text
    void (*storeText)(SectionTarget&, std::string_view);  // null for a number
};

constexpr SectionKey numberKey(std::string_view name, long minimum, long maximum,
                               void (*store)(SectionTarget&, long))
{
    return {name, minimum, maximum, store, nullptr};
}

constexpr SectionKey textKey(std::string_view name, long maximumLength,
                             void (*store)(SectionTarget&, std::string_view))
{
    return {name, 0, maximumLength, nullptr, store};
}

// Finds the first "=" in the text behind a key and gives the value behind it. False when there is
// no "=" or the line ends right after it.
bool Lutm_ExistEqualCheck(std::string_view text, std::string_view& value);

// True when the value is one or more decimal digits followed by LF or CR.
bool Lutm_NumberCheck(std::string_view value);

// Reads the digits in front of the value, saturated. True when minimum <= number <= maximum.
bool Lutm_RangeCheck(std::string_view value, long minimum, long maximum, long& number);

// A text value goes without its last two characters, which are the line's CR LF.
std::string_view withoutLineBreak(std::string_view value);

// One section while its lines are read. Its keys are found anywhere in a line; the first key of
// the table that a line holds decides the line.
class KeyValueSection {
public:
    enum class Line {
        stored,    // a key with a good value
        rejected,  // a key whose value breaks its rule: ends the section, the key is unset
        noKey,     // ends the section
    };

    KeyValueSection(std::span<const SectionKey> keys, SectionTarget target,
                    const ReportingFile& file)
        : m_keys(keys), m_target(target), m_file(file)
    {
    }

    Line read(std::string_view line);

    // Checks a line that an open does not read, because a fault has ended the section. Stores texts
    // of unset keys all the same: they may tell which files to check next. False without a key.
    bool check(std::string_view line);

    // Every key has been set.
    bool complete() const { return m_set.count() == m_keys.size(); }

    // The keys that no line has named, as a list for people. Each is given once.
    std::string takeMissingKeys();

    // Goes on with the numbered section of an index, all keys unset.
    void start(std::size_t index)
    {
        m_target.index = index;
        m_set.reset();
        m_named.reset();
    }

private:
    struct FoundKey {
        std::size_t index;
        std::string_view textBehind;
    };

    bool find(std::string_view line, FoundKey& found) const;
    void remarkOn(const SectionKey& key, std::string_view line, bool setBefore) const;

    std::span<const SectionKey> m_keys;
    SectionTarget m_target;
    const ReportingFile& m_file;
    std::bitset<16> m_set;
    std::bitset<16> m_named;  // set, rejected or checked
};

}  // namespace ruvo

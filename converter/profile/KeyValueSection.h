// Reads the sections of "key=value" lines in settings files, as tables of keys describe them.
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
    DeviceInfo* deviceInfo;  // null for HalvoSet.txt, whose keys do not use it
    std::size_t index;       // of the table or set, counted from 0
};

struct SectionKey {
    std::string_view name;
    long minimum;  // least number; 0 for a text
    long maximum;  // greatest number, or greatest length of a text in bytes
    // One of these is null: it is a number or a text.
    void (*storeNumber)(SectionTarget&, long);
    void (*storeText)(SectionTarget&, std::string_view);
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

// Finds the first "=" in `text`, the rest of a line after its key; `value` is what follows, with
// the line break. False when there is no "=" or a line break follows it.
bool Lutm_ExistEqualCheck(std::string_view text, std::string_view& value);

// True when the value is one or more decimal digits followed by LF or CR.
bool Lutm_NumberCheck(std::string_view value);

// Reads the digits at the start of the value; a number too large for long becomes the largest one.
// True when minimum <= number <= maximum.
bool Lutm_RangeCheck(std::string_view value, long minimum, long maximum, long& number);

// A text value without its last two bytes, whatever they are: they should be the line's CR LF.
std::string_view withoutLineBreak(std::string_view value);

// A section while its lines are read. A key is found anywhere in a line. If a line holds several
// keys, it is a line of the one that comes first in the table.
class KeyValueSection {
public:
    enum class Line {
        stored,    // a key with a good value
        rejected,  // a key whose value breaks its rule; the key is unset again
        noKey,     // a line without a key of the section
    };

    KeyValueSection(std::span<const SectionKey> keys, SectionTarget target,
                    const ReportingFile& file)
        : m_keys(keys), m_target(target), m_file(file)
    {
    }

    // Reads a line and stores a good value. Tells the listener of the value, or of the fault.
    Line read(std::string_view line);

    // Checks a line that an open would not read, because a fault has ended the section. Numbers are
    // not stored; texts of unset keys are, as they may name files that are checked next. False when
    // the line has no key.
    bool check(std::string_view line);

    // Every key has been set.
    bool complete() const { return m_set.count() == m_keys.size(); }

    // The keys that no line has named, as a list for a message. A second call does not give them
    // again.
    std::string takeMissingKeys();

    // Starts the next numbered section: all keys are unset, values go to the table or set `index`.
    void start(std::size_t index)
    {
        m_target.index = index;
        m_set.reset();
        m_named.reset();
    }

private:
    struct FoundKey {
        std::size_t index;
        std::string_view textAfter;
    };

    bool find(std::string_view line, FoundKey& found) const;
    void remarkOn(const SectionKey& key, std::string_view line, bool setBefore) const;

    std::span<const SectionKey> m_keys;
    SectionTarget m_target;
    const ReportingFile& m_file;
    std::bitset<16> m_set;    // keys with a value, by their index in the table
    std::bitset<16> m_named;  // keys that a line has named, whatever the value
};

}  // namespace ruvo

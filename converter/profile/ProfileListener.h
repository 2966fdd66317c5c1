// The listener is told of a profile's faults while its files are read. An open has no listener and
// stops at the first fault; for a listener the readers check the rest of the files, too.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ruvo {

struct MapEntry;
enum class TableFileKind;

struct ProfilePlace {
    std::string path;
    std::size_t line;  // counted from 1; 0 is the file as a whole
};

// Hears of a profile's files as they are read. What it is told can come again with the same words:
// of a file that serves several tables, and of each piece of a long line.
class ProfileListener {
public:
    virtual ~ProfileListener() = default;

    // A broken rule, in words, and the status with which an open fails because of it.
    virtual void fault(const ProfilePlace& place, const std::string& rule, short status) = 0;

    // A file that has no lines because it cannot be opened (`status` is that of the open) or is no
    // regular file (`status` is 0). `words` says which.
    virtual void noLines(const std::string& path, const std::string& words, short status) = 0;

    // A line that an open accepts, but that is probably a mistake.
    virtual void remark(const ProfilePlace& place, const std::string& words) = 0;

    // A good value of a key. In a section of a table or set `index` is its number, from 0.
    virtual void valueRead(const ProfilePlace& place, std::string_view key, std::size_t index) = 0;

    // A good line of a table or set file.
    virtual void entryRead(const ProfilePlace& place, TableFileKind kind,
                           const MapEntry& entry) = 0;
};

}  // namespace ruvo

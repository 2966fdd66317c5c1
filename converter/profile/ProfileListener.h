// Who hears of a profile's faults while its files are read. An open has no listener and stops at
// the first fault; with one, the readers go on where the rest of a file can still be checked.
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

class ProfileListener {
public:
    virtual ~ProfileListener() = default;

    // A broken rule, in words, and the status of an open that meets it.
    virtual void fault(const ProfilePlace& place, const std::string& rule, short status) = 0;

    // A file without lines: it cannot be opened, with the status of the open, or it is no regular
    // file, with status 0.
    virtual void noLines(const std::string& path, const std::string& words, short status) = 0;

    // What an open accepts, but hardly anybody means.
    virtual void remark(const ProfilePlace& place, const std::string& words) = 0;

    // A good value of a key; `index` counts the tables or sets from 0.
    virtual void valueRead(const ProfilePlace& place, std::string_view key, std::size_t index) = 0;

    // A good line of a table or set file.
    virtual void entryRead(const ProfilePlace& place, TableFileKind kind,
                           const MapEntry& entry) = 0;
};

}  // namespace ruvo

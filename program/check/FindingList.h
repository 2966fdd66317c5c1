// Collects the findings and the values that the readers of a profile report.
#pragma once

#include "program/check/ProfileCheck.h"

#include "converter/profile/TableFiles.h"

#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

// The path without superfluous "." and "..".
std::string shownPath(const std::string& path);

// A line of a table or set file.
struct PlacedEntry {
    ruvo::ProfilePlace place;
    ruvo::MapEntry entry;
};

class FindingList : public ruvo::ProfileListener {
public:
    void fault(const ruvo::ProfilePlace& place, const std::string& rule, short status) override;
    void noLines(const std::string& path, const std::string& words, short status) override;
    void remark(const ruvo::ProfilePlace& place, const std::string& words) override;
    void valueRead(const ruvo::ProfilePlace& place, std::string_view key,
                   std::size_t index) override;
    void entryRead(const ruvo::ProfilePlace& place, ruvo::TableFileKind kind,
                   const ruvo::MapEntry& entry) override;

    // Remembers the place that names a file. A finding about the file as a whole is given at that
    // place. If several places name the file, each read of it takes the next one, in this order.
    void nameFile(const std::string& path, const ruvo::ProfilePlace& place)
    {
        if (place.line > 0) {
            m_namedAt[path].push_back(place);
        }
    }

    void add(Finding::Kind kind, const ruvo::ProfilePlace& place, const std::string& words,
             short status = 0);

    // Makes warnings of all errors so far: a later section made the file valid all the same.
    void lowerFaultsToWarnings();

    // Where a key's value was read; `index` is that of the table or set. Without one, line 0 of "".
    const ruvo::ProfilePlace& placeOf(std::string_view key, std::size_t index = 0) const;

    const std::vector<PlacedEntry>& entries(ruvo::TableFileKind kind) const
    {
        return kind == ruvo::TableFileKind::translation ? m_tableEntries : m_setEntries;
    }

    // Gives the findings away, sorted by file, in the order of reading, and by line.
    std::vector<Finding> take();

private:
    void tellEncodings();

    struct Count {
        std::size_t findings = 0;
        std::size_t lastLine = 0;
    };

    std::vector<Finding> m_findings;
    std::map<std::string, std::deque<ruvo::ProfilePlace>> m_namedAt;
    std::set<std::tuple<std::string, std::size_t, std::string>> m_kept;  // path, line, words
    std::map<std::string, std::size_t> m_files;  // path to its place in the order of reading
    std::map<std::pair<std::string, Finding::Kind>, Count> m_counts;
    std::map<std::pair<std::string, std::size_t>, ruvo::ProfilePlace> m_values;
    std::vector<PlacedEntry> m_tableEntries;
    std::vector<PlacedEntry> m_setEntries;
};

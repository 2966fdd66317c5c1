// Collects what the readers of a profile tell.
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

// Without needless "." and "..".
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

    // A file without lines is told of at the place that names it: if several do, at each as the
    // file is read for it, in this order.
    void nameFile(const std::string& path, const ruvo::ProfilePlace& place)
    {
        if (place.line > 0) {
            m_namedAt[path].push_back(place);
        }
    }

    void add(Finding::Kind kind, const ruvo::ProfilePlace& place, const std::string& words,
             short status = 0);

    // The faults told so far are warnings: the file is valid all the same.
    void lowerFaultsToWarnings();

    // Where a key's value stands, of table or set `index`.
    const ruvo::ProfilePlace& placeOf(std::string_view key, std::size_t index = 0) const;

    const std::vector<PlacedEntry>& entries(ruvo::TableFileKind kind) const
    {
        return kind == ruvo::TableFileKind::translation ? m_tableEntries : m_setEntries;
    }

    // The findings, sorted.
    std::vector<Finding> take();

private:
    struct Count {
        std::size_t findings = 0;
        std::size_t lastLine = 0;
    };

    std::vector<Finding> m_findings;
    std::map<std::string, std::deque<ruvo::ProfilePlace>> m_namedAt;
    std::set<std::tuple<std::string, std::size_t, std::string>> m_kept;  // path, line, words
    std::map<std::string, std::size_t> m_files;  // number of each path in the order of reading
    std::map<std::pair<std::string, Finding::Kind>, Count> m_counts;
    std::map<std::pair<std::string, std::size_t>, ruvo::ProfilePlace> m_values;
    std::vector<PlacedEntry> m_tableEntries;
    std::vector<PlacedEntry> m_setEntries;
};

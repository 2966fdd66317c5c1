#include "program/check/FindingList.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

namespace {

// So many findings of one kind are kept for each file; the rest are counted. A table has at most
// 256 lines, but when another file is named in its place, any number of lines can be wrong.
constexpr std::size_t kMaxFindings = 300;

// What is wrong with the encoding of a file; "" for one that may be ASCII or UTF-8.
std::string encodingFault(const std::string& path)
{
    std::error_code ignored;
    std::string start(3, ' ');
    if (!std::filesystem::is_regular_file(path, ignored) ||
        !std::ifstream(path, std::ios::binary).read(start.data(), 3)) {
        return "";
    }
    if (start == "\xEF\xBB\xBF") {
        return "begins with a byte order mark: save the file without it";
    }
    const bool isUtf16 = start.starts_with("\xFF\xFE") || start.starts_with("\xFE\xFF") ||
                         (start[0] == '\0') != (start[1] == '\0');
    return isUtf16 ? "is UTF-16: save the file as UTF-8 without a byte order mark" : "";
}

}  // namespace

std::string shownPath(const std::string& path)
{
    return std::filesystem::path(path).lexically_normal().string();
}

void FindingList::fault(const ruvo::ProfilePlace& place, const std::string& rule, short status)
{
    add(Finding::Kind::error, place, rule, status);
}

void FindingList::noLines(const std::string& path, const std::string& words, short status)
{
    const Finding::Kind kind = status == 0 ? Finding::Kind::warning : Finding::Kind::error;
    const auto named = m_namedAt.find(path);
    if (named == m_namedAt.end()) {
        add(kind, {path, 0}, words, status);
        return;
    }
    std::deque<ruvo::ProfilePlace>& places = named->second;
    add(kind, places.front(), '"' + shownPath(path) + "\" " + words, status);
    if (places.size() > 1) {
        places.pop_front();
    }
}

void FindingList::remark(const ruvo::ProfilePlace& place, const std::string& words)
{
    add(Finding::Kind::warning, place, words);
}

void FindingList::valueRead(const ruvo::ProfilePlace& place, std::string_view key,
                            std::size_t index)
{
    m_values[{std::string(key), index}] = place;
}

void FindingList::entryRead(const ruvo::ProfilePlace& place, ruvo::TableFileKind kind,
                            const ruvo::MapEntry& entry)
{
    std::vector<PlacedEntry>& entries =
        kind == ruvo::TableFileKind::translation ? m_tableEntries : m_setEntries;
    entries.push_back({place, entry});
}

void FindingList::lowerFaultsToWarnings()
{
    for (Finding& finding : m_findings) {
        if (finding.kind == Finding::Kind::error) {
            finding = {Finding::Kind::warning, finding.place,
                       finding.words + "; a later section makes up for it", 0};
        }
    }
}

const ruvo::ProfilePlace& FindingList::placeOf(std::string_view key, std::size_t index) const
{
    static const ruvo::ProfilePlace nowhere{"", 0};
    const auto value = m_values.find({std::string(key), index});
    return value == m_values.end() ? nowhere : value->second;
}

// A file in another encoding is wrong in nearly every line, for one reason.
void FindingList::tellEncodings()
{
    for (const auto& [path, order] : m_files) {
        const std::string words = encodingFault(path);
        const auto isLine = [&](const Finding& finding) {
            return finding.place.path == path && finding.kind != Finding::Kind::note;
        };
        const auto error = std::ranges::find_if(m_findings, [&](const Finding& finding) {
            return isLine(finding) && finding.kind == Finding::Kind::error;
        });
        if (words.empty() || std::ranges::none_of(m_findings, isLine)) {
            continue;
        }
        const bool fails = error != m_findings.end();
        Finding told{};
        told.kind = fails ? Finding::Kind::error : Finding::Kind::warning;
        told.place = {path, 1};
        told.words = words;
        told.status = fails ? error->status : short{0};
        std::erase_if(m_findings, isLine);
        std::erase_if(m_counts, [&](const auto& count) { return count.first.first == path; });
        m_findings.push_back(std::move(told));
    }
}

std::vector<Finding> FindingList::take()
{
    tellEncodings();
    for (const auto& [key, count] : m_counts) {
        const auto& [path, kind] = key;
        if (count.findings > kMaxFindings) {
            add(Finding::Kind::note, {path, count.lastLine},
                "and " + std::to_string(count.findings - kMaxFindings) +
                    (kind == Finding::Kind::error ? " more errors" : " more warnings") +
                    " up to this line");
        }
    }
    std::ranges::stable_sort(m_findings, {}, [&](const Finding& finding) {
        return std::pair(m_files[finding.place.path], finding.place.line);
    });
    return std::move(m_findings);
}

void FindingList::add(Finding::Kind kind, const ruvo::ProfilePlace& place, const std::string& words,
                      short status)
{
    m_files.emplace(place.path, m_files.size());
    Count& count = m_counts[{place.path, kind}];
    // A file that serves several tables is read several times, but its findings count once.
    const bool told = count.findings < kMaxFindings
                          ? !m_kept.emplace(place.path, place.line, words).second
                          : place.line <= count.lastLine;
    if (told) {
        return;
    }
    count.lastLine = std::max(count.lastLine, place.line);
    if (++count.findings <= kMaxFindings) {
        m_findings.push_back({kind, place, words, status});
    }
}

#include "converter/tables/CharacterTables.h"

#include "converter/tables/QuickSort.h"

#include <algorithm>
#include <utility>

namespace ruvo {

namespace {

// Sizes for the first allocation: the pages, decompositions and components per decomposition of the
// Unicode 15 database, and the pages in which a display's table has characters.
constexpr std::size_t kUsualPages = 300;
constexpr std::size_t kUsualDecompositions = 7000;
constexpr std::size_t kUsualComponents = 3;
constexpr std::size_t kUsualDirectPages = 8;

}  // namespace

void CodePointTable::reserve(std::size_t mappings)
{
    m_pages.reserve(kUsualPages * kPageSize);
    m_mappings.reserve(mappings);
    m_mapped.reserve(mappings);
}

UnicodeCharInfo& CodePointTable::insert(std::uint32_t codePoint)
{
    std::uint32_t& start = m_pageStart[codePoint / kPageSize];
    if (start == 0) {
        const std::size_t size = m_pages.size();
        m_pages.resize(size + kPageSize);
        start = static_cast<std::uint32_t>(size);
    }
    UnicodeCharInfo& info = m_pages[start + codePoint % kPageSize];
    info.listed = 1;
    return info;
}

void CodePointTable::setMappings(std::uint32_t codePoint, std::span<const CharMapping> mappings)
{
    UnicodeCharInfo& info = insert(codePoint);
    const std::size_t first = m_mappings.size();
    m_mappings.insert(m_mappings.end(), mappings.begin(), mappings.end());
    info.ulFirstMapping = static_cast<std::uint32_t>(first);
    info.usMappingCount = static_cast<std::uint16_t>(mappings.size());
    m_mapped.push_back(codePoint);
}

// Replaces the character's mappings: with ucICSFlag the translation tables are never searched.
void CodePointTable::setICSMapping(std::uint32_t codePoint, CharMapping mapping)
{
    setMappings(codePoint, {&mapping, 1});
    insert(codePoint).ucICSFlag = 1;
}

void CodePointTable::finish()
{
    std::size_t tables = 0;
    for (const CharMapping mapping : m_mappings) {
        tables +=
            static_cast<std::size_t>(std::exchange(m_directIndex[mapping.ucTableParam], 1) == 0);
    }
    m_directTables.reserve(tables);
    m_directIndex.fill(0);
    for (const std::uint32_t codePoint : m_mapped) {
        const UnicodeCharInfo& info = (*this)[codePoint];
        if (codePoint > DirectTable::kLast || info.combiningMark || info.ucICSFlag) {
            continue;
        }
        for (const CharMapping mapping : mappings(info)) {
            std::uint16_t& index = m_directIndex[mapping.ucTableParam];
            if (index == 0) {
                m_directTables.emplace_back();
                index = static_cast<std::uint16_t>(m_directTables.size());
            }
            m_directTables[index - std::size_t{1}].insert(codePoint, mapping.ucCode);
        }
    }
    for (DirectTable& table : m_directTables) {
        table.finish();
    }
    m_mapped = std::vector<std::uint32_t>();  // "= {}" would keep the memory
}

std::uint16_t& DirectTable::code(std::uint32_t codePoint)
{
    if (codePoint < kFrontSize) {
        return m_front[codePoint];
    }
    std::uint16_t& page = m_page[codePoint / kPageSize];
    if (page == 0) {
        m_codes.reserve(kUsualDirectPages * kPageSize);
        page = static_cast<std::uint16_t>(m_codes.size() / kPageSize);
        m_codes.insert(m_codes.end(), kPageSize, 0);
    }
    return m_codes[page * kPageSize + codePoint % kPageSize];
}

void DirectTable::insert(std::uint32_t codePoint, std::uint8_t ucCode)
{
    std::uint16_t& entry = code(codePoint);
    if (entry == 0) {
        entry = static_cast<std::uint16_t>(kDirect | ucCode);
    }
}

void DirectTable::finish()
{
    int begin = 0;
    for (int i = 0; i <= 0x80; ++i) {
        if (i < 0x80 && m_front[static_cast<std::size_t>(i)] == (kDirect | i)) {
            continue;
        }
        if (i - begin > m_identityEnd - m_identityBegin) {
            m_identityBegin = static_cast<std::uint8_t>(begin);
            m_identityEnd = static_cast<std::uint8_t>(i);
        }
        begin = i + 1;
    }
}

void DecompositionTable::reserve(std::size_t rows)
{
    rows = std::min(rows, kUsualDecompositions);
    m_rows.reserve(rows);
    m_components.reserve(rows * kUsualComponents);
}

void DecompositionTable::append(std::uint32_t composed, std::span<const std::uint32_t> components)
{
    const std::size_t start = m_components.size();
    m_components.insert(m_components.end(), components.begin(), components.end());
    m_rows.push_back({components.empty() ? 0 : components[0], composed,
                      static_cast<std::uint32_t>(start),
                      static_cast<std::uint32_t>(components.size())});
}

void DecompositionTable::finish(std::uint8_t mappingSize)
{
    if (m_rows.size() > 1) {
        Lutm_BrkClsQuickSort(std::span(m_rows), 0, m_rows.size() - 1,
                             [](const DecompEntry& row) { return row.firstComponent; });
    }
    m_rows.shrink_to_fit();
    m_components.shrink_to_fit();

    if (mappingSize < 2) {
        return;
    }
    const std::span<const DecompEntry> rows = startingWith(0x20);
    m_spacingForms.reserve(rows.size());
    for (const DecompEntry& row : rows) {
        if (mappingSize == 2 || component(row, 2) == 0) {
            m_spacingForms.push_back({component(row, 1), row.composed});
        }
    }
    std::stable_sort(m_spacingForms.begin(), m_spacingForms.end(),
                     [](const SpacingForm& a, const SpacingForm& b) { return a.mark < b.mark; });
}

std::span<const DecompEntry> DecompositionTable::startingWith(std::uint32_t codePoint) const
{
    // Not ranges::equal_range: with it clang 14 does not compile libstdc++ 12.
    const auto begin =
        std::ranges::lower_bound(m_rows, codePoint, {}, &DecompEntry::firstComponent);
    const auto end =
        std::ranges::upper_bound(begin, m_rows.end(), codePoint, {}, &DecompEntry::firstComponent);
    return {begin, end};
}

std::size_t DecompositionTable::findSpacingForm(std::uint32_t mark) const
{
    const auto form = std::ranges::lower_bound(m_spacingForms, mark, {}, &SpacingForm::mark);
    return form != m_spacingForms.end() && form->mark == mark
               ? static_cast<std::size_t>(form - m_spacingForms.begin())
               : m_spacingForms.size();
}

}  // namespace ruvo

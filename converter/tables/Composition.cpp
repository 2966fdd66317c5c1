// Composition without backtracking.
//
// A base and its marks are sorted by combining class and then walked once from left to right. The
// rows of the decomposition table that start with the character at the cursor are tried in table
// order. The first row whose components the run continues with replaces them by its composed
// character, which is the new character at the cursor. If no row matches, the composition fails: no
// other row is tried in place of one that was taken before. For "e", U+0302, U+0301 (65 CC 82
// CC 81) and the rows
//
//   0065 0301 -> 00E9,  0065 0302 -> 00EA,  00EA 0301 -> 1EBF
//
//   0065 0302 0301    row 1 does not match (0302 is not 0301), row 2 does
//   00EA 0301         row 3 matches up to the end: the result is U+1EBF
//
// That is enough for the Unicode database, whose canonical rows have one or two components, so that
// marks are added one after the other. It is also the contract: a search through all rows could
// compose more, and the output would differ. A matching row of two or more components makes the run
// shorter, so the walk ends. A row of one component leaves the length as it is, and such rows can
// lead round in a circle (A -> B -> A), which would never end. Brent's method finds a circle with
// one kept character: while the length stays, the character reached after 1, 2, 4, 8... steps is
// kept, and as soon as the distance to the next power of two is at least the circle's length, the
// walk meets the kept character again.
#include "converter/tables/Composition.h"

#include <array>
#include <bit>
#include <numeric>
#include <span>
#include <utility>

namespace ruvo {

namespace {

// How a row of the table compares with the run, which starts at the cursor: not at all, up to a
// character inside the run, or up to the run's end.
enum class Match { none, prefix, full };

// `matched` gets the number of characters that the row's components match. The first component is
// the sort key and known to be equal; a component of 0 ends the row.
Match compareRow(const DecompositionTable& table, const DecompEntry& row, std::size_t mappingSize,
                 std::span<const std::uint32_t> run, std::size_t& matched)
{
    for (matched = 1; matched < mappingSize; ++matched) {
        const std::uint32_t component = table.component(row, matched);
        if (component == 0) {
            break;
        }
        if (matched == run.size() || run[matched] != component) {
            return Match::none;
        }
    }
    return matched == run.size() ? Match::full : Match::prefix;
}

// True for a row of zeros only. Such rows are fillers and never match.
bool isUnused(const DecompositionTable& table, const DecompEntry& row)
{
    if (row.firstComponent != 0 || row.composed != 0) {
        return false;
    }
    for (std::size_t i = 1; i < row.componentCount; ++i) {
        if (table.component(row, i) != 0) {
            return false;
        }
    }
    return true;
}

// Composes the sorted run, and uses it as working memory. False when no row matches, or when rows
// of one component lead round in a circle.
bool composeRun(std::span<std::uint32_t> run, const DecompositionTable& table,
                std::size_t mappingSize, std::uint32_t& composed)
{
    // The kept character of Brent's method, and the steps since the run last got shorter.
    std::uint32_t seen = run[0];
    std::size_t stepsInPlace = 0;
    for (;;) {
        Match match = Match::none;
        std::size_t matched = 0;
        for (const DecompEntry& row : table.startingWith(run[0])) {
            if (isUnused(table, row)) {
                continue;
            }
            match = compareRow(table, row, mappingSize, run, matched);
            if (match != Match::none) {
                composed = row.composed;
                break;
            }
        }
        if (match != Match::prefix) {
            return match == Match::full;
        }
        stepsInPlace = matched == 1 ? stepsInPlace + 1 : 0;
        if (stepsInPlace > 0 && composed == seen) {
            return false;
        }
        if (std::has_single_bit(stepsInPlace) || stepsInPlace == 0) {
            seen = composed;
        }
        run = run.subspan(matched - 1);
        run[0] = composed;
    }
}

}  // namespace

bool Composer::composeSorted(const CharacterTables& tables, std::uint8_t ucDecompositionMappingSize,
                             std::span<const std::uint32_t> run, std::uint32_t& composed)
{
    // A counting sort by combining class, which keeps the order of equal classes: the cost per mark
    // does not grow with their number. The base is sorted, too: a mark of a lower class precedes
    // it.
    const auto classOf = [&](std::uint32_t codePoint) -> std::size_t {
        return tables.unicodeTable[codePoint].ucCombiningClass;
    };
    std::array<std::size_t, 257> start{};  // index in the sorted run, by class
    for (const std::uint32_t codePoint : run) {
        ++start[classOf(codePoint) + 1];
    }
    std::partial_sum(start.begin(), start.end(), start.begin());
    const RunMemory memory(m_run);
    m_run.resize(run.size());
    for (const std::uint32_t codePoint : run) {
        m_run[start[classOf(codePoint)]++] = codePoint;
    }
    return composeRun(m_run, tables.decompTable, ucDecompositionMappingSize, composed);
}

bool Composer::compose(const CharacterTables& tables, std::uint8_t ucDecompositionMappingSize,
                       std::span<const std::uint32_t> run, std::uint32_t& composed)
{
    if (run.size() != 2) {
        return composeSorted(tables, ucDecompositionMappingSize, run, composed);
    }
    // The marks of a script are neighbours in Unicode, and so are its bases: the low bits of both
    // give the pairs of one text different places.
    const std::size_t mark = (run[1] ^ run[1] / kMarkPlaces) % kMarkPlaces;
    Pair& pair = m_pairs[mark * kBasePlaces + run[0] % kBasePlaces];
    if (pair.base != run[0] || pair.mark != run[1]) {
        const CodePointTable& table = tables.unicodeTable;
        std::array sorted = {run[0], run[1]};
        if (table[run[1]].ucCombiningClass < table[run[0]].ucCombiningClass) {
            std::swap(sorted[0], sorted[1]);
        }
        pair.base = run[0];
        pair.mark = run[1];
        pair.composes =
            composeRun(sorted, tables.decompTable, ucDecompositionMappingSize, pair.composed);
    }
    composed = pair.composed;
    return pair.composes;
}

}  // namespace ruvo

#include "converter/tables/Composition.h"

#include <array>
#include <bit>
#include <numeric>
#include <span>
#include <utility>

namespace ruvo {

namespace {

// How a row of the table compares with the working run from the cursor on.
enum class Match { none, prefix, full };

// `matched` gets the number of run elements that the row's components match. A row ends at its
// first missing component behind the first, which is the sort key and already equal.
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

// Rows of zeros stand for unused ones and never match.
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

// Composes the run from left to right: the first matching row replaces what it matches, and its
// composed character is the cursor from which the rest of the run is tried. False when no row
// matches, or when rows of one component lead round in a circle.
bool composeRun(std::span<std::uint32_t> run, const DecompositionTable& table,
                std::size_t mappingSize, std::uint32_t& composed)
{
    // A character seen in the same place some steps ago; it changes at each power of two, so that
    // a circle of any length comes back to it.
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
    // Sorts by combining class, keeping the order of equal ones: a counting sort, so that a base
    // with thousands of marks costs no more for each of them. The base takes part: a mark of a
    // lower class goes in front of it.
    const auto classOf = [&](std::uint32_t codePoint) -> std::size_t {
        return tables.unicodeTable[codePoint].ucCombiningClass;
    };
    std::array<std::size_t, 257> start{};  // of each class in the sorted run
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
    // The marks of a script stand in one block and its bases in another, so that pairs of one text
    // seldom share a place.
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

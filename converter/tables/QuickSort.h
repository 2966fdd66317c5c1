// The sort that fixes the order of entries with equal keys.
//
// The conversion takes the first of several entries with one key, so their order decides which byte
// is sent. Installed profiles rely on the order that this quicksort gives: the pivot, the
// comparisons and the swaps must stay exactly these. The sort is not stable. Sorted by number, the
// entries b2 a1 c2 d1 become (pivot a1, at index (0 + 3) / 2 = 1)
//
//   b2 a1 c2 d1    i stops at b2 (not below 1), j at d1 (not above 1): swap
//   d1 a1 c2 b2    i = 1 stops at a1, j = 2 passes c2 and stops at a1: i and j have met at 1
//   [d1] a1 [c2 b2]    the two parts are sorted in the same way; c2 b2 are swapped (pivot c2):
//   d1 a1 b2 c2        d1 precedes a1, although a1 preceded d1
//
// Why it sorts: when i and j have met, no entry before i is above the pivot and no entry after j
// is below it, and both parts are smaller than the whole. The parts share no entry, so the result
// is the same in whichever order they are sorted. The larger part is therefore left to the loop:
// the recursion is at most log2(n) deep.
#pragma once

#include <cstddef>
#include <span>
#include <utility>

namespace ruvo {

// Sorts the entries with the indices first to last, both included, by ascending key, in place. The
// indices must be inside `entries`. key(entry) gives an entry's key.
template <class Entry, class Key>
void Lutm_BrkClsQuickSort(std::span<Entry> entries, std::size_t first, std::size_t last, Key key)
{
    while (first < last) {
        const auto pivot = key(entries[(first + last) / 2]);
        std::size_t i = first;
        std::size_t j = last;
        for (;; ++i) {
            if (key(entries[i]) < pivot) {
                continue;
            }
            while (pivot < key(entries[j])) {
                --j;
            }
            if (j <= i) {
                break;
            }
            std::swap(entries[i], entries[j]);
            --j;
        }
        // The left part is [first, i - 1], empty if i == first; the right part is [j + 1, last].
        const std::size_t leftEnd = i > first ? i - 1 : first;
        const std::size_t rightBegin = j + 1;
        const std::size_t rightSize = rightBegin <= last ? last - rightBegin : 0;
        if (leftEnd - first < rightSize) {
            Lutm_BrkClsQuickSort(entries, first, leftEnd, key);
            first = rightBegin;
        } else {
            if (rightBegin < last) {
                Lutm_BrkClsQuickSort(entries, rightBegin, last, key);
            }
            last = leftEnd;
        }
    }
}

}  // namespace ruvo

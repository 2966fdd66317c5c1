// The sort that fixes the order of entries with equal keys.
#pragma once

#include <cstddef>
#include <span>
#include <utility>

namespace ruvo {

// Sorts entries [first, last] by ascending key, in place. The conversion's choice among equal keys
// follows their order in the sorted list, and installed profiles rely on it: the pivot, the
// comparisons and the swaps must stay exactly these. The two parts of a partition do not touch each
// other, so the larger one is sorted by the loop: the recursion is at most log2(n) deep.
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
        // The left part is [first, i - 1], empty for i = first; the right one [j + 1, last].
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

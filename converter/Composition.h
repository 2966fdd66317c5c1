// Base characters with combining marks to precomposed characters.
#pragma once

#include "CharacterTables.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace ruvo {

class Composer {
public:
    // Composes a base character and the marks behind it. False when the decomposition table does
    // not allow it. Throws std::bad_alloc.
    bool compose(const CharacterTables& tables, std::uint8_t ucDecompositionMappingSize,
                 std::span<const std::uint32_t> run, std::uint32_t& composed);

private:
    // The outcome for a base with one mark, which is nearly every run of a text.
    struct Pair {
        std::uint32_t base;
        std::uint32_t mark;
        std::uint32_t composed;
        bool composes;
    };
    bool composeSorted(const CharacterTables& tables, std::uint8_t ucDecompositionMappingSize,
                       std::span<const std::uint32_t> run, std::uint32_t& composed);

    // Pairs that were composed lately, each at the place that its code points give. A mark of 0
    // (U+0000 is none) is an unused place.
    std::array<Pair, 256> m_pairs{};
    std::vector<std::uint32_t> m_run;
};

}  // namespace ruvo

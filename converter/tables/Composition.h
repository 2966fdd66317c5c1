// Base characters with combining marks to precomposed characters.
#pragma once

#include "converter/tables/CharacterTables.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ruvo {

// A run of characters in memory that one conversion after the other uses. The end of its use gives
// back what a giant run has taken.
class RunMemory {
public:
    explicit RunMemory(std::vector<std::uint32_t>& characters) : m_characters(characters) {}
    ~RunMemory()
    {
        if (m_characters.capacity() > kKeptCharacters) {
            std::vector<std::uint32_t>().swap(m_characters);
        }
    }
    RunMemory(const RunMemory&) = delete;
    RunMemory& operator=(const RunMemory&) = delete;

private:
    static constexpr std::size_t kKeptCharacters = 1024;

    std::vector<std::uint32_t>& m_characters;
};

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
    static constexpr std::size_t kMarkPlaces = 32;
    static constexpr std::size_t kBasePlaces = 128;
    std::array<Pair, kMarkPlaces * kBasePlaces> m_pairs{};
    std::vector<std::uint32_t> m_run;
};

}  // namespace ruvo

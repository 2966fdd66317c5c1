// Base characters with combining marks to precomposed characters.
#pragma once

#include "converter/tables/CharacterTables.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ruvo {

// Guards a vector that keeps its memory from one conversion to the next: the destructor frees the
// memory if a very long run has made it larger than kKeptCharacters.
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
    // Composes `run`, a base character and at least one mark after it, to one character. False when
    // the decomposition table does not lead to one; `composed` has then no meaning.
    // ucDecompositionMappingSize is the largest number of components. One Composer serves one
    // handle: outcomes are kept, so `tables` and the size must always be the same. Throws
    // std::bad_alloc.
    bool compose(const CharacterTables& tables, std::uint8_t ucDecompositionMappingSize,
                 std::span<const std::uint32_t> run, std::uint32_t& composed);

private:
    // A base with one mark, and the outcome. Nearly every run of a text is one.
    struct Pair {
        std::uint32_t base;
        std::uint32_t mark;
        std::uint32_t composed;
        bool composes;
    };
    bool composeSorted(const CharacterTables& tables, std::uint8_t ucDecompositionMappingSize,
                       std::span<const std::uint32_t> run, std::uint32_t& composed);

    // A cache of pairs; a pair's code points give its place. A place whose mark is 0 is unused, as
    // U+0000 is no mark.
    static constexpr std::size_t kMarkPlaces = 32;
    static constexpr std::size_t kBasePlaces = 128;
    std::array<Pair, kMarkPlaces * kBasePlaces> m_pairs{};
    std::vector<std::uint32_t> m_run;
};

}  // namespace ruvo

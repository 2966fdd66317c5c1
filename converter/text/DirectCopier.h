// Copies characters that need nothing but their byte.
#pragma once

#include "converter/tables/CharacterTables.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace ruvo {

constexpr std::uint64_t everyByte(std::uint64_t byte)
{
    return byte * 0x0101010101010101;
}

inline constexpr std::ptrdiff_t kWord = sizeof(std::uint64_t);

// The first byte is the lowest, so that a carry runs towards the bytes behind it.
inline std::uint64_t load(const std::uint8_t* bytes)
{
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof word);
    return std::endian::native == std::endian::little ? word : __builtin_bswap64(word);
}

inline void store(std::uint8_t* bytes, std::uint64_t word)
{
    if constexpr (std::endian::native == std::endian::big) {
        word = __builtin_bswap64(word);
    }
    std::memcpy(bytes, &word, sizeof word);
}

// A range [begin, end) of ASCII, tested for eight bytes at a time. Of a byte outside the high bit
// is set, or adding 80 (hex) - begin does not set it, or adding 80 - end does; a carry out of such
// a byte only disturbs bytes behind it.
class AsciiRange {
public:
    AsciiRange(std::uint8_t begin, std::uint8_t end)
        : m_toBegin(everyByte(0x80u - begin)), m_toEnd(everyByte(0x80u - end))
    {
    }

    // How many bytes there are in front of the first one outside. Nearly always that one is not
    // ASCII; its place, for which the next bytes wait, comes from the high bits alone.
    std::ptrdiff_t countInside(std::uint64_t word) const
    {
        const std::uint64_t high = word & everyByte(0x80);
        const std::uint64_t outside = (~(word + m_toBegin) | (word + m_toEnd)) & everyByte(0x80);
        if ((high | outside) == 0) {
            return kWord;
        }
        const std::uint64_t inFront = outside & (high - 1) & ~high;
        if (inFront != 0) {
            [[unlikely]] return firstByte(inFront);
        }
        return firstByte(high);
    }

private:
    // The byte with the lowest bit; 8 without one.
    static std::ptrdiff_t firstByte(std::uint64_t bits)
    {
        return static_cast<std::ptrdiff_t>(static_cast<unsigned>(std::countr_zero(bits)) / 8);
    }

    std::uint64_t m_toBegin;
    std::uint64_t m_toEnd;
};

inline bool isContinuation(std::uint8_t byte)
{
    return (byte & 0xC0) == 0x80;
}

// Where the copying stands.
struct Position {
    const std::uint8_t* next;  // in the text
    std::uint8_t* out;
};

// Copies plain characters, as far as they go.
class DirectCopier {
public:
    DirectCopier(const std::uint8_t* begin, const std::uint8_t* end, const DirectTable& table)
        : m_end(end),
          m_hasWord(end - begin >= kWord),
          m_table(table),
          m_identity(table.identityBegin(), table.identityEnd())
    {
    }

    // Goes on up to a character that is not plain, or up to the end. As many bytes as there are up
    // to the end, and a word more, may be overwritten at position.out.
    void copy(Position& position) const
    {
        Position at = position;
        do {
            copyIdentity(at);
        } while (at.next < m_end && copyOthers(at));
        position = at;
    }

private:
    // Characters whose byte is their code point.
    void copyIdentity(Position& at) const
    {
        while (m_end - at.next >= kWord) {
            if (copyWord(at, load(at.next), kWord)) {
                return;
            }
        }
        // The last bytes are the upper ones of the last whole word.
        const std::ptrdiff_t left = m_end - at.next;
        if (left > 0 && m_hasWord) {
            copyWord(at, load(m_end - kWord) >> 8 * (kWord - left), left);
        }
    }

    // Copies bytes out of the first `size` ones of a word. True when one of them lies outside.
    bool copyWord(Position& at, std::uint64_t word, std::ptrdiff_t size) const
    {
        store(at.out, word);
        const std::ptrdiff_t inside = m_identity.countInside(word);
        const std::ptrdiff_t copied = std::min(inside, size);
        at.next += copied;
        at.out += copied;
        return copied < size;
    }

    // At least one other plain character, and those of two or three bytes that follow. False when
    // there is none.
    bool copyOthers(Position& at) const
    {
        do {
            std::ptrdiff_t size = 0;
            const std::uint32_t code = directCode(loadFour(at.next), size);
            if (!(code & DirectTable::kDirect)) {
                return false;
            }
            *at.out++ = static_cast<std::uint8_t>(code);
            at.next += size;
        } while (at.next < m_end && *at.next >= 0x80);
        return true;
    }

    // The next four bytes, the first one the lowest. Those behind the end are 0, which continues no
    // character.
    std::uint32_t loadFour(const std::uint8_t* next) const
    {
        std::uint32_t bytes = 0;
        const std::ptrdiff_t left = m_end - next;
        if (left >= 4) {
            std::memcpy(&bytes, next, 4);
            return std::endian::native == std::endian::little ? bytes : __builtin_bswap32(bytes);
        }
        for (std::ptrdiff_t i = 0; i < left; ++i) {
            bytes |= std::uint32_t{next[i]} << 8 * i;
        }
        return bytes;
    }

    // The table's entry for the character that the bytes begin with; 0 when it is malformed or of
    // four bytes.
    std::uint32_t directCode(std::uint32_t bytes, std::ptrdiff_t& size) const
    {
        const auto sixBits = [&](int shift) { return bytes >> shift & 0x3F; };
        if ((bytes & 0xC0E0) == 0x80C0) {
            size = 2;
            return m_table.front((bytes & 0x1F) << 6 | sixBits(8));
        }
        if ((bytes & 0xC0C0F0) == 0x8080E0) {
            size = 3;
            return m_table[(bytes & 0x0F) << 12 | sixBits(8) << 6 | sixBits(16)];
        }
        size = 1;
        return bytes & 0x80 ? 0 : m_table.front(bytes & 0x7F);
    }

    const std::uint8_t* m_end;
    bool m_hasWord;
    const DirectTable& m_table;
    AsciiRange m_identity;
};

}  // namespace ruvo

// Copies direct characters (see DirectTable), eight bytes at a time where the text is ASCII.
//
// In a table's identity range (usually 20..7E hex) a character's byte is its code point. There a
// word of eight bytes is stored as it is, and the copier advances by the bytes before the first one
// outside the range; those stored too many are overwritten next. To find that byte, all eight are
// compared at once: a byte b below 80 (hex) has its high bit set in b + (80 - begin) exactly when
// b >= begin, and in b + (80 - end) exactly when b >= end. For the range [20, 7F) and the bytes
// 41 0A 62 C3...:
//
//   word                 41 0A 62 C3 ...
//   + 60 in each byte    A1 6A C2 ...      0A is below 20: high bit 0
//   + 01 in each byte    42 0B 63 ...      none is 7F
//   outside              00 80 00 80 ...   the first one is byte 1: one byte is copied
//
// Why a carry does no harm: a sum of two bytes overflows only if b is 80 or more. Such a byte is
// outside anyway, and the carry goes into the byte after it, as the first byte is the lowest; only
// the first byte outside counts. All other characters are decoded and looked up one by one.
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

// The first byte becomes the lowest one of the word.
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

// A range [begin, end) of ASCII bytes, both 0..80 (hex), against which eight bytes are tested.
class AsciiRange {
public:
    AsciiRange(std::uint8_t begin, std::uint8_t end)
        : m_toBegin(everyByte(0x80u - begin)), m_toEnd(everyByte(0x80u - end))
    {
    }

    // The number of bytes before the first one outside the range, 0..8. That byte is nearly always
    // not ASCII; its place then comes from `high`, which is ready before `outside` is.
    std::ptrdiff_t countInside(std::uint64_t word) const
    {
        const std::uint64_t high = word & everyByte(0x80);
        const std::uint64_t outside = (~(word + m_toBegin) | (word + m_toEnd)) & everyByte(0x80);
        if ((high | outside) == 0) {
            return kWord;
        }
        const std::uint64_t beforeHigh = outside & (high - 1) & ~high;
        if (beforeHigh != 0) {
            [[unlikely]] return firstByte(beforeHigh);
        }
        return firstByte(high);
    }

private:
    // The number of the lowest byte that has a bit set; 8 if `bits` is 0.
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

struct Position {
    const std::uint8_t* next;  // the next byte of the text
    std::uint8_t* out;         // where the next byte of the output goes
};

class DirectCopier {
public:
    // Copies out of the text from `begin` to `end`; the text and the table are the caller's and
    // must outlive the copier.
    DirectCopier(const std::uint8_t* begin, const std::uint8_t* end, const DirectTable& table)
        : m_end(end),
          m_hasWord(end - begin >= kWord),
          m_table(table),
          m_identity(table.identityBegin(), table.identityEnd())
    {
    }

    // Copies up to the first character that is not direct, or to the end, and moves both pointers.
    // At position.out there must be memory for the rest of the text and a word more.
    void copy(Position& position) const
    {
        Position at = position;
        do {
            copyIdentity(at);
        } while (at.next < m_end && copyOthers(at));
        position = at;
    }

private:
    // Copies characters of the identity range.
    void copyIdentity(Position& at) const
    {
        while (m_end - at.next >= kWord) {
            if (copyWord(at, load(at.next), kWord)) {
                return;
            }
        }
        // Fewer than eight bytes are left: they are the upper ones of the text's last word.
        const std::ptrdiff_t left = m_end - at.next;
        if (left > 0 && m_hasWord) {
            copyWord(at, load(m_end - kWord) >> 8 * (kWord - left), left);
        }
    }

    // Copies the first `size` bytes of a word, up to one outside the range. True if there is one.
    bool copyWord(Position& at, std::uint64_t word, std::ptrdiff_t size) const
    {
        store(at.out, word);
        const std::ptrdiff_t inside = m_identity.countInside(word);
        const std::ptrdiff_t copied = std::min(inside, size);
        at.next += copied;
        at.out += copied;
        return copied < size;
    }

    // Copies one direct character of any kind and those of two or three bytes that follow it. False
    // at a character that is not direct.
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

    // The next four bytes, the first one the lowest. Bytes after the end are 0, which is no
    // continuation byte.
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

    // The table's entry for the character that the bytes begin with, and its size in bytes. 0 for a
    // malformed character and for one of four bytes.
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

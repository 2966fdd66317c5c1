// Decodes input bytes to code points.
#pragma once

#include "converter/RuvoConverter.h"
#include "converter/tables/CharacterTables.h"

#include <cstddef>
#include <cstdint>

namespace ruvo {

// Given in place of a code point for input that cannot be decoded. It is above U+10FFFF.
inline constexpr std::uint32_t kInvalidMarker = 0xFFFFFFFF;

// Keeps the first warning of a call, which is the one that the call returns.
class FirstWarning {
public:
    void record(short status)
    {
        if (m_status == RUVO_OK) {
            m_status = status;
        }
    }
    short status() const { return m_status; }

private:
    short m_status = RUVO_OK;
};

// Longest texts that are converted, in bytes.
inline constexpr std::size_t kMaxUtf16Length = 0x400000;
inline constexpr std::size_t kMaxUtf8Length = 0x800000;

// Both readers give the code points of a text one by one, or kInvalidMarker for what cannot be
// decoded. peek gives the next code point, and false at the end of the text; advance moves past the
// one that peek gave. The text is the caller's and must outlive the reader.

// A text longer than kMaxUtf8Length is cut, with warning -500; malformed text gives -420. Overlong
// forms and encoded surrogates are accepted as they decode.
class Utf8Reader {
public:
    Utf8Reader(const std::uint8_t* text, std::size_t length, FirstWarning& warning);

    bool peek(std::uint32_t& codePoint)
    {
        if (m_next == m_end) {
            return false;
        }
        codePoint = decode();
        if (codePoint == kInvalidMarker) {
            m_warning.record(RUVO_MALFORMED_UTF8);
        }
        return true;
    }
    void advance() { m_next += m_size; }

    // The bytes that have not been read, for a caller that reads a block by itself and skips it.
    const std::uint8_t* begin() const { return m_next; }
    const std::uint8_t* end() const { return m_end; }
    void skipTo(const std::uint8_t* next) { m_next = next; }

private:
    std::uint32_t decode();

    const std::uint8_t* m_next;
    const std::uint8_t* m_end;
    std::size_t m_size = 0;  // of the character at m_next, in bytes
    FirstWarning& m_warning;
};

// sEncodeType is RUVO_UTF16_BY_MARK, _BIG_ENDIAN or _LITTLE_ENDIAN. The constructor exchanges the
// bytes of all little-endian units in the caller's text. A text longer than kMaxUtf16Length is cut,
// with warning -500; an odd length gives -400, an unpaired surrogate -410.
class Utf16Reader {
public:
    Utf16Reader(std::uint8_t* text, std::size_t length, std::int16_t sEncodeType,
                FirstWarning& warning);

    bool peek(std::uint32_t& codePoint);
    void advance() { --m_pending; }

private:
    enum class State { idle, high, low };

    void readUnit();

    const std::uint8_t* m_next;
    const std::uint8_t* m_end;  // end of the last whole unit
    bool m_loneByte;            // one byte follows m_end; it becomes an invalid character
    State m_state = State::idle;
    std::uint32_t m_highSurrogate = 0;
    // The number of characters that have been read but not given, 0..2. The last of them is
    // m_codePoint; one before it is invalid.
    int m_pending = 0;
    std::uint32_t m_codePoint = 0;
    FirstWarning& m_warning;
};

inline std::uint32_t Utf8Reader::decode()
{
    const std::uint8_t* const text = m_next;
    const auto available = static_cast<std::size_t>(m_end - m_next);
    const auto continuation = [&](std::size_t i) {
        return i < available && (text[i] & 0xC0) == 0x80;
    };
    const auto bits = [&](std::size_t i, int shift) {
        return static_cast<std::uint32_t>(text[i] & 0x3F) << shift;
    };
    const std::uint32_t lead = text[0];
    m_size = 1;
    if (lead < 0x80) {
        return lead;
    }
    if ((lead & 0xE0) == 0xC0 && continuation(1)) {
        m_size = 2;
        return (lead & 0x1F) << 6 | bits(1, 0);
    }
    if ((lead & 0xF0) == 0xE0 && continuation(1) && continuation(2)) {
        m_size = 3;
        return (lead & 0x0F) << 12 | bits(1, 6) | bits(2, 0);
    }
    if ((lead & 0xF8) == 0xF0 && continuation(1) && continuation(2) && continuation(3)) {
        m_size = 4;
        const std::uint32_t codePoint = (lead & 0x07) << 18 | bits(1, 12) | bits(2, 6) | bits(3, 0);
        return codePoint <= kMaxCodePoint ? codePoint : kInvalidMarker;
    }
    return kInvalidMarker;
}

}  // namespace ruvo

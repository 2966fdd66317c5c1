#include "converter/text/Decoding.h"

#include <utility>

namespace ruvo {

namespace {

std::size_t cutAt(std::size_t limit, std::size_t length, FirstWarning& warning)
{
    if (length <= limit) {
        return length;
    }
    warning.record(RUVO_INPUT_TOO_LONG);
    return limit;
}

bool startsWithMark(const std::uint8_t* text, std::size_t length, std::uint8_t first,
                    std::uint8_t second)
{
    return length >= 2 && text[0] == first && text[1] == second;
}

}  // namespace

Utf8Reader::Utf8Reader(const std::uint8_t* text, std::size_t length, FirstWarning& warning)
    : m_next(text), m_end(text + cutAt(kMaxUtf8Length, length, warning)), m_warning(warning)
{
}

Utf16Reader::Utf16Reader(std::uint8_t* text, std::size_t length, std::int16_t sEncodeType,
                         FirstWarning& warning)
    : m_warning(warning)
{
    if (length % 2 != 0) {
        warning.record(RUVO_ODD_LENGTH);
    }
    // A cut text has no lone byte, as the limit is even.
    length = cutAt(kMaxUtf16Length, length, warning);
    m_loneByte = length % 2 != 0;
    length -= length % 2;

    bool littleEndian = sEncodeType == RUVO_UTF16_LITTLE_ENDIAN;
    std::size_t start = 0;
    if (sEncodeType == RUVO_UTF16_BY_MARK) {
        littleEndian = startsWithMark(text, length, 0xFF, 0xFE);
        if (littleEndian || startsWithMark(text, length, 0xFE, 0xFF)) {
            start = 2;
        }
    }
    if (littleEndian) {
        for (std::size_t i = start; i < length; i += 2) {
            std::swap(text[i], text[i + 1]);
        }
    }
    m_next = text + start;
    m_end = text + length;
}

bool Utf16Reader::peek(std::uint32_t& codePoint)
{
    while (m_pending == 0) {
        if (m_next != m_end) {
            readUnit();
        } else if (m_loneByte) {
            m_loneByte = false;
            m_codePoint = kInvalidMarker;
            m_pending = 1;
        } else {
            return false;
        }
    }
    codePoint = m_pending > 1 ? kInvalidMarker : m_codePoint;
    return true;
}

// Reads a unit and pairs surrogates. What a unit gives, by the surrogate that is kept (m_state) and
// by the unit:
//
//   kept      no surrogate         low surrogate       high surrogate
//   nothing   the unit             keep it *           keep it *
//   high      invalid, the unit    the pair            invalid, invalid
//   low       invalid, the unit    invalid, invalid    invalid, invalid
//
// * The last unit of the text is not kept but invalid. Nothing is kept in all other cases, so a
// high surrogate after a kept one starts no new pair.
void Utf16Reader::readUnit()
{
    const auto unit = static_cast<std::uint32_t>(m_next[0] << 8 | m_next[1]);
    m_next += 2;
    const bool last = m_next == m_end;
    const bool high = unit >= 0xD800 && unit <= 0xDBFF;
    const bool low = unit >= 0xDC00 && unit <= 0xDFFF;
    const State kept = std::exchange(m_state, State::idle);
    m_pending = 1;
    if (!high && !low) {
        m_codePoint = unit;
        m_pending = kept == State::idle ? 1 : 2;
    } else if (low && kept == State::high) {
        m_codePoint = ((m_highSurrogate - 0xD800) << 10) + (unit - 0xDC00) + 0x10000;
    } else if (kept != State::idle) {
        m_codePoint = kInvalidMarker;
        m_pending = 2;
    } else if (last) {
        m_codePoint = kInvalidMarker;
    } else {
        m_state = high ? State::high : State::low;
        m_highSurrogate = unit;
        m_pending = 0;
    }
    if (m_pending == 2 || (m_pending == 1 && m_codePoint == kInvalidMarker)) {
        m_warning.record(RUVO_UNPAIRED_SURROGATE);
    }
}

}  // namespace ruvo

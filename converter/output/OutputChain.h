// A handle's output chains: one of character codes, and two of the switches between them.
//
// By contract a chain consists of at most "OutputBufferBlockMax" blocks of "OutputBufferBlockSize"
// bytes. The blocks are not allocated as such: their numbers only decide when a chain is full, and
// where the raw form of a switch chain has gaps.
#pragma once

#include "converter/RuvoConverter.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace ruvo {

struct BlockLimits {
    std::uint32_t ulOutputBufferBlockSize;
    std::uint8_t ucOutputBufferBlockMax;
};

// One byte for each displayed character.
class CharCodeChain {
public:
    explicit CharCodeChain(BlockLimits limits);

    // Bytes that may still be appended.
    std::size_t room() const { return m_limit - m_size; }

    // Makes memory for `count` more bytes, or for room() if that is less. Throws std::bad_alloc.
    void reserve(std::size_t count)
    {
        const std::size_t needed = m_size + std::min(count, room());
        if (needed > m_capacity) {
            makeRoom(needed);
        }
    }

    // Appends a byte, for which reserve has made memory. Returns 0, or -510 when the chain is full.
    short Lutm_SetDataCharCode(std::uint8_t byte)
    {
        if (room() == 0) {
            return RUVO_OUTPUT_FULL;
        }
        m_bytes[m_size++] = byte;
        return RUVO_OK;
    }

    // For a caller that writes bytes by itself: end() is where they go, grow() makes `count` of
    // them part of the chain. It may overwrite what reserve has made and kSlack bytes more.
    static constexpr std::size_t kSlack = 8;
    std::uint8_t* end() { return m_bytes.get() + m_size; }
    void grow(std::size_t count) { m_size += count; }

    // Good until the next reserve or reset.
    std::span<const std::uint8_t> bytes() const { return {m_bytes.get(), m_size}; }
    void reset()
    {
        m_size = 0;
        if (m_capacity > m_keptCapacity) {
            release();
        }
    }

private:
    void makeRoom(std::size_t needed);
    void release();

    std::size_t m_limit;
    std::size_t m_keptCapacity;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
    std::unique_ptr<std::uint8_t[]> m_bytes;
};

// A command that is sent before the character byte with the index `position` in the chain.
struct SwitchRecord {
    std::uint32_t position;
    std::uint8_t parameter;  // of the command: the number of the table or set
};

// Switch records in the order of their positions. In the raw form a record has 5 bytes and lies
// inside one block; if the block size is no multiple of 5, zeros fill the rest of each full block.
class SwitchChain {
public:
    explicit SwitchChain(BlockLimits limits);

    // Records that may still be appended.
    std::size_t room() const { return m_limit - m_records.size(); }

    // Announces that a text adds at most `count` records. No memory is made yet.
    void expect(std::size_t count) { m_expected = m_records.size() + count; }

    // Appends a record. Returns 0, or -510 when the chain is full. Throws std::bad_alloc; the chain
    // is then unchanged.
    short Lutm_SetDataCharCmd(SwitchRecord record)
    {
        if (room() == 0) {
            return RUVO_OUTPUT_FULL;
        }
        if (m_records.size() == m_records.capacity()) {
            makeRoom();
        }
        m_records.push_back(record);
        return RUVO_OK;
    }

    std::span<const SwitchRecord> records() const { return m_records; }

    // The length of the raw form in bytes, and a copy of it. A record is
    //
    //   | 0 | 1 | 2 | 3 |     4     |
    //   |   position    | parameter |      position: little-endian
    std::size_t byteLength() const;
    void copyTo(std::uint8_t* destination) const;

    void reset()
    {
        m_records.clear();
        if (m_records.capacity() > kKeptRecords) {
            m_records.shrink_to_fit();
        }
    }

private:
    // The memory that an empty chain keeps, in records, so that small conversions need not
    // allocate.
    static constexpr std::size_t kKeptRecords = 8 * 1024;

    void makeRoom();

    std::size_t m_blockSize;
    std::size_t m_recordsPerBlock;
    std::size_t m_limit;         // in records
    std::size_t m_expected = 0;  // most records after the announced text
    std::vector<SwitchRecord> m_records;
};

// The output of a handle.
struct OutputChains {
    explicit OutputChains(BlockLimits limits)
        : stCharCodeOut(limits), stTableInfoOut(limits), stISetInfoOut(limits)
    {
    }

    CharCodeChain stCharCodeOut;
    SwitchChain stTableInfoOut;  // of code tables
    SwitchChain stISetInfoOut;   // of internal character sets

    void reset()
    {
        stCharCodeOut.reset();
        stTableInfoOut.reset();
        stISetInfoOut.reset();
    }
};

}  // namespace ruvo

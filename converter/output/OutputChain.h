// A handle's output chains: the character codes, and the switches between them.
//
// By contract the output stands in blocks of "OutputBufferBlockSize" bytes, at most
// "OutputBufferBlockMax" of them a chain. The blocks are counted, not allocated: they decide when a
// chain is full and where the raw form of a switch chain has gaps, and cost nothing by themselves.
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

    // Appends a byte for which reserve has made memory. 0, or -510 when the chain is full.
    short Lutm_SetDataCharCode(std::uint8_t byte)
    {
        if (room() == 0) {
            return RUVO_OUTPUT_FULL;
        }
        m_bytes[m_size++] = byte;
        return RUVO_OK;
    }

    // Where the next bytes go, and how many have been put there, for which reserve has made memory.
    // kSlack bytes behind that memory may be overwritten.
    static constexpr std::size_t kSlack = 8;
    std::uint8_t* end() { return m_bytes.get() + m_size; }
    void grow(std::size_t count) { m_size += count; }

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

// The command takes effect in front of the character byte at `position`, counted from the last
// reset of the chains.
struct SwitchRecord {
    std::uint32_t position;
    std::uint8_t parameter;
};

// Switch records. In the raw form a record takes 5 bytes and never spans two blocks; zeros fill up
// a full block when its size is no multiple of 5.
class SwitchChain {
public:
    explicit SwitchChain(BlockLimits limits);

    // Records that may still be appended.
    std::size_t room() const { return m_limit - m_records.size(); }

    // The most records that the text at hand can add; memory for them is made in one go, once it
    // turns out that it needs more than there is.
    void expect(std::size_t count) { m_expected = m_records.size() + count; }

    // 0, or -510 when the chain is full. Throws std::bad_alloc and then is as it was.
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

    // The raw form: its length, and the form itself. A record is
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
    // Memory that an empty chain keeps, so that a stream of small conversions never allocates.
    static constexpr std::size_t kKeptRecords = 8 * 1024;

    void makeRoom();

    std::size_t m_blockSize;
    std::size_t m_recordsPerBlock;
    std::size_t m_limit;  // in records
    std::size_t m_expected = 0;
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

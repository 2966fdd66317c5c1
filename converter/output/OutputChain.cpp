#include "converter/output/OutputChain.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace ruvo {

namespace {

constexpr std::size_t kRecordSize = 5;

// A chain of this length is full, as positions have 32 bits.
constexpr std::size_t kMaxCharacters = std::numeric_limits<std::uint32_t>::max();

// The memory that an empty chain keeps, so that small conversions need not allocate.
constexpr std::size_t kKeptBytes = 64 * 1024;

}  // namespace

CharCodeChain::CharCodeChain(BlockLimits limits)
    : m_limit(std::min(std::size_t{limits.ulOutputBufferBlockSize} * limits.ucOutputBufferBlockMax,
                       kMaxCharacters)),
      m_keptCapacity(std::max(kKeptBytes, std::size_t{limits.ulOutputBufferBlockSize}))
{
}

void CharCodeChain::makeRoom(std::size_t needed)
{
    const std::size_t capacity = std::max({needed, std::min(2 * m_capacity, m_limit)});
    auto bytes = std::make_unique_for_overwrite<std::uint8_t[]>(capacity + kSlack);
    if (m_size > 0) {
        std::memcpy(bytes.get(), m_bytes.get(), m_size);
    }
    m_bytes = std::move(bytes);
    m_capacity = capacity;
}

void CharCodeChain::release()
{
    m_bytes.reset();
    m_capacity = 0;
}

SwitchChain::SwitchChain(BlockLimits limits)
    : m_blockSize(limits.ulOutputBufferBlockSize),
      m_recordsPerBlock(m_blockSize / kRecordSize),
      m_limit(m_recordsPerBlock * limits.ucOutputBufferBlockMax)
{
}

// Grows geometrically up to kKeptRecords; beyond that it reserves the expected maximum at once.
void SwitchChain::makeRoom()
{
    const std::size_t size = m_records.size();
    const std::size_t more = std::max<std::size_t>(4 * size, 64);
    m_records.reserve(
        std::min(m_expected > kKeptRecords ? std::max(m_expected, more) : more, m_limit));
}

std::size_t SwitchChain::byteLength() const
{
    if (m_records.empty()) {
        return 0;
    }
    const std::size_t fullBlocks = (m_records.size() - 1) / m_recordsPerBlock;
    const std::size_t inLastBlock = m_records.size() - fullBlocks * m_recordsPerBlock;
    return fullBlocks * m_blockSize + inLastBlock * kRecordSize;
}

void SwitchChain::copyTo(std::uint8_t* destination) const
{
    const std::size_t gap = m_blockSize - m_recordsPerBlock * kRecordSize;
    std::size_t inBlock = 0;
    for (const SwitchRecord& record : m_records) {
        if (inBlock == m_recordsPerBlock) {
            std::memset(destination, 0, gap);
            destination += gap;
            inBlock = 0;
        }
        for (int shift = 0; shift < 32; shift += 8) {
            *destination++ = static_cast<std::uint8_t>(record.position >> shift & 0xFF);
        }
        *destination++ = record.parameter;
        ++inBlock;
    }
}

}  // namespace ruvo

#include "converter/output/OutputRetrieval.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>

namespace ruvo {

namespace {

constexpr std::size_t kSwitchLength = 3;  // ESC t n or ESC R n
constexpr std::uint8_t kSelectTable = 0x74;
constexpr std::uint8_t kSelectSet = 0x52;

// The position of a cursor after its last record; no character has it.
constexpr std::size_t kNoPosition = SIZE_MAX;

// Walks the records of a switch chain.
class RecordCursor {
public:
    RecordCursor(const SwitchChain& chain, std::uint8_t command)
        : m_records(chain.records()), m_command(command)
    {
    }

    std::size_t position() const
    {
        return m_records.empty() ? kNoPosition : m_records.front().position;
    }

    // Writes the command of the next record if the record is for `position`, and moves on. Returns
    // the end of what is written.
    std::uint8_t* writeAt(std::size_t position, std::uint8_t* destination)
    {
        if (this->position() != position) {
            return destination;
        }
        destination[0] = 0x1B;
        destination[1] = m_command;
        destination[2] = m_records.front().parameter;
        m_records = m_records.subspan(1);
        return destination + kSwitchLength;
    }

private:
    std::span<const SwitchRecord> m_records;
    std::uint8_t m_command;
};

// The length of the merged output, in bytes.
std::size_t mergedLength(const OutputChains& output)
{
    const std::size_t records =
        output.stTableInfoOut.records().size() + output.stISetInfoOut.records().size();
    return output.stCharCodeOut.bytes().size() + kSwitchLength * records;
}

// Writes the merged output, mergedLength bytes: the character codes, with ESC t n before a
// character of another table and ESC R n before and after a character of an internal set.
void Lutm_copyOutputData(const OutputChains& output, std::uint8_t* destination)
{
    const std::span<const std::uint8_t> characters = output.stCharCodeOut.bytes();
    RecordCursor tables(output.stTableInfoOut, kSelectTable);
    RecordCursor sets(output.stISetInfoOut, kSelectSet);
    std::size_t k = 0;
    for (;;) {
        // The set of the character before is closed first, then the table and the set of the next
        // character are selected. Only position 0 has no character before it.
        if (k > 0) {
            destination = sets.writeAt(k, destination);
        }
        destination = tables.writeAt(k, destination);
        destination = sets.writeAt(k, destination);
        if (k == characters.size()) {
            return;
        }
        // The characters up to the next switch go out as a block.
        const std::size_t stop = std::min({tables.position(), sets.position(), characters.size()});
        std::memcpy(destination, characters.data() + k, stop - k);
        destination += stop - k;
        k = stop;
    }
}

}  // namespace

short getOutputData(OutputChains& output, unsigned char* pucPrintData, unsigned long* pulLength)
{
    if ((pucPrintData == nullptr) && *pulLength != 0) {
        return RUVO_INVALID_ARGUMENT;
    }
    const unsigned long required = mergedLength(output);
    if (required == 0) {
        *pulLength = 0;
        return RUVO_OK;
    }
    if (required > *pulLength) {
        *pulLength = required;
        return RUVO_BUFFER_TOO_SMALL;
    }
    *pulLength = required;
    Lutm_copyOutputData(output, pucPrintData);
    output.reset();
    return RUVO_OK;
}

short getRawData(OutputChains& output, unsigned char* const (&buffers)[3],
                 unsigned long* const (&lengths)[3])
{
    for (int i = 0; i < 3; ++i) {
        if (lengths[i] == nullptr) {
            return RUVO_INVALID_ARGUMENT;
        }
    }
    const std::span<const std::uint8_t> characters = output.stCharCodeOut.bytes();
    unsigned long required[3] = {characters.size(), output.stTableInfoOut.byteLength(),
                                 output.stISetInfoOut.byteLength()};
    bool fits = true;
    for (int i = 0; i < 3; ++i) {
        if ((buffers[i] == nullptr) && *lengths[i] != 0) {
            return RUVO_INVALID_ARGUMENT;
        }
        fits = fits && required[i] <= *lengths[i];
    }
    const bool empty = required[0] == 0 || required[1] == 0;
    for (int i = 0; i < 3; ++i) {
        *lengths[i] = empty ? 0 : required[i];
    }
    if (empty) {
        return RUVO_OK;
    }
    if (!fits) {
        return RUVO_BUFFER_TOO_SMALL;
    }
    std::memcpy(buffers[0], characters.data(), characters.size());
    output.stTableInfoOut.copyTo(buffers[1]);
    output.stISetInfoOut.copyTo(buffers[2]);
    output.reset();
    return RUVO_OK;
}

}  // namespace ruvo

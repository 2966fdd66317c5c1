#include "OutputRetrieval.h"

#include <algorithm>
#include <cstring>

namespace ruvo {

namespace {

constexpr std::uint8_t kSelectTable = 0x74;  // ESC t n
constexpr std::uint8_t kSelectSet = 0x52;    // ESC R n

// Behind the last record stands one at a position that no text has.
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

    // Writes the switch command of the record when it stands at the position.
    std::uint8_t* writeAt(std::size_t position, std::uint8_t* destination)
    {
        if (this->position() != position)
            return destination;
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

}  // namespace

void Lutm_copyOutputData(const HandleLink& handle, std::uint8_t* destination)
{
    const std::span<const std::uint8_t> characters = handle.stCharCodeOut.bytes();
    RecordCursor tables(handle.stTableInfoOut, kSelectTable);
    RecordCursor sets(handle.stISetInfoOut, kSelectSet);
    std::size_t k = 0;
    for (;;) {
        // Of two set records at one position the first closes the set of the character before.
        // Behind a character, a set record comes before the table record.
        if (k > 0)
            destination = sets.writeAt(k, destination);
        destination = tables.writeAt(k, destination);
        destination = sets.writeAt(k, destination);
        if (k == characters.size())
            return;
        // The characters up to the next switch go out as a block.
        const std::size_t stop = std::min({tables.position(), sets.position(), characters.size()});
        std::memcpy(destination, characters.data() + k, stop - k);
        destination += stop - k;
        k = stop;
    }
}

}  // namespace ruvo

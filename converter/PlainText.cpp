#include "PlainText.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace ruvo {

namespace {

constexpr std::uint64_t everyByte(std::uint64_t byte)
{
    return byte * 0x0101010101010101;
}

// Copies bytes that lie in a range [begin, end) of ASCII, eight or more at a time. Of a byte
// outside the high bit is set, or adding 80 (hex) - begin does not set it, or adding 80 - end does;
// a carry out of such a byte only disturbs bytes behind it.
class RangeCopier {
public:
    RangeCopier(std::uint8_t begin, std::uint8_t end)
        : m_toBegin(everyByte(0x80u - begin)), m_toEnd(everyByte(0x80u - end))
    {
    }

    // Copies from `next` up to a byte outside, or until fewer than eight bytes are left, and
    // returns how many. As many bytes as there are up to `end` may be overwritten at `out`.
    std::ptrdiff_t copy(const std::uint8_t* next, const std::uint8_t* end, std::uint8_t* out) const
    {
        const std::uint8_t* const begin = next;
        while (end - next >= kWord) {
            const std::uint64_t outside = outsideBits(load(next));
            std::memcpy(out, next, kWord);
            if (outside != 0)
                return next - begin + std::countr_zero(outside) / 8;
            next += kWord;
            out += kWord;
            for (; end - next >= kBlock && holdsBlock(next); next += kBlock, out += kBlock)
                std::memcpy(out, next, kBlock);
        }
        return next - begin;
    }

private:
    static constexpr std::ptrdiff_t kWord = sizeof(std::uint64_t);
    static constexpr std::ptrdiff_t kBlock = 8 * kWord;

    // The first byte is the lowest, so that a carry runs towards the bytes behind it.
    static std::uint64_t load(const std::uint8_t* bytes)
    {
        std::uint64_t word;
        std::memcpy(&word, bytes, sizeof word);
        return std::endian::native == std::endian::little ? word : __builtin_bswap64(word);
    }

    std::uint64_t outsideBits(std::uint64_t word) const
    {
        return (word | ~(word + m_toBegin) | (word + m_toEnd)) & everyByte(0x80);
    }

    bool holdsBlock(const std::uint8_t* next) const
    {
        std::uint64_t outside = 0;
        for (std::ptrdiff_t i = 0; i < kBlock; i += kWord)
            outside |= outsideBits(load(next + i));
        return outside == 0;
    }

    std::uint64_t m_toBegin;
    std::uint64_t m_toEnd;
};

bool isContinuation(std::uint8_t byte)
{
    return (byte & 0xC0) == 0x80;
}

// Where the copying stands.
struct Position {
    const std::uint8_t* next;  // in the text
    std::uint8_t* out;
};

// Copies plain characters up to one that is not, or up to the end.
void copyPlain(Position& position, const std::uint8_t* end, const PlainTable& table)
{
    const RangeCopier identity(table.identityBegin(), table.identityEnd());
    const std::uint8_t* next = position.next;
    std::uint8_t* out = position.out;
    while (next < end) {
        const std::uint32_t lead = next[0];
        std::uint32_t code = 0;
        std::ptrdiff_t size = 1;
        if (lead < 0x80) {
            const std::ptrdiff_t copied = identity.copy(next, end, out);
            next += copied;
            out += copied;
            if (copied > 0)
                continue;
            code = table.front(lead);
        } else if (lead < 0xE0) {
            if (lead >= 0xC0 && end - next >= 2 && isContinuation(next[1]))
                code = table.front((lead & 0x1F) << 6 | (next[1] & 0x3Fu));
            size = 2;
        } else if (lead < 0xF0) {
            if (end - next >= 3 && isContinuation(next[1]) && isContinuation(next[2]))
                code = table[(lead & 0x0F) << 12 | (next[1] & 0x3Fu) << 6 | (next[2] & 0x3Fu)];
            size = 3;
        }
        if (!(code & PlainTable::kPlain))
            break;
        *out++ = static_cast<std::uint8_t>(code);
        next += size;
    }
    position = {next, out};
}

// A mark takes the base in front of it along. Where one stands next, composes the two into a plain
// character, or leaves both. False when the copying ends here.
bool composeLast(Position& position, Utf8Reader& reader, HandleLink& handle,
                 const PlainTable& table)
{
    const CodePointTable& unicodeTable = handle.tables.unicodeTable;
    const auto nextIsMark = [&](std::uint32_t& codePoint) {
        return reader.peek(codePoint) && codePoint != kInvalidMarker &&
               unicodeTable[codePoint].combiningMark;
    };
    std::uint32_t run[2];
    std::uint32_t behind = 0;
    reader.skipTo(position.next);
    if (!nextIsMark(run[1]))
        return false;
    reader.advance();
    const std::uint8_t* const behindMark = reader.begin();
    const bool pair = !nextIsMark(behind);

    const std::uint8_t* base = position.next;
    do
        --base;
    while (isContinuation(*base));
    reader.skipTo(base);
    reader.peek(run[0]);
    std::uint32_t composed = 0;
    std::uint16_t code = 0;
    if (pair &&
        handle.composer.compose(handle.tables, handle.settings.ucDecompositionMappingSize, run,
                                composed) &&
        composed <= PlainTable::kLast)
        code = table[composed];
    if (!(code & PlainTable::kPlain)) {
        position = {base, position.out - 1};
        return false;
    }
    position.out[-1] = static_cast<std::uint8_t>(code);
    position.next = behindMark;
    return true;
}

}  // namespace

void appendPlainText(Utf8Reader& reader, HandleLink& handle)
{
    CharCodeChain& characters = handle.stCharCodeOut;
    HandleSettings& settings = handle.settings;
    const std::uint8_t tableInForce = settings.tableInForce();
    const PlainTable* const table = handle.tables.unicodeTable.plainTable(tableInForce);
    const bool select = characters.bytes().empty() || tableInForce != settings.ucCurrentTable;
    if (!table || (select && handle.stTableInfoOut.full()))
        return;

    const std::uint8_t* const begin = reader.begin();
    // A character takes at least one byte of the text, so the output has room for these. A mark may
    // lie behind their end.
    const std::uint8_t* const end =
        begin + std::min(static_cast<std::size_t>(reader.end() - begin), characters.room());
    Position position{begin, characters.end()};
    do
        copyPlain(position, end, *table);
    while (position.out != characters.end() && composeLast(position, reader, handle, *table));
    reader.skipTo(position.next);
    if (position.out == characters.end())
        return;

    if (select) {
        handle.stTableInfoOut.append(
            {static_cast<std::uint32_t>(characters.bytes().size()), tableInForce});
        settings.ucCurrentTable = tableInForce;
    }
    characters.grow(static_cast<std::size_t>(position.out - characters.end()));
}

}  // namespace ruvo

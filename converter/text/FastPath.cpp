#include "converter/text/FastPath.h"

#include "converter/text/DirectCopier.h"

#include <algorithm>

namespace ruvo {

namespace {

class FastPath {
public:
    FastPath(Utf8Reader& reader, HandleLink& handle, const DirectTable& table)
        : m_reader(reader),
          m_handle(handle),
          m_characters(handle.output.stCharCodeOut),
          m_table(table),
          m_tableInForce(handle.settings.tableInForce()),
          // A character takes at least one byte of the text, so the output has room for these. A
          // mark may lie behind their end.
          m_end(reader.begin() + std::min(static_cast<std::size_t>(reader.end() - reader.begin()),
                                          m_characters.room())),
          m_at{reader.begin(), m_characters.end()}
    {
    }

    void append()
    {
        if (selectsTable() && m_handle.output.stTableInfoOut.room() == 0) {
            return;
        }
        const DirectCopier copier(m_at.next, m_end, m_table);
        do {
            copier.copy(m_at);
        } while (m_at.next != m_reader.end() && (appendSetCharacter() || composeLast()));
        m_reader.skipTo(m_at.next);
        commit();
    }

private:
    bool selectsTable() const
    {
        return m_characters.bytes().empty() || m_tableInForce != m_handle.settings.ucCurrentTable;
    }

    bool anyCopied() const { return m_at.out != m_characters.end(); }

    // Makes the copied characters part of the output.
    void commit()
    {
        if (!anyCopied()) {
            return;
        }
        if (selectsTable()) {
            m_handle.output.stTableInfoOut.Lutm_SetDataCharCmd(
                {static_cast<std::uint32_t>(m_characters.bytes().size()), m_tableInForce});
            m_handle.settings.ucCurrentTable = m_tableInForce;
        }
        m_characters.grow(static_cast<std::size_t>(m_at.out - m_characters.end()));
    }

    // Appends a character of an internal set where no mark can follow: in front of a plain
    // character of ASCII, or at the end of the text. False when there is none.
    bool appendSetCharacter()
    {
        std::uint32_t codePoint = 0;
        m_reader.skipTo(m_at.next);
        if (m_at.next >= m_end || !m_reader.peek(codePoint) || codePoint == kInvalidMarker) {
            return false;
        }
        const CodePointTable& unicodeTable = m_handle.tables.unicodeTable;
        const UnicodeCharInfo& info = unicodeTable[codePoint];
        if (!info.ucICSFlag || info.combiningMark || (!anyCopied() && selectsTable()) ||
            m_handle.output.stISetInfoOut.room() < 2) {
            return false;
        }
        m_reader.advance();
        const std::uint8_t* const next = m_reader.begin();
        if (next != m_reader.end() &&
            (*next >= 0x80 || !(m_table.front(*next) & DirectTable::kDirect))) {
            return false;
        }

        commit();
        const auto position = static_cast<std::uint32_t>(m_characters.bytes().size());
        const CharMapping mapping = unicodeTable.icsMapping(info);
        m_characters.Lutm_SetDataCharCode(mapping.ucCode);
        m_handle.output.stISetInfoOut.Lutm_SetDataCharCmd({position, mapping.ucTableParam});
        m_handle.output.stISetInfoOut.Lutm_SetDataCharCmd(
            {position + 1, m_handle.settings.ucICSCommandDefault});
        m_at = {next, m_characters.end()};
        return true;
    }

    // A mark takes the base in front of it along. Where one stands next, composes the two into a
    // plain character, or leaves both. False when the copying ends here.
    bool composeLast()
    {
        std::uint32_t run[2];
        std::uint32_t behind = 0;
        m_reader.skipTo(m_at.next);
        if (!anyCopied() || !nextIsMark(run[1])) {
            return false;
        }
        m_reader.advance();
        const std::uint8_t* const behindMark = m_reader.begin();
        const bool pair = !nextIsMark(behind);

        const std::uint8_t* base = m_at.next;
        do {
            --base;
        } while (isContinuation(*base));
        m_reader.skipTo(base);
        m_reader.peek(run[0]);
        std::uint32_t composed = 0;
        std::uint16_t code = 0;
        if (pair &&
            m_handle.composer.compose(m_handle.tables, m_handle.settings.ucDecompositionMappingSize,
                                      run, composed) &&
            composed <= DirectTable::kLast) {
            code = m_table[composed];
        }
        if (!(code & DirectTable::kDirect)) {
            m_at = {base, m_at.out - 1};
            return false;
        }
        m_at.out[-1] = static_cast<std::uint8_t>(code);
        m_at.next = behindMark;
        return true;
    }

    bool nextIsMark(std::uint32_t& codePoint)
    {
        return m_reader.peek(codePoint) && codePoint != kInvalidMarker &&
               m_handle.tables.unicodeTable[codePoint].combiningMark;
    }

    Utf8Reader& m_reader;
    HandleLink& m_handle;
    CharCodeChain& m_characters;
    const DirectTable& m_table;
    const std::uint8_t m_tableInForce;
    const std::uint8_t* const m_end;
    Position m_at;
};

}  // namespace

void appendByFastPath(Utf8Reader& reader, HandleLink& handle)
{
    const DirectTable* const table =
        handle.tables.unicodeTable.directTable(handle.settings.tableInForce());
    if (table != nullptr) {
        FastPath(reader, handle, *table).append();
    }
}

}  // namespace ruvo

// Most of a text is direct characters of one table: each is one byte of output, whatever precedes
// it. DirectCopier copies a stretch of them into the memory after the chain's end, where they are
// not yet part of the output; then commit() adds the stretch, with a table selection if one is due.
// Only a mark looks back: it belongs to the character before it. For the text
//
//   41 62 65 CC 81 C2 A5 63      A b e U+0301 U+00A5 c
//
// with U+00E9 = 82 (hex) in the table and U+00A5 = 5C in the set with parameter 3:
//
//   copier.copy           41 62 65   stops at the mark
//   composeLast           41 62 82   U+0065 U+0301 -> U+00E9, the last byte is replaced
//   copier.copy                      stops at U+00A5, which is not direct
//   appendSetCharacter    41 62 82 | 5C    commits, then appends the byte and two set records
//   copier.copy           41 62 82 | 5C | 63
//
// Why the output is that of the general path: a direct character needs nothing but its byte while
// the table is selected, and a character is only kept if no mark can follow it. The copier stops
// at every mark, as marks are not direct; composeLast then looks past the mark, and unless the two
// are a whole run that composes to a direct character it takes back the base and stops. A set's
// character is accepted only if the end of the text or a direct ASCII character follows. Whatever
// is doubtful is left where it is for the general path, so each rule exists there alone.
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
          m_selected(handle.settings.selectedTable()),
          // A character takes at least one byte of the text, so the output has room for the
          // characters up to here. A mark may follow, so composeLast looks past it.
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
    // The next character must be preceded by a table selection.
    bool selectsTable() const
    {
        return m_characters.bytes().empty() || m_selected != m_handle.settings.ucCurrentTable;
    }

    bool anyCopied() const { return m_at.out != m_characters.end(); }

    // Makes the copied characters part of the output. append has tested that there is room for the
    // table selection.
    void commit()
    {
        if (!anyCopied()) {
            return;
        }
        if (selectsTable()) {
            m_handle.output.stTableInfoOut.Lutm_SetDataCharCmd(
                {static_cast<std::uint32_t>(m_characters.bytes().size()), m_selected});
            m_handle.settings.ucCurrentTable = m_selected;
        }
        m_characters.grow(static_cast<std::size_t>(m_at.out - m_characters.end()));
    }

    // Appends a character of an internal set that no mark follows: it is the last one of the text,
    // or a direct ASCII character comes next. False when the next character is no such one.
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

    // If a mark follows the last copied base, composes the two to a direct character, or gives both
    // back to the general path. True when the copying goes on after the mark.
    bool composeLast()
    {
        std::uint32_t run[2];
        std::uint32_t secondMark = 0;
        m_reader.skipTo(m_at.next);
        if (!anyCopied() || !nextIsMark(run[1])) {
            return false;
        }
        m_reader.advance();
        const std::uint8_t* const afterMark = m_reader.begin();
        const bool pair = !nextIsMark(secondMark);

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
        m_at.next = afterMark;
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
    const std::uint8_t m_selected;  // command parameter of m_table
    const std::uint8_t* const m_end;
    Position m_at;
};

}  // namespace

void appendByFastPath(Utf8Reader& reader, HandleLink& handle)
{
    const DirectTable* const table =
        handle.tables.unicodeTable.directTable(handle.settings.selectedTable());
    if (table != nullptr) {
        FastPath(reader, handle, *table).append();
    }
}

}  // namespace ruvo

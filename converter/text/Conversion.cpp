#include "converter/text/Conversion.h"

#include "converter/RuvoConverter.h"
#include "converter/text/Decoding.h"
#include "converter/text/FastPath.h"
#include "converter/text/Mapping.h"

#include <algorithm>

namespace ruvo {

namespace {

// There is no fast path for UTF-16.
void appendByFastPath(Utf16Reader&, HandleLink&) {}

template <class Reader>
class Conversion {
public:
    Conversion(Reader& reader, HandleLink& handle)
        : m_reader(reader),
          m_handle(handle),
          m_unicodeTable(handle.tables.unicodeTable),
          m_mapper(handle)
    {
    }

    short run()
    {
        for (;;) {
            appendByFastPath(m_reader, m_handle);
            std::uint32_t codePoint = 0;
            if (!m_reader.peek(codePoint)) {
                return RUVO_OK;
            }
            m_reader.advance();
            const short status = isBase(codePoint) && nextIsMark() ? convertRun(codePoint)
                                                                   : m_mapper.append(codePoint);
            if (status != RUVO_OK) {
                return status;
            }
        }
    }

private:
    bool isBase(std::uint32_t codePoint) const
    {
        return codePoint != kInvalidMarker && m_unicodeTable[codePoint].listed &&
               !m_unicodeTable[codePoint].combiningMark;
    }

    bool nextIsMark()
    {
        return m_reader.peek(m_mark) && m_mark != kInvalidMarker &&
               m_unicodeTable[m_mark].combiningMark;
    }

    // Appends a base and the marks after it as one composed character if they compose, or else each
    // by itself. (A mark without a base never comes here: it is appended like any character.)
    short convertRun(std::uint32_t base)
    {
        std::vector<std::uint32_t>& characters = m_handle.run;
        const RunMemory memory(characters);
        characters.assign(1, base);
        do {
            characters.push_back(m_mark);
            m_reader.advance();
        } while (nextIsMark());

        std::uint32_t composed = 0;
        if (m_handle.composer.compose(m_handle.tables, m_handle.settings.ucDecompositionMappingSize,
                                      characters, composed)) {
            return m_mapper.append(composed);
        }
        for (const std::uint32_t codePoint : characters) {
            if (const short status = m_mapper.append(codePoint)) {
                return status;
            }
        }
        return RUVO_OK;
    }

    Reader& m_reader;
    HandleLink& m_handle;
    const CodePointTable& m_unicodeTable;
    Mapper m_mapper;
    std::uint32_t m_mark = 0;
};

// Returns the status with which the conversion stopped, or else the reader's warning, or 0.
template <class Reader>
short convert(Reader reader, HandleLink& handle, const FirstWarning& warning)
{
    const short status = Conversion<Reader>(reader, handle).run();
    return status != RUVO_OK ? status : warning.status();
}

}  // namespace

short Lutm_SetDataCommon(HandleLink& handle, std::uint8_t* text, std::size_t length)
{
    // A byte of text gives at most one character, and a character at most one table switch and two
    // set switches.
    const std::size_t characters = std::min(length, kMaxUtf8Length);
    handle.output.stCharCodeOut.reserve(characters);
    handle.output.stTableInfoOut.expect(characters);
    handle.output.stISetInfoOut.expect(2 * characters);
    const std::int16_t sEncodeType = handle.settings.sEncodeType;
    FirstWarning warning;
    if (sEncodeType == RUVO_UTF8) {
        return convert(Utf8Reader(text, length, warning), handle, warning);
    }
    return convert(Utf16Reader(text, length, sEncodeType, warning), handle, warning);
}

}  // namespace ruvo

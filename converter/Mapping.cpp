#include "Mapping.h"

#include "Decoding.h"
#include "RuvoConverter.h"

#include <algorithm>

namespace ruvo {

Mapper::DisplayCode Mapper::missingCharacter() const
{
    return {m_settings.ucMissingCharacterCode, m_settings.tableInForce(), false, 0};
}

// Finds the character's own byte. False when it is to go out in its spacing form.
bool Mapper::mapDirectly(const UnicodeCharInfo& info, DisplayCode& code) const
{
    const CodePointTable& unicodeTable = m_handle.tables.unicodeTable;
    const std::uint8_t table = m_settings.tableInForce();
    if (info.ucICSFlag) {
        const CharMapping mapping = unicodeTable.icsMapping(info);
        code = {mapping.ucCode, table, true, mapping.ucTableParam};
        return true;
    }
    const std::span<const CharMapping> mappings = unicodeTable.mappings(info);
    if (mappings.empty())
        return false;
    auto found = std::ranges::find(mappings, table, &CharMapping::ucTableParam);
    if (found == mappings.end()) {
        if (m_settings.usTargetTable != kNoTable) {
            // A fixed table takes nothing from the other tables.
            code = missingCharacter();
            return !info.combiningMark;
        }
        found = std::ranges::min_element(mappings, {}, &CharMapping::ucTableParam);
    }
    code = {found->ucCode, found->ucTableParam, false, 0};
    return true;
}

Mapper::DisplayCode Mapper::map(std::uint32_t codePoint) const
{
    if (codePoint == kInvalidMarker)
        return missingCharacter();
    const DecompositionTable& decompTable = m_handle.tables.decompTable;
    DisplayCode code{};
    // Spacing forms that lead round in a circle end here: there are no more of them than rows.
    for (std::size_t steps = 0; steps <= decompTable.size(); ++steps) {
        if (mapDirectly(m_handle.tables.unicodeTable[codePoint], code))
            return code;
        if (!decompTable.spacingForm(codePoint, codePoint))
            break;
    }
    return missingCharacter();
}

short Mapper::append(std::uint32_t codePoint)
{
    const DisplayCode code = map(codePoint);
    CharCodeChain& characters = m_handle.stCharCodeOut;
    const auto position = static_cast<std::uint32_t>(characters.bytes().size());
    if (const short status = characters.append(code.ucCode))
        return status;

    // Output always begins with a table selection, even in front of a set's character.
    const bool tableSwitch = !code.isICS && code.table != m_settings.ucCurrentTable;
    if (tableSwitch || position == 0) {
        if (const short status = m_handle.stTableInfoOut.append({position, code.table}))
            return status;
        m_settings.ucCurrentTable = code.table;
    }
    if (!code.isICS)
        return RUVO_OK;
    // Every character of a set is wrapped: nothing remembers the set in force.
    if (const short status = m_handle.stISetInfoOut.append({position, code.ucICSParam}))
        return status;
    return m_handle.stISetInfoOut.append({position + 1, m_settings.ucICSCommandDefault});
}

}  // namespace ruvo

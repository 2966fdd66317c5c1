#include "converter/text/Mapping.h"

#include "converter/RuvoConverter.h"
#include "converter/text/Decoding.h"

#include <algorithm>

namespace ruvo {

namespace {

constexpr std::uint32_t kNoForm = 0xFFFFFFFF;
constexpr std::uint32_t kUnknownForm = 0xFFFFFFFE;

}  // namespace

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
    if (mappings.empty()) {
        return false;
    }
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

// The character that goes out for one without a byte: its spacing form, or the form of that one, as
// far as it takes. kNoForm when there is none, or they lead round in a circle. What is found is
// kept for every character on the way: however long the ways of a profile are, each is gone once.
std::uint32_t Mapper::findSpacingForm(std::uint32_t codePoint)
{
    const DecompositionTable& decompTable = m_handle.tables.decompTable;
    const std::span forms = decompTable.spacingForms();
    auto& [usTargetTable, found] = m_handle.spacingForms;
    if (found.empty() || usTargetTable != m_settings.usTargetTable) {
        found.assign(forms.size(), kUnknownForm);
        usTargetTable = m_settings.usTargetTable;
    }

    const std::size_t first = decompTable.findSpacingForm(codePoint);
    std::uint32_t result = kNoForm;
    for (std::size_t i = first; i < forms.size();) {
        result = found[i];
        if (result != kUnknownForm) {
            break;
        }
        result = found[i] = kNoForm;  // stays when the way comes back here
        DisplayCode code{};
        if (mapDirectly(m_handle.tables.unicodeTable[forms[i].composed], code)) {
            result = forms[i].composed;
            break;
        }
        i = decompTable.findSpacingForm(forms[i].composed);
    }
    for (std::size_t i = first; result != kNoForm && found[i] == kNoForm;) {
        found[i] = result;
        if (forms[i].composed != result) {
            i = decompTable.findSpacingForm(forms[i].composed);
        }
    }
    return result;
}

Mapper::DisplayCode Mapper::map(std::uint32_t codePoint)
{
    DisplayCode code = missingCharacter();
    if (codePoint == kInvalidMarker) {
        return code;
    }
    const CodePointTable& unicodeTable = m_handle.tables.unicodeTable;
    if (!mapDirectly(unicodeTable[codePoint], code)) {
        const std::uint32_t form = findSpacingForm(codePoint);
        code = missingCharacter();
        if (form != kNoForm) {
            mapDirectly(unicodeTable[form], code);
        }
    }
    return code;
}

short Mapper::append(std::uint32_t codePoint)
{
    const DisplayCode code = map(codePoint);
    CharCodeChain& characters = m_handle.output.stCharCodeOut;
    const auto position = static_cast<std::uint32_t>(characters.bytes().size());
    if (const short status = characters.Lutm_SetDataCharCode(code.ucCode)) {
        return status;
    }

    // Output always begins with a table selection, even in front of a set's character.
    const bool tableSwitch = !code.isICS && code.table != m_settings.ucCurrentTable;
    if (tableSwitch || position == 0) {
        if (const short status =
                m_handle.output.stTableInfoOut.Lutm_SetDataCharCmd({position, code.table})) {
            return status;
        }
        m_settings.ucCurrentTable = code.table;
    }
    if (!code.isICS) {
        return RUVO_OK;
    }
    // Every character of a set is wrapped: nothing remembers the set in force.
    if (const short status =
            m_handle.output.stISetInfoOut.Lutm_SetDataCharCmd({position, code.ucICSParam})) {
        return status;
    }
    return m_handle.output.stISetInfoOut.Lutm_SetDataCharCmd(
        {position + 1, m_settings.ucICSCommandDefault});
}

}  // namespace ruvo

#include "converter/text/Mapping.h"

#include "converter/RuvoConverter.h"
#include "converter/text/Decoding.h"

#include <algorithm>

namespace ruvo {

namespace {

// Values of SpacingFormMemory that are no code points.
constexpr std::uint32_t kNoForm = 0xFFFFFFFF;
constexpr std::uint32_t kUnknownForm = 0xFFFFFFFE;

}  // namespace

Mapper::DisplayCode Mapper::missingCharacter() const
{
    return {m_settings.ucMissingCharacterCode, m_settings.selectedTable(), false, 0};
}

// Finds the character's own byte, which is the substitute for a base that the target table does not
// have. False when the character must be sent as its spacing form.
bool Mapper::mapDirectly(const UnicodeCharInfo& info, DisplayCode& code) const
{
    const CodePointTable& unicodeTable = m_handle.tables.unicodeTable;
    const std::uint8_t table = m_settings.selectedTable();
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
            // With a target code page no other table is used.
            code = missingCharacter();
            return !info.combiningMark;
        }
        found = std::ranges::min_element(mappings, {}, &CharMapping::ucTableParam);
    }
    code = {found->ucCode, found->ucTableParam, false, 0};
    return true;
}

// The character that is sent for one without a byte of its own: its spacing form, or if that has no
// byte either, the form's form, and so on. kNoForm when the chain ends without a byte or returns to
// a form that it has passed. The result is kept for every form on the way, so that each chain is
// followed once, however long a profile makes it.
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
        result = found[i] = kNoForm;  // found again if the chain returns here
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

    // Output always begins with a table selection, even before a set's character.
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
    // Each character of a set is enclosed in a selection of its set and one of the default set.
    if (const short status =
            m_handle.output.stISetInfoOut.Lutm_SetDataCharCmd({position, code.ucICSParam})) {
        return status;
    }
    return m_handle.output.stISetInfoOut.Lutm_SetDataCharCmd(
        {position + 1, m_settings.ucICSCommandDefault});
}

}  // namespace ruvo

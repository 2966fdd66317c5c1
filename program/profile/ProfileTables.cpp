#include "program/profile/ProfileTables.h"

#include "base/StatusText.h"
#include "converter/profile/SettingsFiles.h"
#include "converter/profile/TableFiles.h"
#include "program/profile/ProfileOptions.h"
#include "program/text/CharacterText.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace {

void check(short status, const ProfileOptions& profile)
{
    if (status < 0) {
        throw std::runtime_error(openFailure(profile, status));
    }
}

// Adds the entries of a file. If several files have the same parameter, it keeps the first name.
template <class File>
void enter(const std::vector<ruvo::MapEntry>& entries, const std::string& name,
           std::map<unsigned, File>& files)
{
    for (const ruvo::MapEntry& entry : entries) {
        File& file = files[entry.ucParam];
        if (file.name.empty()) {
            file.name = printable(name);
        }
        if (entry.ulCodePoint != ruvo::kNoCharacter) {
            file.characters[entry.ucCode].push_back(entry.ulCodePoint);
        }
    }
}

}  // namespace

ProfileTables::ProfileTables() = default;

ProfileTables::ProfileTables(const ProfileOptions& profile) : m_read(true)
{
    const auto settings = std::make_unique<ruvo::HandleSettings>();
    const auto device = std::make_unique<ruvo::DeviceInfo>();
    check(ruvo::readSettingsFile(profileFolder(profile), *settings), profile);
    check(ruvo::readDeviceInfoFile(profile.device, *settings, *device), profile);

    ruvo::ReportingFile file;
    std::vector<ruvo::MapEntry> entries;
    for (int i = 0; i < settings->sMappingTableNumber; ++i) {
        const ruvo::TableEntry& table = device->astTable[static_cast<std::size_t>(i)];
        entries.clear();
        check(ruvo::readTableFile(file, settings->szDeviceInfoPath + table.szTableFileName,
                                  ruvo::TableFileKind::translation, table.ucTableCommandParam,
                                  entries),
              profile);
        enter(entries, "code page " + std::to_string(table.sCodePage), m_tables);
    }
    for (int i = 0; i < device->sInternalCharacterSetNumber; ++i) {
        const ruvo::ICSEntry& set = device->astICS[static_cast<std::size_t>(i)];
        entries.clear();
        check(ruvo::readTableFile(file, settings->szDeviceInfoPath + set.szICSFileName,
                                  ruvo::TableFileKind::internalSet, set.ucICSCommandParam, entries),
              profile);
        enter(entries, set.szICSFileName, m_sets);
    }
    m_defaultSet = settings->ucICSCommandDefault;
    m_missingCharacter = settings->ucMissingCharacterCode;
}

std::optional<char32_t> ProfileTables::character(CodeState state, std::uint8_t byte) const
{
    if (!m_read) {
        return byte >= 0x20 && byte < 0x7F ? std::optional<char32_t>(byte) : std::nullopt;
    }
    for (const auto* const characters :
         {&charactersOf(m_sets, state.set, byte), &charactersOf(m_tables, state.table, byte)}) {
        if (!characters->empty()) {
            return characters->front();
        }
    }
    return std::nullopt;
}

bool ProfileTables::tableHas(unsigned table, std::uint8_t byte, char32_t character) const
{
    return std::ranges::count(charactersOf(m_tables, table, byte), character) != 0;
}

bool ProfileTables::setHas(unsigned set, std::uint8_t byte, char32_t character) const
{
    return std::ranges::count(charactersOf(m_sets, set, byte), character) != 0;
}

const std::vector<char32_t>& ProfileTables::charactersOf(const CodeFiles& files, unsigned parameter,
                                                         std::uint8_t byte)
{
    static const std::vector<char32_t> none;
    const auto file = files.find(parameter);
    return file == files.end() ? none : file->second.characters[byte];
}

std::string ProfileTables::tableName(unsigned table) const
{
    const auto file = m_tables.find(table);
    return std::to_string(table) + (file == m_tables.end() ? "" : " (" + file->second.name + ")");
}

std::string ProfileTables::setName(unsigned set) const
{
    const auto file = m_sets.find(set);
    if (file != m_sets.end()) {
        return std::to_string(set) + " (" + file->second.name + ")";
    }
    return std::to_string(set) + (m_read && set == m_defaultSet ? " (default)" : "");
}

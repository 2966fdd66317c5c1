#include "ProfileCheck.h"

#include "DisplayCommands.h"
#include "FindingList.h"
#include "converter/CharacterFiles.h"
#include "converter/ProfileFile.h"
#include "converter/RuvoConverter.h"
#include "converter/SettingsFiles.h"
#include "converter/UnicodeData.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

namespace {

namespace fs = std::filesystem;
using ruvo::TableFileKind;

// Without needless "." and "..".
std::string shownPath(const std::string& path)
{
    return fs::path(path).lexically_normal().string();
}

std::string characterName(std::uint32_t codePoint)
{
    char text[16];
    std::snprintf(text, sizeof text, "U+%04X", static_cast<unsigned>(codePoint));
    return text;
}

std::string byteName(std::uint8_t byte)
{
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", static_cast<unsigned>(byte));
    return text;
}

// One warning a file for all its entries with the same flaw, at the first of them.
class EntryWarnings {
public:
    void add(const ruvo::ProfilePlace& place, const std::string& words)
    {
        Group& group = m_groups[place.path];
        if (group.lines.empty())
            group.words = words;
        group.lines.insert(place.line);
    }

    void tell(FindingList& list) const
    {
        for (const auto& [path, group] : m_groups) {
            const std::size_t count = group.lines.size();
            const std::string more =
                count == 1 ? "" : " (so for " + std::to_string(count) + " lines of this file)";
            list.remark({path, *group.lines.begin()}, group.words + more);
        }
    }

private:
    struct Group {
        std::set<std::size_t> lines;
        std::string words;  // of the first one
    };

    std::map<std::string, Group> m_groups;
};

class Checker {
public:
    Checker(const std::string& directory, std::string device)
        : m_directory(directory + "/"), m_device(std::move(device))
    {
    }

    CheckedProfile check();

private:
    void take(short status);
    void findDeviceInfo();
    void checkSettings();
    void checkDeviceInfo();
    template <class Value>
    void warnOfEqualTables(const std::string& key, Value ruvo::TableEntry::*value,
                           const std::string& what, const std::string& consequence);
    void keepNamedFiles();
    void checkCharacterFiles(bool deviceIsValid);
    void checkTables();
    void checkSets();
    void checkBytes(TableFileKind kind);
    bool checkDatabase();
    void countCharacters();

    std::string m_directory;  // with "/" at its end
    std::string m_device;
    std::string m_hostDirectory;  // where relative paths start: m_directory, or empty
    FindingList m_list;
    ruvo::HandleSettings m_settings;
    ruvo::DeviceInfo m_deviceInfo;
    ruvo::CharacterTables m_tables;
    CheckedProfile m_result;
};

CheckedProfile Checker::check()
{
    take(ruvo::readSettingsFile(m_directory, m_settings, m_deviceInfo, &m_list));
    if (m_result.status == RUVO_OK)
        m_list.excuse();
    if (m_settings.szDeviceInfoPath.empty()) {
        if (m_result.status == RUVO_SETTINGS_INVALID)
            m_list.note({m_directory + "HalvoSet.txt", 0},
                        "without \"DeviceInfoPath\" the other files are not checked");
        m_result.findings = m_list.take();
        return m_result;
    }
    findDeviceInfo();
    checkSettings();

    const short deviceStatus =
        ruvo::readDeviceInfoFile(m_device, m_settings, m_deviceInfo, &m_list);
    take(deviceStatus);
    if (deviceStatus == RUVO_OK)
        checkDeviceInfo();
    else if (deviceStatus == RUVO_DEVICE_INFO_INVALID)
        keepNamedFiles();
    if (deviceStatus == RUVO_OK || deviceStatus == RUVO_DEVICE_INFO_INVALID)
        checkCharacterFiles(deviceStatus == RUVO_OK);
    m_result.findings = m_list.take();
    return m_result;
}

// What the characters mean to each other is known with a valid device information only.
void Checker::checkCharacterFiles(bool deviceIsValid)
{
    // Room for all decompositions, to count them.
    const std::uint32_t announced = m_settings.ulDecompositionClassNumber;
    m_settings.ulDecompositionClassNumber = ruvo::kMaxCodePoint + 1;
    take(ruvo::readCharacterFiles(m_settings, m_deviceInfo, m_tables, &m_list));
    if (!checkDatabase() || !deviceIsValid)
        return;
    const std::size_t rows = m_tables.decompTable.size();
    if (rows > announced)
        m_list.remark(m_list.placeOf("DecompositionClassNumber"),
                      "\"DecompositionClassNumber\" is " + std::to_string(announced) +
                          ", but UnicodeData.txt has " + std::to_string(rows) +
                          " decompositions: the last ones are not used");
    checkTables();
    checkSets();
    checkBytes(TableFileKind::translation);
    checkBytes(TableFileKind::internalSet);
    countCharacters();
}

// The first fault decides the open.
void Checker::take(short status)
{
    if (m_result.status == RUVO_OK)
        m_result.status = status;
}

void Checker::findDeviceInfo()
{
    std::string& path = m_settings.szDeviceInfoPath;
    std::error_code ignored;
    if (path.starts_with('/') || fs::equivalent(m_directory, ".", ignored))
        return;
    const bool inCurrent = fs::exists(path + m_device, ignored);
    if (!inCurrent) {
        m_hostDirectory = m_directory;
        path.insert(0, m_directory);
    }
    m_list.note(m_list.placeOf("DeviceInfoPath"),
                std::string("\"DeviceInfoPath\" is relative: read as for a host that runs in ") +
                    (inCurrent ? "the current directory" : "the profile's directory"));
}

void Checker::checkSettings()
{
    constexpr int utf8 = 3;
    const ruvo::ProfilePlace& encoding = m_list.placeOf("EncodeTypeDefault");
    if (encoding.line > 0 && m_settings.sEncodeType != utf8)
        m_list.remark(encoding, "\"EncodeTypeDefault\" is " +
                                    std::to_string(m_settings.sEncodeType) +
                                    ", but the markup engine passes UTF-8, which is 3");

    const ruvo::ProfilePlace& log = m_list.placeOf("LogFilePath");
    const bool relative = !m_settings.szLogFilePath.starts_with('/');
    const std::string folder = (relative ? m_hostDirectory : "") + m_settings.szLogFilePath;
    std::error_code ignored;
    if (log.line > 0 && !fs::is_directory(folder, ignored))
        m_list.note(log, "there is no directory " + ruvo::quoted(shownPath(folder)) +
                             ": nothing is logged");
}

void Checker::checkDeviceInfo()
{
    if (m_settings.ucGeneralCategorySize < 2)
        m_list.remark(m_list.placeOf("GeneralCategorySize"),
                      "\"GeneralCategorySize\" is 1, too short for Mn, Mc and Me: no character "
                      "counts as a combining mark");
    if (m_settings.ucDecompositionMappingSize < 2)
        m_list.remark(m_list.placeOf("DecompositionMappingSize"),
                      "\"DecompositionMappingSize\" is " +
                          std::to_string(m_settings.ucDecompositionMappingSize) +
                          ": a letter and a mark are never composed");
    warnOfEqualTables("TableCommandParam", &ruvo::TableEntry::ucTableCommandParam,
                      "the command parameter",
                      "one command selects both, and only the code page of the last one can be a "
                      "target");
    warnOfEqualTables("CodePage", &ruvo::TableEntry::sCodePage, "the code page",
                      "as a target, it is the one with the lower command parameter");
}

// Of tables that have a key's value in common.
template <class Value>
void Checker::warnOfEqualTables(const std::string& key, Value ruvo::TableEntry::*value,
                                const std::string& what, const std::string& consequence)
{
    std::map<int, std::size_t> tableOf;
    for (std::size_t i = 0; i < static_cast<std::size_t>(m_settings.sMappingTableNumber); ++i) {
        const auto [first, isNew] = tableOf.emplace(m_deviceInfo.astTable[i].*value, i);
        if (!isNew)
            m_list.remark(m_list.placeOf(key, i),
                          "[Table" + std::to_string(i + 1) + "] has " + what + " of [Table" +
                              std::to_string(first->second + 1) + "]: " + consequence);
    }
}

// Of an invalid device information the files whose names are known.
void Checker::keepNamedFiles()
{
    const auto tables =
        std::ranges::remove(m_deviceInfo.astTable, "", &ruvo::TableEntry::szTableFileName);
    m_settings.sMappingTableNumber =
        static_cast<std::int16_t>(m_deviceInfo.astTable.size() - tables.size());
    const auto sets = std::ranges::remove(m_deviceInfo.astICS, "", &ruvo::ICSEntry::szICSFileName);
    m_deviceInfo.sInternalCharacterSetNumber =
        static_cast<std::int16_t>(m_deviceInfo.astICS.size() - sets.size());
}

void Checker::checkTables()
{
    EntryWarnings unlisted;
    EntryWarnings unused;
    for (const PlacedEntry& placed : m_list.entries(TableFileKind::translation)) {
        const ruvo::MapEntry& entry = placed.entry;
        if (entry.ulCodePoint == ruvo::kNoCharacter)
            continue;
        const ruvo::UnicodeCharInfo& info = m_tables.unicodeTable[entry.ulCodePoint];
        if (!info.listed) {
            unlisted.add(placed.place, characterName(entry.ulCodePoint) +
                                           " has no line in UnicodeData.txt, so it is never shown");
            continue;
        }
        const auto mappings = m_tables.unicodeTable.mappings(info);
        const auto isThis = [&](const ruvo::CharMapping& mapping) {
            return mapping.ucCode == entry.ucCode && mapping.ucTableParam == entry.ucParam;
        };
        if (!info.ucICSFlag && std::ranges::none_of(mappings, isThis)) {
            const bool cut =
                mappings.size() == static_cast<std::size_t>(m_settings.sMappingTableNumber);
            unused.add(placed.place, characterName(entry.ulCodePoint) +
                                         " is never shown with the byte " + byteName(entry.ucCode) +
                                         (cut ? ": more bytes have it than there are tables"
                                              : ": its line in UnicodeData.txt is out of order"));
        }
    }
    unlisted.tell(m_list);
    unused.tell(m_list);
}

void Checker::checkSets()
{
    std::map<std::uint32_t, const PlacedEntry*> ofTables;
    for (const PlacedEntry& placed : m_list.entries(TableFileKind::translation))
        ofTables.emplace(placed.entry.ulCodePoint, &placed);

    EntryWarnings unlisted;
    EntryWarnings unused;
    EntryWarnings shadowing;
    for (const PlacedEntry& placed : m_list.entries(TableFileKind::internalSet)) {
        const ruvo::MapEntry& entry = placed.entry;
        const std::string name = characterName(entry.ulCodePoint);
        const ruvo::UnicodeCharInfo& info = m_tables.unicodeTable[entry.ulCodePoint];
        if (!info.listed) {
            unlisted.add(placed.place,
                         name + " has no line in UnicodeData.txt, so it is never shown");
            continue;
        }
        const ruvo::CharMapping inForce = m_tables.unicodeTable.icsMapping(info);
        const auto table = ofTables.find(entry.ulCodePoint);
        if (inForce.ucCode != entry.ucCode || inForce.ucTableParam != entry.ucParam)
            unused.add(placed.place, name + " is never shown with the byte " +
                                         byteName(entry.ucCode) +
                                         " of this set: the sets have it twice");
        else if (table != ofTables.end())
            shadowing.add(placed.place, name + " is always taken from this set, although " +
                                            shownPath(table->second->place.path) + " has it too");
    }
    unlisted.tell(m_list);
    unused.tell(m_list);
    shadowing.tell(m_list);
}

void Checker::checkBytes(TableFileKind kind)
{
    EntryWarnings commands;
    for (const PlacedEntry& placed : m_list.entries(kind)) {
        const ruvo::MapEntry& entry = placed.entry;
        if (entry.ulCodePoint != ruvo::kNoCharacter && !isText(entry.ucCode))
            commands.add(placed.place, characterName(entry.ulCodePoint) + " has the byte " +
                                           byteName(entry.ucCode) +
                                           ", with which commands begin: a text could send one");
    }
    commands.tell(m_list);
}

// False when there is none to check.
bool Checker::checkDatabase()
{
    constexpr char noComment = '\n';
    ruvo::ProfileFile file(&m_list);
    if (file.open(ruvo::unicodeDataPath(m_settings), RUVO_UNICODE_DATA_MISSING, RUVO_OK) != RUVO_OK)
        return false;
    std::uint32_t last = 0;
    std::string_view line;
    while (file.next(noComment, line)) {
        const std::string_view field = line.substr(0, line.find_first_of(";\r\n"));
        std::uint32_t codePoint = 0;
        const auto [end, error] =
            std::from_chars(field.data(), field.data() + field.size(), codePoint, 16);
        if (end != field.data() + field.size() || field.empty() ||
            codePoint > ruvo::kMaxCodePoint) {
            file.remark([&] {
                return ruvo::quoted(field) + " in front of the first \";\" is no code point from 0 "
                                             "to 10FFFF; there are no comments in this file";
            });
        } else if (codePoint < last) {
            file.remark([&] {
                return characterName(codePoint) + " stands behind " + characterName(last) +
                       ": characters of tables are found in ascending order only";
            });
        }
        last = std::max(last, codePoint <= ruvo::kMaxCodePoint ? codePoint : 0);
    }
    return true;
}

void Checker::countCharacters()
{
    std::set<std::uint32_t> shown;
    for (const TableFileKind kind : {TableFileKind::translation, TableFileKind::internalSet}) {
        for (const PlacedEntry& placed : m_list.entries(kind)) {
            const std::uint32_t codePoint = placed.entry.ulCodePoint;
            if (codePoint != ruvo::kNoCharacter && m_tables.unicodeTable[codePoint].listed)
                shown.insert(codePoint);
        }
    }
    m_result.tables = static_cast<std::size_t>(m_settings.sMappingTableNumber);
    m_result.sets = static_cast<std::size_t>(m_deviceInfo.sInternalCharacterSetNumber);
    m_result.characters = shown.size();
}

}  // namespace

std::string compilerLine(const Finding& finding)
{
    constexpr const char* kinds[] = {"error", "warning", "note"};
    std::string line = shownPath(finding.place.path);
    if (finding.place.line > 0)
        line.append(":").append(std::to_string(finding.place.line));
    line.append(": ").append(kinds[static_cast<int>(finding.kind)]).append(": ");
    line += finding.words;
    if (finding.status != RUVO_OK)
        line += " (status " + std::to_string(finding.status) + ")";
    std::ranges::replace_if(
        line, [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return line;
}

CheckedProfile checkProfile(const std::string& directory, const std::string& device)
{
    return std::make_unique<Checker>(directory, device)->check();
}

#include "program/check/ProfileCheck.h"

#include "base/StatusText.h"
#include "converter/RuvoConverter.h"
#include "converter/profile/CharacterFileReader.h"
#include "converter/profile/ReportingFile.h"
#include "converter/profile/SettingsFiles.h"
#include "converter/profile/UnicodeData.h"
#include "program/check/CharacterCheck.h"
#include "program/check/FindingList.h"
#include "program/text/CharacterText.h"
#include "program/text/Counted.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <system_error>
#include <utility>

namespace {

namespace fs = std::filesystem;

class Checker {
public:
    Checker(const std::string& directory, std::string device, std::string files)
        : m_directory(directory + "/"), m_device(std::move(device)), m_files(std::move(files))
    {
    }

    CheckedProfile check();

private:
    void take(short status);
    void findDeviceInfo();
    void checkSettings();
    void checkDeviceInfo();
    void tellEqualTables();
    void tellDefaultSets();
    void keepNamedFiles();
    void nameFiles();
    void checkCharacterFiles(bool deviceIsValid);

    std::string m_directory;  // with "/" at its end
    std::string m_device;
    std::string m_files;          // their folder, if it is not the "DeviceInfoPath"
    std::string m_hostDirectory;  // "" or m_directory: relative paths start here
    FindingList m_list;
    ruvo::HandleSettings m_settings;
    ruvo::DeviceInfo m_deviceInfo;
    ruvo::CharacterTables m_tables;
    CheckedProfile m_result;
};

CheckedProfile Checker::check()
{
    take(ruvo::readSettingsFile(m_directory, m_settings, &m_list));
    if (m_result.status == RUVO_OK) {
        m_list.lowerFaultsToWarnings();
    }
    if (m_settings.szDeviceInfoPath.empty()) {
        if (m_result.status == RUVO_SETTINGS_INVALID) {
            m_list.add(Finding::Kind::note, {m_directory + "HalvoSet.txt", 0},
                       "without \"DeviceInfoPath\" the other files are not checked");
        }
        m_result.findings = m_list.take();
        return m_result;
    }
    findDeviceInfo();
    m_list.nameFile(m_settings.szDeviceInfoPath + m_device, m_list.placeOf("DeviceInfoPath"));
    m_list.nameFile(ruvo::unicodeDataPath(m_settings), m_list.placeOf("DeviceInfoPath"));
    checkSettings();

    const short deviceStatus =
        ruvo::readDeviceInfoFile(m_device, m_settings, m_deviceInfo, &m_list);
    take(deviceStatus);
    nameFiles();
    if (deviceStatus == RUVO_OK) {
        checkDeviceInfo();
    } else if (deviceStatus == RUVO_DEVICE_INFO_INVALID) {
        keepNamedFiles();
    }
    if (deviceStatus == RUVO_OK || deviceStatus == RUVO_DEVICE_INFO_INVALID) {
        checkCharacterFiles(deviceStatus == RUVO_OK);
    }
    m_result.findings = m_list.take();
    return m_result;
}

// Reads the tables, the sets and UnicodeData.txt. How they fit together is checked only if the
// device information is valid.
void Checker::checkCharacterFiles(bool deviceIsValid)
{
    // The reader keeps no more rows than announced. To count them, announce more than there can be.
    const std::uint32_t announced = m_settings.ulDecompositionClassNumber;
    m_settings.ulDecompositionClassNumber = ruvo::kMaxCodePoint + 1;
    take(ruvo::readCharacterFiles(m_settings, m_deviceInfo, m_tables, &m_list));
    CharacterCheck check(m_settings, m_tables, m_list);
    DatabaseLines lines;
    if (check.checkDatabaseIsUseful() && !checkDatabase(m_settings, m_list, lines)) {
        return;
    }
    if (!deviceIsValid) {
        return;
    }
    const std::size_t rows = m_tables.decompTable.size();
    if (rows > announced) {
        m_list.remark(m_list.placeOf("DecompositionClassNumber"),
                      "\"DecompositionClassNumber\" is " + std::to_string(announced) +
                          ", but UnicodeData.txt has " + std::to_string(rows) +
                          " decompositions: the last ones are not used");
    }
    std::set<std::uint8_t> tables;
    for (std::size_t i = 0; i < static_cast<std::size_t>(m_settings.sMappingTableNumber); ++i) {
        tables.insert(m_deviceInfo.astTable[i].ucTableCommandParam);
    }
    m_result.tables = tables.size();
    m_result.sets = static_cast<std::size_t>(m_deviceInfo.sInternalCharacterSetNumber);
    check.checkEntries(m_deviceInfo);
    if (m_result.status == RUVO_OK) {  // else a file that was not read may have the characters
        check.checkTablesAreUseful(m_deviceInfo);
        check.checkDecompositions(lines);
    }
    m_result.characters = check.shownCharacters();
    m_result.substituted = check.substitutedCharacters();
}

// An open gives the status of the first error, so later ones do not count.
void Checker::take(short status)
{
    if (m_result.status == RUVO_OK) {
        m_result.status = status;
    }
}

void Checker::findDeviceInfo()
{
    std::string& path = m_settings.szDeviceInfoPath;
    if (!m_files.empty()) {
        path = m_files + "/";
        return;
    }
    std::error_code ignored;
    if (path.starts_with('/') || fs::equivalent(m_directory, ".", ignored)) {
        return;
    }
    const bool inCurrent = fs::exists(path + m_device, ignored);
    if (!inCurrent) {
        m_hostDirectory = m_directory;
        path.insert(0, m_directory);
    }
    m_list.add(Finding::Kind::note, m_list.placeOf("DeviceInfoPath"),
               std::string("\"DeviceInfoPath\" is relative: read as for a host that runs in ") +
                   (inCurrent ? "the current directory" : "the profile's directory"));
}

void Checker::checkSettings()
{
    constexpr int utf8 = 3;
    const ruvo::ProfilePlace& encoding = m_list.placeOf("EncodeTypeDefault");
    if (encoding.line > 0 && m_settings.sEncodeType != utf8) {
        m_list.remark(encoding, "\"EncodeTypeDefault\" is " +
                                    std::to_string(m_settings.sEncodeType) +
                                    ", but the markup engine passes UTF-8, which is 3");
    }

    constexpr std::string_view cutToNothing = "/";  // a path gets a "/" at its end
    const std::pair<const char*, const std::string&> paths[] = {
        {"DeviceInfoPath", m_settings.szDeviceInfoPath}, {"LogFilePath", m_settings.szLogFilePath}};
    for (const auto& [key, path] : paths) {
        if (path == cutToNothing) {
            m_list.remark(m_list.placeOf(key), ruvo::quoted(key) + " is the root folder, as "
                                                                   "nothing is left of it");
        }
    }

    const ruvo::ProfilePlace& log = m_list.placeOf("LogFilePath");
    const bool relative = !m_settings.szLogFilePath.starts_with('/');
    const std::string folder = (relative ? m_hostDirectory : "") + m_settings.szLogFilePath;
    std::error_code ignored;
    if (log.line > 0 && !fs::is_directory(folder, ignored)) {
        m_list.add(Finding::Kind::note, log,
                   "there is no directory " + ruvo::quoted(shownPath(folder)) +
                       ": nothing is logged");
    }
}

void Checker::checkDeviceInfo()
{
    if (m_settings.ucGeneralCategorySize < 2) {
        m_list.remark(m_list.placeOf("GeneralCategorySize"),
                      "\"GeneralCategorySize\" is 1, too short for Mn, Mc and Me: no character "
                      "counts as a combining mark");
    }
    if (m_settings.ucDecompositionMappingSize < 2) {
        m_list.remark(m_list.placeOf("DecompositionMappingSize"),
                      "\"DecompositionMappingSize\" is " +
                          std::to_string(m_settings.ucDecompositionMappingSize) +
                          ": a letter and a mark are never composed");
    }
    tellEqualTables();
    tellDefaultSets();
}

// Reports the sets that the display has selected at power-on and after each character of a set.
void Checker::tellDefaultSets()
{
    for (std::size_t i = 0; i < static_cast<std::size_t>(m_deviceInfo.sInternalCharacterSetNumber);
         ++i) {
        if (m_deviceInfo.astICS[i].ucICSCommandParam == m_settings.ucICSCommandDefault) {
            m_list.remark(m_list.placeOf("ICSCommandParam", i),
                          "[ICS" + std::to_string(i + 1) +
                              "] has the number of \"ICSCommandDefault\": it is always selected, "
                              "and its characters replace those of the tables");
        }
    }
}

// Reports tables that differ from an earlier one in either the command parameter or the code page.
// Two with both in common are one table of the display, in two files.
void Checker::tellEqualTables()
{
    std::map<int, std::size_t> ofParam;
    std::map<int, std::size_t> ofCodePage;
    for (std::size_t i = 0; i < static_cast<std::size_t>(m_settings.sMappingTableNumber); ++i) {
        const ruvo::TableEntry& table = m_deviceInfo.astTable[i];
        const auto name = [](std::size_t index) {
            return "[Table" + std::to_string(index + 1) + "]";
        };
        const std::size_t sameParam = ofParam.emplace(table.ucTableCommandParam, i).first->second;
        const std::size_t samePage = ofCodePage.emplace(table.sCodePage, i).first->second;
        if (m_deviceInfo.astTable[sameParam].sCodePage != table.sCodePage) {
            m_list.remark(m_list.placeOf("TableCommandParam", i),
                          name(i) + " has the command parameter of " + name(sameParam) +
                              ", but another code page: only that of the last one can be a target");
        }
        if (m_deviceInfo.astTable[samePage].ucTableCommandParam != table.ucTableCommandParam) {
            m_list.add(Finding::Kind::note, m_list.placeOf("CodePage", i),
                       name(i) + " has the code page of " + name(samePage) +
                           ": as a target it stands for one of them");
        }
    }
}

void Checker::nameFiles()
{
    for (std::size_t i = 0; i < m_deviceInfo.astTable.size(); ++i) {
        m_list.nameFile(m_settings.szDeviceInfoPath + m_deviceInfo.astTable[i].szTableFileName,
                        m_list.placeOf("TableFileName", i));
    }
    for (std::size_t i = 0; i < m_deviceInfo.astICS.size(); ++i) {
        m_list.nameFile(m_settings.szDeviceInfoPath + m_deviceInfo.astICS[i].szICSFileName,
                        m_list.placeOf("ICSFileName", i));
    }
}

// Keeps the tables and sets of an invalid device information whose file names were read, so that
// these files can be checked.
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

}  // namespace

std::string compilerLine(const Finding& finding)
{
    constexpr const char* kinds[] = {"error", "warning", "note"};
    std::string line = shownPath(finding.place.path);
    if (finding.place.line > 0) {
        line.append(":").append(std::to_string(finding.place.line));
    }
    line.append(": ").append(kinds[static_cast<int>(finding.kind)]).append(": ");
    line += finding.words;
    if (finding.status != RUVO_OK) {
        line += " (status " + std::to_string(finding.status) + ")";
    }
    return printable(line);
}

CheckedProfile checkProfile(const std::string& directory, const std::string& device,
                            const std::string& files)
{
    return std::make_unique<Checker>(directory, device, files)->check();
}

std::string reportText(const CheckedProfile& profile, const std::string& device)
{
    std::string text;
    for (const Finding& finding : profile.findings) {
        text += compilerLine(finding) + "\n";
    }
    text += "device \"" + device + "\" ";
    if (profile.status == RUVO_OK) {
        text += "opens, with " + counted(profile.tables, "table") + ", " +
                counted(profile.sets, "internal character set") + " and " +
                counted(profile.characters, "character");
        if (profile.substituted != 0) {
            text += ", and shows one like it for " + std::to_string(profile.substituted) + " more";
        }
    } else {
        text += "does not open: status " + std::to_string(profile.status) + ", " +
                std::string(statusText(profile.status));
    }
    return text + "\n";
}

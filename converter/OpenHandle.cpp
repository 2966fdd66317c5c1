#include "OpenHandle.h"

#include "HandleTable.h"
#include "RuvoConverter.h"
#include "SettingsFiles.h"
#include "TableFiles.h"
#include "UnicodeData.h"

namespace ruvo {

namespace {

// Reads `count` files of a kind into one list, sorted by code point. readFile reads the one with an
// index into the list.
template <class ReadFile>
short readFiles(std::int16_t count, std::vector<MapEntry>& list, ReadFile readFile)
{
    const auto files = static_cast<std::size_t>(count);
    list.reserve(files * kMaxFileEntries);
    for (std::size_t i = 0; i < files; ++i) {
        if (const short status = readFile(i))
            return status;
    }
    Lutm_UnicodeQuickSort(list);
    return RUVO_OK;
}

short readTables(LineReader& reader, const HandleSettings& settings, const DeviceInfo& deviceInfo,
                 std::vector<MapEntry>& list)
{
    return readFiles(settings.sMappingTableNumber, list, [&](std::size_t i) {
        const TableEntry& table = deviceInfo.astTable[i];
        return readTableFile(reader, settings.szDeviceInfoPath + table.szTableFileName,
                             TableFileKind::translation, table.ucTableCommandParam, list);
    });
}

short readSets(LineReader& reader, const HandleSettings& settings, const DeviceInfo& deviceInfo,
               std::vector<MapEntry>& list)
{
    return readFiles(deviceInfo.sInternalCharacterSetNumber, list, [&](std::size_t i) {
        const ICSEntry& set = deviceInfo.astICS[i];
        return readTableFile(reader, settings.szDeviceInfoPath + set.szICSFileName,
                             TableFileKind::internalSet, set.ucICSCommandParam, list);
    });
}

// Of several tables with one command parameter the last one's code page counts.
void setCodePages(HandleSettings& settings, const DeviceInfo& deviceInfo)
{
    settings.ausTableCodePage.fill(kNoTable);
    for (std::size_t i = 0; i < static_cast<std::size_t>(settings.sMappingTableNumber); ++i) {
        const TableEntry& table = deviceInfo.astTable[i];
        settings.ausTableCodePage[table.ucTableCommandParam] =
            static_cast<std::uint16_t>(table.sCodePage);
    }
}

short Lutm_createUnicodeTable(HandleSettings& settings, const DeviceInfo& deviceInfo)
{
    ensureHandleArray();
    LineReader reader;
    std::vector<MapEntry> tableList;
    std::vector<MapEntry> icsList;
    CharacterTables tables;
    if (const short status = readTables(reader, settings, deviceInfo, tableList))
        return status;
    if (const short status = readSets(reader, settings, deviceInfo, icsList))
        return status;
    if (const short status =
            Lutm_createTranslationTable(reader, tableList, icsList, settings, tables))
        return status;
    setCodePages(settings, deviceInfo);
    return allocateSlot(std::make_unique<HandleLink>(std::move(settings), std::move(tables)));
}

}  // namespace

short Lutm_OpenHandleCommon(const std::string& deviceInfoName, const std::string& id)
{
    const auto settings = std::make_unique<HandleSettings>();
    const auto deviceInfo = std::make_unique<DeviceInfo>();

    // Without a module path the settings file is looked for in the current directory.
    std::string modulePath;
    if (Lutm_ModuleFileFullPath(kModuleRoot, id, modulePath) != 0)
        modulePath.clear();
    if (const short status = readSettingsFile(modulePath, *settings, *deviceInfo))
        return status;
    if (const short status = readDeviceInfoFile(deviceInfoName, *settings, *deviceInfo))
        return status;
    return Lutm_createUnicodeTable(*settings, *deviceInfo);
}

}  // namespace ruvo

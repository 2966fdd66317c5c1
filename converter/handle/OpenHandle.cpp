#include "converter/handle/OpenHandle.h"

#include "converter/handle/HandleTable.h"
#include "converter/profile/CharacterFileReader.h"
#include "converter/profile/SettingsFiles.h"

namespace ruvo {

namespace {

// If tables share a command parameter, the last one's code page is kept.
void setCodePages(HandleSettings& settings, const DeviceInfo& deviceInfo)
{
    settings.ausTableCodePage.fill(kNoTable);
    for (std::size_t i = 0; i < static_cast<std::size_t>(settings.sMappingTableNumber); ++i) {
        const TableEntry& table = deviceInfo.astTable[i];
        settings.ausTableCodePage[table.ucTableCommandParam] =
            static_cast<std::uint16_t>(table.sCodePage);
    }
}

// Reads HalvoSet.txt. "MaximumHandle" holds for the process as soon as its line has been read, even
// if a later line breaks a rule or memory runs out.
short readSettings(const std::string& modulePath, HandleSettings& settings)
{
    struct Keeper {
        const HandleSettings& settings;
        ~Keeper()
        {
            if (settings.sMaximumHandle != 0) {
                g_stHandlelinkMngInfTbl.sMaximumHandle = settings.sMaximumHandle;
            }
        }
    };
    const Keeper keeper{settings};
    return readSettingsFile(modulePath, settings);
}

short Lutm_createUnicodeTable(HandleSettings& settings, const DeviceInfo& deviceInfo)
{
    ensureHandleArray();
    CharacterTables tables;
    if (const short status = readCharacterFiles(settings, deviceInfo, tables)) {
        return status;
    }
    setCodePages(settings, deviceInfo);
    return allocateSlot(std::make_unique<HandleLink>(std::move(settings), std::move(tables)));
}

}  // namespace

short Lutm_OpenHandleCommon(const std::string& deviceInfoName, const std::string& id)
{
    const auto settings = std::make_unique<HandleSettings>();
    const auto deviceInfo = std::make_unique<DeviceInfo>();

    std::string modulePath;  // stays empty, which is the current directory, if the ID names none
    Lutm_ModuleFileFullPath(kModuleRoot, id, modulePath);
    if (const short status = readSettings(modulePath, *settings)) {
        return status;
    }
    if (const short status = readDeviceInfoFile(deviceInfoName, *settings, *deviceInfo)) {
        return status;
    }
    return Lutm_createUnicodeTable(*settings, *deviceInfo);
}

}  // namespace ruvo

#include "converter/profile/CharacterFileReader.h"

#include "converter/RuvoConverter.h"
#include "converter/profile/ReportingFile.h"
#include "converter/profile/TableFiles.h"
#include "converter/profile/UnicodeData.h"

#include <vector>

namespace ruvo {

namespace {

// Keeps the status of the first of several readings that failed.
class FirstStatus {
public:
    explicit FirstStatus(const ProfileListener* listener) : m_goesOnAlways(listener != nullptr) {}

    // Takes the status of the next reading. False when nothing more must be read.
    bool take(short status)
    {
        if (m_status == RUVO_OK) {
            m_status = status;
        }
        return m_status == RUVO_OK || m_goesOnAlways;
    }

    short status() const { return m_status; }

private:
    bool m_goesOnAlways;
    short m_status = RUVO_OK;
};

// Reads `count` files of one kind into a list and sorts it by code point. readFile(i) appends the
// entries of file i. False when nothing more must be read.
template <class ReadFile>
bool readFiles(std::int16_t count, std::vector<MapEntry>& list, FirstStatus& status,
               ReadFile readFile)
{
    const auto files = static_cast<std::size_t>(count);
    list.reserve(files * kMaxFileEntries);
    for (std::size_t i = 0; i < files; ++i) {
        if (!status.take(readFile(i))) {
            return false;
        }
    }
    Lutm_UnicodeQuickSort(list);
    return true;
}

bool readTables(ReportingFile& file, const HandleSettings& settings, const DeviceInfo& deviceInfo,
                std::vector<MapEntry>& list, FirstStatus& status)
{
    return readFiles(settings.sMappingTableNumber, list, status, [&](std::size_t i) {
        const TableEntry& table = deviceInfo.astTable[i];
        return readTableFile(file, settings.szDeviceInfoPath + table.szTableFileName,
                             TableFileKind::translation, table.ucTableCommandParam, list);
    });
}

bool readSets(ReportingFile& file, const HandleSettings& settings, const DeviceInfo& deviceInfo,
              std::vector<MapEntry>& list, FirstStatus& status)
{
    return readFiles(deviceInfo.sInternalCharacterSetNumber, list, status, [&](std::size_t i) {
        const ICSEntry& set = deviceInfo.astICS[i];
        return readTableFile(file, settings.szDeviceInfoPath + set.szICSFileName,
                             TableFileKind::internalSet, set.ucICSCommandParam, list);
    });
}

}  // namespace

short readCharacterFiles(const HandleSettings& settings, const DeviceInfo& deviceInfo,
                         CharacterTables& tables, ProfileListener* listener)
{
    ReportingFile file(listener);
    FirstStatus status(listener);
    std::vector<MapEntry> tableList;
    std::vector<MapEntry> icsList;
    if (!readTables(file, settings, deviceInfo, tableList, status) ||
        !readSets(file, settings, deviceInfo, icsList, status)) {
        return status.status();
    }
    if (listener != nullptr) {  // told if the file cannot be opened, which the reader does not
        file.open(unicodeDataPath(settings), RUVO_UNICODE_DATA_MISSING, RUVO_OK);
    }
    status.take(Lutm_createTranslationTable(file.reader(), tableList, icsList, settings, tables));
    return status.status();
}

}  // namespace ruvo

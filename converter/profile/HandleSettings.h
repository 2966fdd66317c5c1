// The settings of a handle from its settings files, and the state that its calls change.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

namespace ruvo {

inline constexpr std::size_t kMaxTables = 256;
inline constexpr std::uint16_t kNoTable = 0xFFFF;

struct HandleSettings {
    // [Settings] of HalvoSet.txt
    std::int16_t sEncodeType = 0;  // "EncodeTypeDefault" up to RuvoSetEncodeType
    std::uint8_t ucMissingCharacterCode = 0;
    std::string szDeviceInfoPath;  // with "/" at its end
    std::int16_t sMaximumHandle = 0;
    std::uint32_t ulOutputBufferBlockSize = 0;
    std::uint8_t ucOutputBufferBlockMax = 0;

    // [LOG] of HalvoSet.txt
    std::string szLogFilePath;      // with "/" at its end
    std::uint8_t ucLogMaxSize = 0;  // megabytes

    // [Common] of the device information file
    std::int16_t sMappingTableNumber = 0;
    std::uint8_t ucICSCommandDefault = 0;
    std::uint32_t ulDecompositionClassNumber = 0;
    std::uint8_t ucGeneralCategorySize = 0;
    std::uint8_t ucCanonicalCombiningClassSize = 0;
    std::uint8_t ucBidiClassSize = 0;
    std::uint8_t ucDecompositionMappingSize = 0;

    // Code page of each table, by the table's command parameter; kNoTable without a table.
    std::array<std::uint16_t, 256> ausTableCodePage{};
    // Command parameter of the target code page's table, or kNoTable for the automatic choice.
    std::uint16_t usTargetTable = kNoTable;
    // Command parameter of the current table: the one that the output selected last. Outlives a
    // text and a retrieval of the output: the next text goes on with it.
    std::uint8_t ucCurrentTable = 0;

    // Command parameter of the selected table, which is searched first for each character: the
    // target code page's table, else the current one.
    std::uint8_t selectedTable() const
    {
        return usTargetTable == kNoTable ? ucCurrentTable
                                         : static_cast<std::uint8_t>(usTargetTable);
    }
};

struct TableEntry {
    std::int16_t sCodePage = 0;
    std::string szTableFileName;
    std::uint8_t ucTableCommandParam = 0;
};

struct ICSEntry {
    std::string szICSFileName;
    std::uint8_t ucICSCommandParam = 0;
};

// The settings that are only needed while the tables are built.
struct DeviceInfo {
    std::int16_t sInternalCharacterSetNumber = 0;
    std::array<TableEntry, kMaxTables> astTable;
    std::array<ICSEntry, kMaxTables> astICS;
};

}  // namespace ruvo

// A handle's operation log: one "IN" and one "OUT" entry for each public call, with hex dumps.
//
// No logging failure changes a call: what cannot be written is dropped.
#pragma once

#include "converter/log/LogFile.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ruvo {

struct HandleSettings;

enum class LogDirection { in, out };

// The entry writers, one for each public call, called with its arguments. A call through which data
// passes has it dumped as it stands at that moment, and only over the room that the caller is known
// to have.

struct LogBuffer {
    const std::uint8_t* data;
    const unsigned long* length;  // null where the caller gave none
    unsigned long room;           // bytes that may be read at data
};

void Lutm_RuvoOpenHandle(LogDirection direction, LogContext& log, const HandleSettings& settings,
                         const std::uint8_t* pucDeviceInfo, unsigned long ulDeviceInfoLength,
                         std::string_view deviceInfoName, short status) noexcept;
void Lutm_RuvoCloseHandle(LogDirection direction, LogContext& log, short sHandle,
                          short status) noexcept;
void Lutm_RuvoSetData(LogDirection direction, LogContext& log, short sHandle,
                      const std::uint8_t* pucData, unsigned long ulDataLength,
                      short status) noexcept;
void Lutm_RuvoGetOutputData(LogDirection direction, LogContext& log, short sHandle,
                            const LogBuffer& printData, short status) noexcept;
void Lutm_RuvoGetRawData(LogDirection direction, LogContext& log, short sHandle,
                         const LogBuffer& charCode, const LogBuffer& tableInfo,
                         const LogBuffer& iSetInfo, short status) noexcept;
void Lutm_RuvoSetTargetCodePage(LogDirection direction, LogContext& log, short sHandle,
                                long lCodePage, short status) noexcept;
void Lutm_RuvoSetEncodeType(LogDirection direction, LogContext& log, short sHandle,
                            short sEncodeType, short status) noexcept;

}  // namespace ruvo

// A handle's operation log: one "IN" and one "OUT" entry for each public call, with hex dumps.
//
// No logging failure changes a call: an entry that cannot be written is dropped.
#pragma once

#include "converter/log/LogFile.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ruvo {

struct HandleSettings;

enum class LogDirection { in, out };

// One function per public call writes an entry with the call's arguments. Text and output are
// dumped as they are at that moment; of an output buffer only the bytes that the caller declared
// are read.

struct LogBuffer {
    const std::uint8_t* data;     // owned by the caller; may be null
    const unsigned long* length;  // null if the caller gave none
    unsigned long room;           // *length at the start of the call: bytes that may be read
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

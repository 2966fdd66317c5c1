// A handle's operation log: one "IN" and one "OUT" entry for each public call, with hex dumps.
//
// No logging failure changes a call: what cannot be written is dropped.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace ruvo {

struct HandleSettings;

enum class LogDirection { in, out };

// The log's state. A handle owns it; the close moves it out, because its last entry is written
// when the handle is gone.
struct LogContext {
    struct FileCloser {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::string szLogFilePath;                        // the folder, with "/" at its end
    std::uint8_t ucLogMaxSize;                        // of a file, in megabytes of 2^20 bytes
    char szLogFileName[96];                           // without extension
    std::unique_ptr<std::FILE, FileCloser> pLogFile;  // null while there is no log
};

// Opens the log file, named by the time of the call, unless it is open. Without a folder that takes
// the file, or with something else than a regular file in its place, there is no log.
void Cutm_CheckOpenLogFile(LogContext& log) noexcept;

// Appends whole lines, each with its LF. The line that would take the file past ucLogMaxSize moves
// the file to ".bak", in place of the one that is there, and begins a new file.
void Cutm_WriteLog(LogContext& log, std::string_view lines) noexcept;

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

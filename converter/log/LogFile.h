// The file of an operation log: its name, its size and its rotation.
#pragma once

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>

namespace ruvo {

struct LocalTime {
    std::tm parts{};
    int millisecond = 0;
    bool valid = false;
};

// The time of the call. Not valid where the C library cannot tell it.
LocalTime localTime();

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

}  // namespace ruvo

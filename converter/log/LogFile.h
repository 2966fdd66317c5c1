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

// The current time. Not valid if the C library cannot give it.
LocalTime localTime();

// The state of a log. A handle owns it; RuvoCloseHandle moves it out, because the last entry is
// written after the handle has been freed.
struct LogContext {
    struct FileCloser {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::string szLogFilePath;                        // the folder, with "/" at its end
    std::uint8_t ucLogMaxSize;                        // largest file, 1..10 times 2^20 bytes
    char szLogFileName[96];                           // without ".txt" or ".bak"
    std::unique_ptr<std::FILE, FileCloser> pLogFile;  // null while there is no log
};

// Opens the log file, named after the current time, unless one is open. If it cannot be opened or
// is no regular file, there is no log.
void Cutm_CheckOpenLogFile(LogContext& log) noexcept;

// Appends whole lines, each with its LF. Before a line that would make the file larger than
// ucLogMaxSize, moves the file to ".bak", replacing an older backup, and begins a new file.
void Cutm_WriteLog(LogContext& log, std::string_view lines) noexcept;

}  // namespace ruvo

#include "converter/log/LogFile.h"

#include <cerrno>
#include <cstddef>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ruvo {

namespace {

constexpr long kMegabyte = 1048576;

// Of the live file or of the backup. A path has at most 200 characters and a "/".
class FilePath {
public:
    FilePath(const LogContext& log, const char* extension)
    {
        std::snprintf(m_text, sizeof m_text, "%s%s%s", log.szLogFilePath.c_str(), log.szLogFileName,
                      extension);
    }
    const char* text() const { return m_text; }

private:
    char m_text[256];
};

// Null for what is no regular file: a pipe would hold the caller up until somebody reads it.
std::FILE* openRegularFile(const char* path)
{
    const int file = open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY,
                          S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH);
    if (file < 0) {
        return nullptr;
    }
    struct stat properties;
    const bool isRegular = fstat(file, &properties) == 0 && S_ISREG(properties.st_mode);
    std::FILE* const stream = isRegular ? fdopen(file, "ab") : nullptr;
    if (stream == nullptr) {
        close(file);
    }
    return stream;
}

bool openForAppending(LogContext& log)
{
    log.pLogFile.reset(openRegularFile(FilePath(log, ".txt").text()));
    // Lines come in blocks, and a reader is to see them at once.
    if (log.pLogFile) {
        std::setvbuf(log.pLogFile.get(), nullptr, _IONBF, 0);
    }
    return log.pLogFile != nullptr;
}

// Moves the live file to ".bak", in place of the one that is there, and begins a new one. False
// when that fails: without a stream the handle's later entries are dropped, so that the live file
// never exceeds its size.
bool rotate(LogContext& log)
{
    const FilePath live(log, ".txt");
    const FilePath backup(log, ".bak");
    unlink(backup.text());  // which leaves a folder alone, even an empty one
    if (std::fclose(log.pLogFile.release()) != 0) {
        return false;
    }
    // Somebody may have taken the live file away already.
    const bool moved = std::rename(live.text(), backup.text()) == 0 || errno == ENOENT;
    return moved && openForAppending(log);
}

// Other handles may write to the same file, so its size is asked for each time.
long fileSize(std::FILE* file)
{
    return std::fseek(file, 0, SEEK_END) == 0 ? std::ftell(file) : -1;
}

// The length of the whole lines at the front of `lines` that go into `room` bytes.
std::size_t fittingLength(std::string_view lines, long room)
{
    if (room <= 0) {
        return 0;
    }
    if (lines.size() <= static_cast<std::size_t>(room)) {
        return lines.size();
    }
    return lines.rfind('\n', static_cast<std::size_t>(room) - 1) + 1;
}

}  // namespace

LocalTime localTime()
{
    LocalTime result;
    std::timespec now{};
    if (std::timespec_get(&now, TIME_UTC) == 0) {
        return result;
    }
    result.valid = localtime_r(&now.tv_sec, &result.parts) != nullptr;
    result.millisecond = static_cast<int>(now.tv_nsec / 1000000);
    return result;
}

void Cutm_CheckOpenLogFile(LogContext& log) noexcept
{
    if (log.pLogFile || log.szLogFilePath.empty()) {
        return;
    }
    const LocalTime now = localTime();
    std::snprintf(log.szLogFileName, sizeof log.szLogFileName,
                  "HalvoCvtLog_%4d%02d%02d%02d%02d%02d%03d", now.parts.tm_year + 1900,
                  now.parts.tm_mon + 1, now.parts.tm_mday, now.parts.tm_hour, now.parts.tm_min,
                  now.parts.tm_sec, now.millisecond);
    openForAppending(log);
}

void Cutm_WriteLog(LogContext& log, std::string_view lines) noexcept
{
    const long limit = log.ucLogMaxSize * kMegabyte;
    while (!lines.empty() && log.pLogFile) {
        const long size = fileSize(log.pLogFile.get());
        if (size < 0) {
            return;
        }
        std::size_t length = fittingLength(lines, limit - size);
        if (length == 0) {
            if (!rotate(log)) {
                return;
            }
            length = lines.find('\n') + 1;
        }
        std::fwrite(lines.data(), 1, length, log.pLogFile.get());
        lines.remove_prefix(length);
    }
}

}  // namespace ruvo

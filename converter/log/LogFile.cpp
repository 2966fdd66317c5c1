#include "converter/log/LogFile.h"

#include <cerrno>
#include <cstddef>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ruvo {

namespace {

constexpr long kMegabyte = 1048576;

// The path of the live file or of the backup. The folder has at most 200 bytes and a "/", so the
// path fits.
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

// Null for anything but a regular file: writing to a pipe would wait until somebody reads it.
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
    // Lines come in blocks already, and must be in the file when the call returns.
    if (log.pLogFile) {
        std::setvbuf(log.pLogFile.get(), nullptr, _IONBF, 0);
    }
    return log.pLogFile != nullptr;
}

// Moves the live file to ".bak", replacing an older backup, and opens a new live file. False when
// that fails; the log has then no stream and drops later entries, so that the live file never
// exceeds its size.
bool rotate(LogContext& log)
{
    const FilePath live(log, ".txt");
    const FilePath backup(log, ".bak");
    unlink(backup.text());  // never removes a folder, as remove() would
    if (std::fclose(log.pLogFile.release()) != 0) {
        return false;
    }
    // ENOENT: another program has removed the live file.
    const bool moved = std::rename(live.text(), backup.text()) == 0 || errno == ENOENT;
    return moved && openForAppending(log);
}

// The size in bytes, or -1. Not kept, because other handles may write to the same file.
long fileSize(std::FILE* file)
{
    return std::fseek(file, 0, SEEK_END) == 0 ? std::ftell(file) : -1;
}

// The length of the first whole lines of `lines` that fit into `room` bytes.
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

#include "converter/profile/LineReader.h"

#include "converter/RuvoConverter.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ruvo {

namespace {

constexpr std::size_t kBufferSize = 64 * 1024;

}  // namespace

void LineReader::closeFile()
{
    if (m_file >= 0) {
        close(m_file);
    }
}

short LineReader::open(const std::string& path, short missingStatus)
{
    closeFile();
    // O_NONBLOCK: opening a pipe must not wait for a writer.
    m_file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (m_file < 0) {
        return errno == ENOENT ? missingStatus : short{RUVO_FILE_NOT_OPENED};
    }
    struct stat properties;
    m_isRegular = fstat(m_file, &properties) == 0 && S_ISREG(properties.st_mode);
    if (!m_buffer) {
        m_buffer = std::make_unique_for_overwrite<char[]>(kBufferSize);
    }
    m_begin = m_end = 0;
    m_lineNumber = 0;
    m_continues = m_goesOn = false;
    return RUVO_OK;
}

bool LineReader::next(std::string_view& line)
{
    std::size_t length = 0;
    while ((length = lineLength()) == 0) {
        if (!refill()) {
            length = m_end - m_begin;
            break;
        }
    }
    if (length == 0) {
        return false;
    }
    const char* const start = m_buffer.get() + m_begin;
    m_begin += length;
    m_continues = m_goesOn;
    m_lineNumber += m_continues ? 0 : 1;
    m_goesOn = start[length - 1] != '\n';
    const void* const nul = m_holdsNul ? std::memchr(start, '\0', length) : nullptr;
    line = {start, nul != nullptr ? static_cast<std::size_t>(static_cast<const char*>(nul) - start)
                                  : length};
    return true;
}

// The length of the line or piece at m_begin; 0 when its end is not in the buffer.
std::size_t LineReader::lineLength() const
{
    const char* const start = m_buffer.get() + m_begin;
    const std::size_t available = std::min(m_end - m_begin, kMaxLineLength);
    if (const void* const lineFeed = std::memchr(start, '\n', available)) {
        return static_cast<std::size_t>(static_cast<const char*>(lineFeed) - start) + 1;
    }
    return available == kMaxLineLength ? kMaxLineLength : 0;
}

// Moves the bytes that are left to the buffer's start and reads more after them. False at the end
// of the file.
bool LineReader::refill()
{
    std::memmove(m_buffer.get(), m_buffer.get() + m_begin, m_end - m_begin);
    m_end -= m_begin;
    m_begin = 0;
    ssize_t count = 0;
    if (m_isRegular) {
        do {
            count = read(m_file, m_buffer.get() + m_end, kBufferSize - m_end);
        } while (count < 0 && errno == EINTR);
    }
    m_end += static_cast<std::size_t>(std::max(count, ssize_t{0}));
    m_holdsNul = std::memchr(m_buffer.get(), '\0', m_end) != nullptr;
    return count > 0;
}

}  // namespace ruvo

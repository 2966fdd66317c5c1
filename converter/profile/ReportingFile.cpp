#include "converter/profile/ReportingFile.h"

#include "converter/RuvoConverter.h"

#include <cerrno>
#include <system_error>

namespace ruvo {

std::string quoted(std::string_view text)
{
    constexpr std::size_t maxLength = 60;
    constexpr char digits[] = "0123456789ABCDEF";
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    std::string result = "\"";
    if (text.starts_with(byteOrderMark)) {  // invisible otherwise
        result += "<byte order mark>";
        text.remove_prefix(byteOrderMark.size());
    }
    for (const char c : text.substr(0, maxLength)) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte != 0x7F) {
            result += c;
        } else if (c == '\t') {
            result += "<TAB>";
        } else if (c != '\r' && c != '\n') {
            result.append({'<', digits[byte >> 4], digits[byte & 15], '>'});
        }
    }
    return result + (text.size() > maxLength ? "...\"" : "\"");
}

short ReportingFile::open(const std::string& path, short missingStatus, short invalidStatus)
{
    const short status = m_reader.open(path, missingStatus);
    if (m_listener != nullptr) {
        const int error = errno;
        m_path = path;
        m_invalidStatus = invalidStatus;
        if (status != RUVO_OK) {
            const std::string reason = std::generic_category().message(error);
            m_listener->noLines(path, "cannot be opened: " + reason, status);
        } else if (!m_reader.isRegular()) {
            m_listener->noLines(path, "is no regular file and reads as an empty one", RUVO_OK);
        }
    }
    return status;
}

void ReportingFile::remarkLongLine() const
{
    remark([] {
        return "is longer than " + std::to_string(kMaxLineLength) +
               " characters: what follows them is read as a line of its own";
    });
}

}  // namespace ruvo

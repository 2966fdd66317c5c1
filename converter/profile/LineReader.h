// Reads the converter's text files line by line.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace ruvo {

// Longest line in bytes, by contract: a buffer of 1024 characters with a terminator.
inline constexpr std::size_t kMaxLineLength = 1023;

class LineReader {
public:
    LineReader() = default;
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;
    ~LineReader() { closeFile(); }

    // Opens `path` and closes the file before. Returns 0, `missingStatus` when there is no such
    // file, or -30 when it cannot be opened for another reason. Anything but a regular file, such
    // as a directory or a device, opens and has no lines. Throws std::bad_alloc.
    short open(const std::string& path, short missingStatus);

    // Whether the open file is a regular one.
    bool isRegular() const { return m_isRegular; }

    // Gives the next line with its line break. A line of more than kMaxLineLength bytes is given in
    // pieces. A NUL byte ends the text of its line or piece. The view is good until the next call.
    // False at the end of the file, and when it cannot be read.
    bool next(std::string_view& line);

    // The number, counted from 1, of the line that was given last, and whether next gave a piece
    // that is not the line's first one.
    std::size_t lineNumber() const { return m_lineNumber; }
    bool continues() const { return m_continues; }

private:
    void closeFile();
    std::size_t lineLength() const;
    bool refill();

    int m_file = -1;  // the descriptor; -1 without a file
    bool m_isRegular = false;
    std::unique_ptr<char[]> m_buffer;
    std::size_t m_begin = 0;  // of the bytes in m_buffer that have not been given
    std::size_t m_end = 0;
    bool m_holdsNul = false;  // the buffer had a NUL byte when it was filled
    std::size_t m_lineNumber = 0;
    bool m_continues = false;
    bool m_goesOn = false;  // the line given last has no LF
};

// Gives the next line that is neither empty nor starts with `comment`. A line that begins with a
// NUL byte is given, as an empty text. False at the end of the file.
inline bool nextContentLine(LineReader& reader, char comment, std::string_view& line)
{
    while (reader.next(line)) {
        if (line.empty() || (line[0] != comment && line[0] != '\n' && line[0] != '\r')) {
            return true;
        }
    }
    return false;
}

}  // namespace ruvo

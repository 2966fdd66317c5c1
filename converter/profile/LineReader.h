// Reads the converter's text files line by line.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace ruvo {

// A line buffer holds 1024 characters, the terminator included.
inline constexpr std::size_t kMaxLineLength = 1023;

class LineReader {
public:
    LineReader() = default;
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;
    ~LineReader() { closeFile(); }

    // Opens `path`. Returns 0, `missingStatus` when there is no such file, or -30 when it cannot be
    // opened for another reason. What is no regular file, such as a directory or a device, opens
    // and has no lines.
    short open(const std::string& path, short missingStatus);

    // Whether the file opened last is a regular one.
    bool isRegular() const { return m_isRegular; }

    // Gives the next line with its line break, or at most kMaxLineLength characters of it: a longer
    // line goes on as the next one. A NUL byte ends the text of its line. The view is good until
    // the next call. False at the end of the file.
    bool next(std::string_view& line);

    // Of the line that was given last: its number in the file, from 1 on, and whether it is the
    // rest of a longer one.
    std::size_t lineNumber() const { return m_lineNumber; }
    bool continues() const { return m_continues; }

private:
    void closeFile();
    std::size_t lineLength() const;
    bool refill();

    int m_file = -1;  // a descriptor; below 0 without a file
    bool m_isRegular = false;
    std::unique_ptr<char[]> m_buffer;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    bool m_holdsNul = false;  // somewhere between m_begin and m_end
    std::size_t m_lineNumber = 0;
    bool m_continues = false;
    bool m_goesOn = false;  // the line given last has no LF
};

// Gives the next line that is neither blank nor starts with the file format's comment character. A
// line that begins with a NUL byte is neither.
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

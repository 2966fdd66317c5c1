// A text file of a profile while it is read, and the listener that is told of its faults.
#pragma once

#include "converter/profile/LineReader.h"
#include "converter/profile/ProfileListener.h"

#include <string>
#include <string_view>

namespace ruvo {

// A piece of a file for a message: in quotes, at most 60 bytes of it, control characters in hex,
// and without CR and LF.
std::string quoted(std::string_view text);

class ReportingFile {
public:
    // The listener, null without one, is the caller's and must outlive the file.
    explicit ReportingFile(ProfileListener* listener = nullptr) : m_listener(listener) {}

    // Opens the file `path` in place of the one before. Returns 0, -30 or `missingStatus`. Faults
    // in the file are told with `invalidStatus`.
    short open(const std::string& path, short missingStatus, short invalidStatus);

    // Gives the next line as nextContentLine does, and remarks on lines that are too long.
    bool next(char comment, std::string_view& line)
    {
        const bool found = nextContentLine(m_reader, comment, line);
        if ((m_listener != nullptr) && found && m_reader.continues()) {
            remarkLongLine();
        }
        return found;
    }

    ProfileListener* listener() const { return m_listener; }

    // For a caller that reads the lines by itself.
    LineReader& reader() { return m_reader; }

    // The number of the line that was given last, counted from 1.
    std::size_t lineNumber() const { return m_reader.lineNumber(); }

    // Tell the listener of a fault or remark, at the line given last or (faultAt) at another one; 0
    // is the whole file. makeWords returns the message; it is called only if there is a listener.
    template <class MakeWords>
    void fault(MakeWords makeWords) const
    {
        faultAt(lineNumber(), makeWords);
    }
    template <class MakeWords>
    void faultAt(std::size_t line, MakeWords makeWords) const
    {
        if (m_listener) {
            m_listener->fault({m_path, line}, makeWords(), m_invalidStatus);
        }
    }
    template <class MakeWords>
    void remark(MakeWords makeWords) const
    {
        if (m_listener) {
            m_listener->remark({m_path, lineNumber()}, makeWords());
        }
    }

    void valueRead(std::string_view key, std::size_t index) const
    {
        if (m_listener != nullptr) {
            m_listener->valueRead({m_path, lineNumber()}, key, index);
        }
    }
    void entryRead(TableFileKind kind, const MapEntry& entry) const
    {
        if (m_listener != nullptr) {
            m_listener->entryRead({m_path, lineNumber()}, kind, entry);
        }
    }

private:
    void remarkLongLine() const;

    ProfileListener* m_listener;
    LineReader m_reader;
    std::string m_path;
    short m_invalidStatus = 0;
};

}  // namespace ruvo

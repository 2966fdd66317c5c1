// One text file of a profile while it is read, and the listener that hears of its faults.
#pragma once

#include "converter/profile/LineReader.h"
#include "converter/profile/ProfileListener.h"

#include <string>
#include <string_view>

namespace ruvo {

// A piece of a file for a message: in quotes, not too long, on one line.
std::string quoted(std::string_view text);

class ReportingFile {
public:
    // Without a listener nothing is told.
    explicit ReportingFile(ProfileListener* listener = nullptr) : m_listener(listener) {}

    // Opens the file of another path. Returns 0, -30 or `missingStatus`. A fault inside the file
    // has `invalidStatus`.
    short open(const std::string& path, short missingStatus, short invalidStatus);

    // Gives the next line that is neither blank nor a comment.
    bool next(char comment, std::string_view& line)
    {
        const bool found = nextContentLine(m_reader, comment, line);
        if ((m_listener != nullptr) && found && m_reader.continues()) {
            remarkLongLine();
        }
        return found;
    }

    ProfileListener* listener() const { return m_listener; }

    // For a file that has a reading of its own.
    LineReader& reader() { return m_reader; }

    // Of the line that was given last, counted from 1.
    std::size_t lineNumber() const { return m_reader.lineNumber(); }

    // These tell the listener of the line given last, or of another one. makeWords returns the
    // message; it is called when somebody listens.
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
    void remarkLongLine();

    ProfileListener* m_listener;
    LineReader m_reader;
    std::string m_path;
    short m_invalidStatus = 0;
    std::size_t m_longLine = 0;  // the last one that was remarked on
};

}  // namespace ruvo

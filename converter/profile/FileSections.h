// The sections of a settings or device information file, and the lines between them.
#pragma once

#include "converter/profile/KeyValueSection.h"
#include "converter/profile/ReportingFile.h"

#include <span>
#include <string>
#include <string_view>

namespace ruvo {

// A section with a fixed header: [Settings], [LOG] or [Common].
class FixedSection {
public:
    FixedSection(std::string header, std::span<const SectionKey> keys, SectionTarget target,
                 const ReportingFile& file);

    // Opens the section when the line is its header.
    bool open(std::string_view line);

    // Reads a line inside the section. False when the line ends it. For a listener the lines behind
    // a fault that has ended it are checked on, up to one with "[".
    bool read(std::string_view line);

    // The line that read refused has not ended the section: a fault in front of it has.
    bool endedBefore() const { return m_broken; }

    // Takes notice of a line in no section.
    void noteUnreadHeader(std::string_view line);

    // Every key must be set where the section ends: a later section of the same name cannot help.
    void requireComplete();

    // The file has ended. Returns whether the section is valid.
    bool finish();

    bool seen() const { return m_seen; }

private:
    void tellMissingKeys();

    std::string m_header;
    KeyValueSection m_section;
    const ReportingFile& m_file;
    std::size_t m_lastLine = 0;  // in the section, or the one that ended it
    bool m_seen = false;
    bool m_error = false;
    bool m_broken = false;  // ended by a fault, checked on
};

// A part made of sections [<name>1], [<name>2] and so on: the tables or the character sets.
//
//   waiting --[<name>1]--> reading --a line that is no next section--> over
//
// A fault ends the part too. For a listener the part goes on: the file is invalid whatever comes.
class NumberedSections {
public:
    // countKey is the key that tells how many sections there are.
    NumberedSections(const std::string& name, const char* countKey,
                     std::span<const SectionKey> keys, SectionTarget target,
                     const ReportingFile& file);

    // Tests a line outside all sections. True when it opens the part, which it can only when the
    // part before it has been read.
    bool open(std::string_view line, bool mayStart);

    // Reads a line inside the part, which is to have `count` sections. False when the line ends
    // the part.
    bool read(std::string_view line, int count);

    // Takes notice of a line in no section.
    void noteUnreadHeader(std::string_view line);

    // The file ends inside the part.
    void end();

    // The file has ended. Returns whether the part is valid. `due`: it was its turn.
    bool finish(int count, bool due);

    bool seen() const { return m_seen; }
    bool over() const { return m_over; }

    // The sections that are to be, for a message.
    std::string range(int count) const;

private:
    std::string header() const { return m_prefix + std::to_string(m_number) + "]"; }

    template <class MakeWords>
    void fault(MakeWords makeWords)
    {
        m_invalid = true;
        m_file.fault(makeWords);
    }

    bool requireKeys();
    bool readHeader(std::string_view line, int count);
    int numberIn(std::string_view line) const;

    std::string m_prefix;
    const char* m_countKey;
    KeyValueSection m_section;
    const ReportingFile& m_file;
    std::size_t m_lastLine = 0;  // in the part, or the one that ended it
    int m_number = 1;            // of the section that is read or looked for
    int m_wrongNumber = 0;       // of the last header out of order
    bool m_seen = false;
    bool m_over = false;
    bool m_invalid = false;
};

// Tells of lines that no section reads: of the first one in a row, and of the first that looks like
// a header.
class UnreadLines {
public:
    explicit UnreadLines(const ReportingFile& file) : m_file(file) {}

    // makeOrder returns the sections that the file is to have.
    template <class MakeOrder>
    void tell(std::string_view line, MakeOrder makeOrder)
    {
        const bool isHeader = line.starts_with('[');
        if (isHeader && !m_headerTold) {
            m_file.remark([&] {
                return quoted(line) + " opens no section here: it is not read, nor are the lines " +
                       "behind it; the sections must be " + makeOrder() + ", in this order";
            });
        } else if (!m_told) {
            m_file.remark([&] { return quoted(line) + " stands in no section and is not read"; });
        }
        m_headerTold = m_headerTold || isHeader;
        m_told = true;
    }

    // A section has been opened, or goes on.
    void endRow() { m_told = m_headerTold = false; }

private:
    const ReportingFile& m_file;
    bool m_told = false;
    bool m_headerTold = false;
};

}  // namespace ruvo

// The sections of a settings or device information file, and the lines between them.
//
// A file is read once, line by line; each line goes to the section that is open. What ends a
// section is a line without one of its keys, and that line is looked at once more: it may be the
// header of the section that comes next. In a device information file with two tables:
//
//   [Common]                      opens the section [Common]
//   MappingTableNumber=2 ...      one line for each of its keys
//   [Table1]                      no key: ends [Common], opens the tables (number 1)
//   CodePage=437 ...              the keys of [Table1]
//   [Table2]                      no key, [Table1] is complete: number 2 starts
//   CodePage=850 ...
//   [ICS1]                        no key, number 3 is more than 2: ends the tables, opens the sets
//
// A header is only a header where its section may open. At any other place it is a line without a
// key like any other: installed files have such lines, and an open must read the same values from
// them as ever. (So "[Foo]" after the last key of [Table2] would use up the line that could open
// [ICS1], but an [ICS1] on the line after it opens the sets.)
//
// An open stops reading a section at the section's first fault. For a listener the section goes on,
// to find more faults. The status is the same: a FixedSection only checks the further lines, and
// NumberedSections are invalid by then, whatever follows.
#pragma once

#include "converter/profile/KeyValueSection.h"
#include "converter/profile/ReportingFile.h"

#include <span>
#include <string>
#include <string_view>

namespace ruvo {

// A section with a fixed header: [Settings], [LOG] or [Common].
//
// State     Event                              Action                            Next state
// --------  ---------------------------------  --------------------------------  ----------
// unseen    a line that nothing reads and      keep its number for the message   missed
//           that is the header
// unseen,   the header where it may be         -                                 reading
// missed,
// ended
// reading   a key with a good value            store the value                   reading
//           a key with a bad value, no "["     fault, the key counts as unset    checking *
//           a key with a bad value and "["     fault, the key counts as unset    ended
//           no key and no "["                  fault, the section is invalid     checking *
//           no key but "["                     -                                 ended
// checking  no "["                             a fault if a rule is broken       checking
//           "["                                -                                 ended
// any       end of file                        fault if the header never came    the same
//                                              or keys are missing
//
// * ended without a listener: the open stops at the first fault of the section.
class FixedSection {
public:
    FixedSection(std::string header, std::span<const SectionKey> keys, SectionTarget target,
                 const ReportingFile& file);

    // Opens the section when the line is its header.
    bool open(std::string_view line);

    enum class Reading {
        goesOn,
        endsHere,     // the line ends the section
        endedBefore,  // a fault had ended it; the lines up to this one have only been checked
    };

    // Reads a line inside the section.
    Reading read(std::string_view line);

    // If the line, which no section reads, is the header, remembers its number for the message.
    void noteUnreadHeader(std::string_view line);

    // Every key must be set where the section ends: a later section of the same name cannot help.
    void requireComplete();

    // The file has ended. Returns whether the section is valid.
    bool finish();

    bool seen() const { return m_state != State::unseen && m_state != State::missed; }

private:
    enum class State { unseen, missed, reading, checking, ended };

    State stateAfterFault() const
    {
        return m_file.listener() != nullptr ? State::checking : State::ended;
    }
    void checkLine(std::string_view line);
    void tellMissingKeys();

    std::string m_header;
    KeyValueSection m_section;
    const ReportingFile& m_file;
    State m_state = State::unseen;
    std::size_t m_lastLine = 0;  // the last line of the section, the one that ended or missed it
    bool m_invalid = false;      // by a fault that no later section of the name makes up for
};

// A part of a file made of sections [<name>1], [<name>2] and so on: the tables or the sets.
//
// State    Event                              Action                              Next state
// -------  ---------------------------------  ----------------------------------  ----------
// unseen   a line that nothing reads and      keep its number for the message     missed
//          that is a header of the part
// unseen,  [<name>1] where the part may       -                                   reading
// missed   begin
// reading  a key with a good value            store the value                     reading
//          a key with a bad value             fault                               reading *
//          no key, no "[", and keys or        fault                               reading *
//          sections are left to come
//          the header that is due             fault * for missing keys, number+1  reading
//          another header of the part, no     fault for missing keys and for the  reading *
//          section's turn                     number
//          the header that continues a        fault * for missing keys, number    reading
//          wrong number                       is the header's
//          another line, or no section left   fault for missing keys, number+1    over
//          end of file                        fault for missing keys, number+1    over
// others   [<name>] in no other section       fault                               the same
//
// * over without a listener. Every fault makes the part invalid. It is invalid, too, when the file
// ends before the number has passed the last section.
class NumberedSections {
public:
    // countKey is the key that tells how many sections there are.
    NumberedSections(const std::string& name, const char* countKey,
                     std::span<const SectionKey> keys, SectionTarget target,
                     const ReportingFile& file);

    // Tests a line outside all sections. True when it opens the part, which it can only where the
    // part may start: after the end of the part before it.
    bool open(std::string_view line, bool mayStart);

    // Reads a line inside the part, which is to have `count` sections; 0 when [Common] does not
    // tell. False when the line ends the part.
    bool read(std::string_view line, int count);

    // If the line, which no section reads, is a header of the part, remembers its number for the
    // message.
    void noteUnreadHeader(std::string_view line);

    // The file ends inside the part.
    void end();

    // The file has ended. Returns whether the part is valid. `due`: the part before this one has
    // been seen, so that a fault tells when this one is missing.
    bool finish(int count, bool due);

    bool seen() const { return m_state == State::reading || over(); }
    bool over() const { return m_state == State::over; }

    // The headers that the part is to have, for a message.
    std::string range(int count) const;

private:
    enum class State { unseen, missed, reading, over };

    std::string header() const { return m_prefix + std::to_string(m_number) + "]"; }

    template <class MakeWords>
    void fault(MakeWords makeWords)
    {
        m_invalid = true;
        m_file.fault(makeWords);
    }

    State stateAfterFault() const
    {
        return m_file.listener() != nullptr ? State::reading : State::over;
    }
    State endSection(std::string_view line, int count);
    State startSection(std::string_view line);
    bool requireKeys();
    int numberIn(std::string_view line) const;

    std::string m_prefix;
    const char* m_countKey;
    KeyValueSection m_section;
    const ReportingFile& m_file;
    State m_state = State::unseen;
    std::size_t m_lastLine = 0;  // the last line of the part, the one that ended or missed it
    int m_number = 1;            // of the section that is read or due
    int m_wrongNumber = 0;       // of the last header out of order; 0 without one
    bool m_invalid = false;
};

// Tells the listener of lines that no section reads. Of several such lines in a row it tells the
// first one and the first one that looks like a header.
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
                       "after it; the sections must be " + makeOrder() + ", in this order";
            });
        } else if (!m_told) {
            m_file.remark([&] { return quoted(line) + " is in no section and is not read"; });
        }
        m_headerTold = m_headerTold || isHeader;
        m_told = true;
    }

    // A section has read the line.
    void endRow() { m_told = m_headerTold = false; }

private:
    const ReportingFile& m_file;
    bool m_told = false;
    bool m_headerTold = false;
};

}  // namespace ruvo

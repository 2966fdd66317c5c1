#include "converter/profile/FileSections.h"

#include <charconv>
#include <utility>

namespace ruvo {

namespace {

bool holdsBracket(std::string_view line)
{
    return line.find('[') != std::string_view::npos;
}

// Messages for both kinds of sections.

std::string noKeyOf(const std::string& section, std::string_view line)
{
    return quoted(line) + " is no key of " + section +
           ", nor a comment, which has \";\" in the first column";
}

std::string endsWithout(const std::string& section, const std::string& keys)
{
    return section + " ends here without " + keys;
}

std::string notFound(const std::string& section, bool missed)
{
    return section + " is missing" + (missed ? ", and this one is not read" : "");
}

}  // namespace

FixedSection::FixedSection(std::string header, std::span<const SectionKey> keys,
                           SectionTarget target, const ReportingFile& file)
    : m_header(std::move(header)), m_section(keys, target, file), m_file(file)
{
}

bool FixedSection::open(std::string_view line)
{
    const bool isHeader = line.starts_with(m_header);
    if (isHeader) {
        m_state = State::reading;
        m_lastLine = m_file.lineNumber();
    }
    return isHeader;
}

FixedSection::Reading FixedSection::read(std::string_view line)
{
    m_lastLine = m_file.lineNumber();
    const bool hasBracket = holdsBracket(line);
    if (m_state == State::checking) {
        if (hasBracket) {
            m_state = State::ended;
            return Reading::endedBefore;
        }
        checkLine(line);
        return Reading::goesOn;
    }
    const KeyValueSection::Line result = m_section.read(line);
    if (result == KeyValueSection::Line::stored) {
        return Reading::goesOn;
    }
    if (result == KeyValueSection::Line::noKey && !hasBracket) {
        m_invalid = true;
        m_file.fault([&] { return noKeyOf(m_header, line); });
    }
    m_state = hasBracket ? State::ended : stateAfterFault();
    return m_state == State::checking ? Reading::goesOn : Reading::endsHere;
}

void FixedSection::noteUnreadHeader(std::string_view line)
{
    if (m_state == State::unseen && line.starts_with(m_header)) {
        m_state = State::missed;
        m_lastLine = m_file.lineNumber();
    }
}

void FixedSection::requireComplete()
{
    m_invalid = m_invalid || !m_section.complete();
    tellMissingKeys();
}

bool FixedSection::finish()
{
    if (!seen()) {
        m_file.faultAt(m_lastLine, [&] { return notFound(m_header, m_state == State::missed); });
        return false;
    }
    tellMissingKeys();
    return !m_invalid && m_section.complete();
}

void FixedSection::checkLine(std::string_view line)
{
    if (!m_section.check(line)) {
        m_file.fault([&] { return noKeyOf(m_header, line); });
    }
}

void FixedSection::tellMissingKeys()
{
    const std::string keys = m_file.listener() != nullptr ? m_section.takeMissingKeys() : "";
    if (!keys.empty()) {
        m_file.faultAt(m_lastLine, [&] { return endsWithout(m_header, keys); });
    }
}

NumberedSections::NumberedSections(const std::string& name, const char* countKey,
                                   std::span<const SectionKey> keys, SectionTarget target,
                                   const ReportingFile& file)
    : m_prefix("[" + name), m_countKey(countKey), m_section(keys, target, file), m_file(file)
{
}

bool NumberedSections::open(std::string_view line, bool mayStart)
{
    if (line.starts_with(m_prefix + "]")) {
        fault([&] { return m_prefix + "] has no number"; });
    }
    if (!mayStart || over() || !line.starts_with(header())) {
        return false;
    }
    m_state = State::reading;
    return true;
}

bool NumberedSections::read(std::string_view line, int count)
{
    m_lastLine = m_file.lineNumber();
    switch (m_section.read(line)) {
    case KeyValueSection::Line::stored:
        break;
    case KeyValueSection::Line::rejected:
        m_invalid = true;
        m_state = stateAfterFault();
        break;
    case KeyValueSection::Line::noKey:
        m_state = endSection(line, count == 0 ? int{kMaxTables} : count);
        break;
    }
    return !over();
}

void NumberedSections::noteUnreadHeader(std::string_view line)
{
    if (m_state == State::unseen && line.starts_with(m_prefix)) {
        m_state = State::missed;
        m_lastLine = m_file.lineNumber();
    }
}

void NumberedSections::end()
{
    requireKeys();
    ++m_number;
    m_state = State::over;
}

bool NumberedSections::finish(int count, bool due)
{
    if (!seen() && due) {
        m_file.faultAt(m_lastLine, [&] { return notFound(header(), m_state == State::missed); });
    } else if (seen() && m_number <= count && m_wrongNumber == 0) {
        m_file.faultAt(m_lastLine, [&] {
            return header() + " is due here at the latest, as " + quoted(m_countKey) + " is " +
                   std::to_string(count);
        });
    }
    return !m_invalid && m_number > count;
}

std::string NumberedSections::range(int count) const
{
    std::string text = m_prefix + "1]";
    if (count == 0) {
        text += " and so on";
    } else if (count > 1) {
        text.append(" to ").append(m_prefix).append(std::to_string(count)) += ']';
    }
    return text;
}

bool NumberedSections::requireKeys()
{
    if (m_section.complete()) {
        return true;
    }
    m_invalid = true;
    const std::string keys = m_file.listener() != nullptr ? m_section.takeMissingKeys() : "";
    if (!keys.empty()) {
        m_file.fault([&] { return endsWithout(header(), keys); });
    }
    return false;
}

// A line without a key: ends the section that is read, and may be the header of the next one.
NumberedSections::State NumberedSections::endSection(std::string_view line, int count)
{
    if (!holdsBracket(line) && (!m_section.complete() || m_number < count)) {
        fault([&] { return noKeyOf(header(), line); });
        return stateAfterFault();
    }
    if (!requireKeys() && stateAfterFault() == State::over) {
        return State::over;
    }
    ++m_number;
    return m_number > count ? State::over : startSection(line);
}

// Starts the section that is due. After a wrong number the next headers may count on from it.
NumberedSections::State NumberedSections::startSection(std::string_view line)
{
    State next = State::reading;
    if (!line.starts_with(header())) {
        if (!line.starts_with(m_prefix)) {
            return State::over;
        }
        const int number = numberIn(line);
        if (m_wrongNumber != 0 && number == m_wrongNumber + 1) {
            m_number = number;
        } else {
            fault(
                [&] { return quoted(line) + " is not the header that is due here, " + header(); });
            m_wrongNumber = number;
            next = stateAfterFault();
        }
    }
    m_section.start(static_cast<std::size_t>(m_number) - 1);
    return next;
}

// The number in a header of the part; 0 when it has none from 1 to kMaxTables.
int NumberedSections::numberIn(std::string_view line) const
{
    int number = 0;
    std::from_chars(line.data() + m_prefix.size(), line.data() + line.size(), number);
    return number >= 1 && number <= int{kMaxTables} ? number : 0;
}

}  // namespace ruvo

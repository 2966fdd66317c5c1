#include "converter/profile/FileSections.h"

#include <charconv>
#include <utility>

namespace ruvo {

namespace {

bool holdsBracket(std::string_view line)
{
    return line.find('[') != std::string_view::npos;
}

// Messages of both kinds of sections.

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
        m_seen = true;
        m_broken = false;
        m_lastLine = m_file.lineNumber();
    }
    return isHeader;
}

bool FixedSection::read(std::string_view line)
{
    m_lastLine = m_file.lineNumber();
    const bool hasBracket = holdsBracket(line);
    if (m_broken) {
        if (!hasBracket && !m_section.check(line)) {
            m_file.fault([&] { return noKeyOf(m_header, line); });
        }
        return !hasBracket;
    }
    const KeyValueSection::Line result = m_section.read(line);
    if (result == KeyValueSection::Line::stored) {
        return true;
    }
    if (result == KeyValueSection::Line::noKey && !hasBracket) {
        m_error = true;
        m_file.fault([&] { return noKeyOf(m_header, line); });
    }
    m_broken = (m_file.listener() != nullptr) && !hasBracket;
    return m_broken;
}

void FixedSection::noteUnreadHeader(std::string_view line)
{
    if (!m_seen && m_lastLine == 0 && line.starts_with(m_header)) {
        m_lastLine = m_file.lineNumber();
    }
}

void FixedSection::requireComplete()
{
    m_error = m_error || !m_section.complete();
    tellMissingKeys();
}

bool FixedSection::finish()
{
    if (m_seen) {
        tellMissingKeys();
    } else {
        m_file.faultAt(m_lastLine, [&] { return notFound(m_header, m_lastLine > 0); });
    }
    return m_seen && !m_error && m_section.complete();
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
    if (!mayStart || m_over || !line.starts_with(header())) {
        return false;
    }
    m_seen = true;
    return true;
}

bool NumberedSections::read(std::string_view line, int count)
{
    m_lastLine = m_file.lineNumber();
    bool goesOn = false;
    switch (m_section.read(line)) {
    case KeyValueSection::Line::stored:
        return true;
    case KeyValueSection::Line::rejected:
        m_invalid = true;
        goesOn = (m_file.listener() != nullptr);
        break;
    case KeyValueSection::Line::noKey:
        goesOn = readHeader(line, count);
        break;
    }
    m_over = !goesOn;
    return goesOn;
}

void NumberedSections::noteUnreadHeader(std::string_view line)
{
    if (!m_seen && m_lastLine == 0 && line.starts_with(m_prefix)) {
        m_lastLine = m_file.lineNumber();
    }
}

void NumberedSections::end()
{
    requireKeys();
    ++m_number;
}

bool NumberedSections::finish(int count, bool due)
{
    if (!m_seen && due) {
        m_file.faultAt(m_lastLine, [&] { return notFound(header(), m_lastLine > 0); });
    } else if (m_seen && m_number <= count && m_wrongNumber == 0) {
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

bool NumberedSections::readHeader(std::string_view line, int count)
{
    if (count == 0) {  // [Common] lacks it
        count = kMaxTables;
    }
    if (!holdsBracket(line) && (!m_section.complete() || m_number < count)) {
        fault([&] { return noKeyOf(header(), line); });
        return m_file.listener() != nullptr;
    }
    if (!requireKeys() && (m_file.listener() == nullptr)) {
        return false;
    }
    ++m_number;
    if (m_number > count) {
        return false;
    }
    if (!line.starts_with(header())) {
        if (!line.starts_with(m_prefix)) {
            return false;
        }
        // Behind a wrong number the sections may count on from it.
        const int number = numberIn(line);
        if (m_wrongNumber == 0 || number != m_wrongNumber + 1) {
            fault([&] { return quoted(line) + " stands where " + header() + " is due"; });
            if (m_file.listener() == nullptr) {
                return false;
            }
            m_wrongNumber = number;
        } else {
            m_number = number;
        }
    }
    m_section.start(static_cast<std::size_t>(m_number) - 1);
    return true;
}

// The number in a header of the part; 0 when there is none that can be.
int NumberedSections::numberIn(std::string_view line) const
{
    int number = 0;
    std::from_chars(line.data() + m_prefix.size(), line.data() + line.size(), number);
    return number >= 1 && number <= int{kMaxTables} ? number : 0;
}

}  // namespace ruvo

#include "converter/profile/KeyValueSection.h"

#include <charconv>
#include <limits>

namespace ruvo {

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Stores the value after the key. False, and nothing is stored, when it breaks the key's rule.
bool storeValue(const SectionKey& key, SectionTarget& target, std::string_view textAfter)
{
    std::string_view value;
    if (!Lutm_ExistEqualCheck(textAfter, value)) {
        return false;
    }
    if (key.storeText != nullptr) {
        const std::string_view text = withoutLineBreak(value);
        if (text.size() > static_cast<std::size_t>(key.maximum)) {
            return false;
        }
        key.storeText(target, text);
        return true;
    }
    long number = 0;
    if (!Lutm_NumberCheck(value) || !Lutm_RangeCheck(value, key.minimum, key.maximum, number)) {
        return false;
    }
    key.storeNumber(target, number);
    return true;
}

std::string_view trimmed(std::string_view text)
{
    return text.substr(0, text.find_first_of("\r\n"));
}

// The message for a value that breaks the rule of its key.
std::string brokenRule(const SectionKey& key, std::string_view textAfter)
{
    std::string rule = quoted(key.name) + " must be ";
    if (key.storeText != nullptr) {
        rule += "a text of 1 to " + std::to_string(key.maximum) + " characters";
    } else {
        rule +=
            "a number from " + std::to_string(key.minimum) + " to " + std::to_string(key.maximum);
    }

    const std::size_t equal = textAfter.find('=');
    if (equal == std::string_view::npos) {
        return rule + ", but there is no \"=\" after the key";
    }
    const std::string_view value = textAfter.substr(equal + 1);
    const std::string_view shown = trimmed(value);
    if (shown.empty()) {
        return rule + ", but there is nothing after the \"=\"";
    }
    if (key.storeText != nullptr) {
        return rule + ", but has " + std::to_string(withoutLineBreak(value).size());
    }
    const bool onlyDigits = shown.find_first_not_of("0123456789") == std::string_view::npos;
    if (onlyDigits && shown.size() == value.size()) {
        return rule + ", but the line of " + quoted(shown) + " has no line break";
    }
    if (!onlyDigits) {
        return rule + ", of digits only, but is " + quoted(shown);
    }
    return rule + ", but is " + std::string(shown.substr(0, 20)) + (shown.size() > 20 ? "..." : "");
}

}  // namespace

bool Lutm_ExistEqualCheck(std::string_view text, std::string_view& value)
{
    const std::size_t equal = text.find('=');
    if (equal == std::string_view::npos) {
        return false;
    }
    value = text.substr(equal + 1);
    return value.empty() || (value[0] != '\n' && value[0] != '\r');
}

bool Lutm_NumberCheck(std::string_view value)
{
    std::size_t digits = 0;
    while (digits < value.size() && isDigit(value[digits])) {
        ++digits;
    }
    return digits > 0 && digits < value.size() && (value[digits] == '\n' || value[digits] == '\r');
}

bool Lutm_RangeCheck(std::string_view value, long minimum, long maximum, long& number)
{
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    if (error == std::errc::result_out_of_range) {
        number = std::numeric_limits<long>::max();
    }
    return minimum <= number && number <= maximum;
}

std::string_view withoutLineBreak(std::string_view value)
{
    return value.substr(0, value.size() < 2 ? 0 : value.size() - 2);
}

bool KeyValueSection::find(std::string_view line, FoundKey& found) const
{
    for (std::size_t i = 0; i < m_keys.size(); ++i) {
        const std::size_t position = line.find(m_keys[i].name);
        if (position == std::string_view::npos) {
            continue;
        }
        found = {i, line.substr(position + m_keys[i].name.size())};
        return true;
    }
    return false;
}

KeyValueSection::Line KeyValueSection::read(std::string_view line)
{
    FoundKey found{};
    if (!find(line, found)) {
        return Line::noKey;
    }
    const SectionKey& key = m_keys[found.index];
    const bool setBefore = m_set[found.index];
    m_named[found.index] = true;
    m_set[found.index] = storeValue(key, m_target, found.textAfter);
    if (!m_set[found.index]) {
        m_file.fault([&] { return brokenRule(key, found.textAfter); });
        return Line::rejected;
    }
    m_file.valueRead(key.name, m_target.index);
    remarkOn(key, line, setBefore);
    return Line::stored;
}

bool KeyValueSection::check(std::string_view line)
{
    FoundKey found{};
    if (!find(line, found)) {
        return false;
    }
    SectionKey key = m_keys[found.index];
    m_named[found.index] = true;
    if (key.storeNumber != nullptr) {
        key.storeNumber = [](SectionTarget&, long) {};
    } else if (m_set[found.index]) {
        key.storeText = [](SectionTarget&, std::string_view) {};
    }
    if (!storeValue(key, m_target, found.textAfter)) {
        m_file.fault([&] { return brokenRule(key, found.textAfter); });
        return true;
    }
    if (key.storeText != nullptr) {
        m_file.valueRead(key.name, m_target.index);
    }
    remarkOn(key, line, false);
    return true;
}

std::string KeyValueSection::takeMissingKeys()
{
    std::string list;
    for (std::size_t i = 0; i < m_keys.size(); ++i) {
        if (!m_named[i]) {
            list += (list.empty() ? "" : ", ") + quoted(m_keys[i].name);
        }
        m_named[i] = true;
    }
    return list;
}

void KeyValueSection::remarkOn(const SectionKey& key, std::string_view line, bool setBefore) const
{
    if (!line.starts_with(key.name)) {
        m_file.remark(
            [&] { return "sets " + quoted(key.name) + ", which is not at the start of the line"; });
    }
    if (setBefore) {
        m_file.remark(
            [&] { return "sets " + quoted(key.name) + " again; only this value is used"; });
    }
    if ((key.storeText != nullptr) && !line.ends_with("\r\n")) {
        m_file.remark([&] {
            const std::string_view value = line.substr(line.find('=', line.find(key.name)) + 1);
            return quoted(key.name) + " is cut to " + quoted(withoutLineBreak(value)) +
                   ": a text loses its last two characters, and the line does not end in CR LF";
        });
    }
}

}  // namespace ruvo

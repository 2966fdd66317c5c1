#include "SectionReader.h"

#include <charconv>
#include <limits>

namespace ruvo {

namespace {

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool storeValue(const SectionKey& key, SectionTarget& target, std::string_view textAfterKey)
{
    std::string_view value;
    if (!Lutm_ExistEqualCheck(textAfterKey, value))
        return false;
    if (key.storeText) {
        const std::string_view text = withoutLineBreak(value);
        if (text.size() > static_cast<std::size_t>(key.maximum))
            return false;
        key.storeText(target, text);
        return true;
    }
    long number = 0;
    if (!Lutm_NumberCheck(value) || !Lutm_RangeCheck(value, key.minimum, key.maximum, number))
        return false;
    key.storeNumber(target, number);
    return true;
}

}  // namespace

bool Lutm_ExistEqualCheck(std::string_view text, std::string_view& value)
{
    const std::size_t equal = text.find('=');
    if (equal == std::string_view::npos)
        return false;
    value = text.substr(equal + 1);
    return value.empty() || (value[0] != '\n' && value[0] != '\r');
}

bool Lutm_NumberCheck(std::string_view value)
{
    std::size_t digits = 0;
    while (digits < value.size() && isDigit(value[digits]))
        ++digits;
    return digits > 0 && digits < value.size() && (value[digits] == '\n' || value[digits] == '\r');
}

bool Lutm_RangeCheck(std::string_view value, long minimum, long maximum, long& number)
{
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    if (error == std::errc::result_out_of_range)
        number = std::numeric_limits<long>::max();
    return minimum <= number && number <= maximum;
}

std::string_view withoutLineBreak(std::string_view value)
{
    return value.substr(0, value.size() < 2 ? 0 : value.size() - 2);
}

Section::Line Section::read(std::string_view line)
{
    for (std::size_t i = 0; i < m_keys.size(); ++i) {
        const std::size_t position = line.find(m_keys[i].name);
        if (position == std::string_view::npos)
            continue;
        m_set[i] = storeValue(m_keys[i], m_target, line.substr(position + m_keys[i].name.size()));
        return m_set[i] ? Line::stored : Line::rejected;
    }
    return Line::noKey;
}

}  // namespace ruvo

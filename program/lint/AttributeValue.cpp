#include "program/lint/AttributeValue.h"

#include "engine/TagParser.h"
#include "program/stream/DisplayCommands.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <vector>

namespace {

constexpr int kMostInterval = 255 * kBlinkStep;

struct Reading : TagParser {
    using TagParser::decimal;
    using TagParser::lowByte;
    using TagParser::lowShort;
};

std::int32_t decimal(const std::string& value)
{
    return Reading::decimal(reinterpret_cast<const unsigned char*>(value.c_str()));
}

bool isChoice(std::string_view value, std::string_view choices)
{
    while (!choices.empty()) {
        const std::size_t end = std::min(choices.find(", "), choices.size());
        if (choices.substr(0, end) == value) {
            return true;
        }
        choices.remove_prefix(std::min(end + 2, choices.size()));
    }
    return false;
}

// What goes out for a number, in the unit of the attribute.
int sent(const AttributeRow& row, std::int32_t number)
{
    switch (row.kind) {
    case ValueKind::word:
        return Reading::lowShort(number);
    case ValueKind::interval:
        return Reading::lowByte(number / kBlinkStep + (number % kBlinkStep != 0 ? 1 : 0)) *
               kBlinkStep;
    default:
        return Reading::lowByte(number);
    }
}

int most(ValueKind kind)
{
    return kind == ValueKind::word ? 65535 : kind == ValueKind::interval ? kMostInterval : 255;
}

// As the schema has it: blanks at both ends of a number are no fault.
std::string_view trimmed(std::string_view number)
{
    constexpr std::string_view blanks = " \t\r\n";
    number.remove_prefix(std::min(number.find_first_not_of(blanks), number.size()));
    return number.substr(0, number.find_last_not_of(blanks) + 1);
}

std::string numberFault(const AttributeRow& row, const std::string& value)
{
    const std::string_view written = trimmed(value);
    const bool digits = !written.empty() && std::ranges::all_of(written, [](unsigned char c) {
        return std::isdigit(c) != 0;
    });
    const std::int32_t number = decimal(value);
    if (digits && number >= row.least && number <= most(row.kind)) {
        return "";
    }
    const int counted = sent(row, number);
    return "is no number from " + std::to_string(row.least) + " to " +
           std::to_string(most(row.kind)) + " and counts as " + std::to_string(counted) +
           (counted == 0 && !row.otherwise.empty() ? ", which " + std::string(row.otherwise) : "");
}

bool isLanguage(std::string_view value)
{
    bool first = true;
    while (true) {
        const std::size_t size = std::min(value.find('-'), value.size());
        const std::string_view part = value.substr(0, size);
        const bool good = size >= 1 && size <= 8 && std::ranges::all_of(part, [&](unsigned char c) {
                              return std::isalpha(c) != 0 || (!first && std::isdigit(c) != 0);
                          });
        if (!good || size == value.size()) {
            return good;
        }
        value.remove_prefix(size + 1);
        first = false;
    }
}

char lowered(char c)
{
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

// Levenshtein distance.
std::size_t distance(std::string_view left, std::string_view right)
{
    std::vector<std::size_t> row(right.size() + 1);
    std::iota(row.begin(), row.end(), 0U);
    for (std::size_t i = 0; i < left.size(); ++i) {
        std::size_t diagonal = row[0]++;
        for (std::size_t k = 0; k < right.size(); ++k) {
            const std::size_t replaced = diagonal + (left[i] == right[k] ? 0 : 1);
            diagonal = row[k + 1];
            row[k + 1] = std::min({replaced, row[k] + 1, diagonal + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string valueFault(const AttributeRow& row, const std::string& value)
{
    switch (row.kind) {
    case ValueKind::number:
    case ValueKind::word:
    case ValueKind::interval:
        return numberFault(row, value);
    case ValueKind::language:
        return isLanguage(value) ? "" : "is no language, such as en or de-AT";
    case ValueKind::choice:
    case ValueKind::percent:
        break;
    }
    if (isChoice(row.kind == ValueKind::percent ? trimmed(value) : value, row.choices)) {
        return "";
    }
    const std::string number = std::to_string(decimal(value));
    const bool understood = row.kind == ValueKind::percent && isChoice(number, row.choices);
    return (row.choices.find(',') == std::string_view::npos ? "is not " : "is none of ") +
           std::string(row.choices) + " and " +
           (understood ? "counts as " + number : std::string(row.otherwise));
}

std::string_view nearest(std::string_view name, std::span<const std::string_view> names)
{
    constexpr std::size_t longestName = 40;
    std::string_view best;
    std::size_t least = 3;
    for (const std::string_view candidate : names) {
        if (std::ranges::equal(name, candidate, {}, lowered)) {
            return candidate;
        }
        const std::size_t steps = name.size() > longestName ? least : distance(name, candidate);
        if (steps < least && steps < candidate.size()) {
            least = steps;
            best = candidate;
        }
    }
    return best;
}

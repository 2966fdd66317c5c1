#include "program/stream/Explanation.h"

#include "program/text/CharacterText.h"
#include "program/text/HexText.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace {

constexpr std::size_t kBytesPerLine = 8;
constexpr std::size_t kLongestRun = 64 * 1024;

}  // namespace

class Explanation::Words {
public:
    explicit Words(const ProfileTables& tables) : m_tables(tables), m_state(tables.powerOn()) {}

    // Says what an item does. Remembers the table and set that it selects, for the texts after it.
    std::string words(const StreamItem& item)
    {
        switch (item.kind) {
        case StreamItem::Kind::text:
            return "text " + quoted(item.bytes);
        case StreamItem::Kind::unknown:
            return item.bytes.size() == 1 ? "unknown byte" : "unknown bytes";
        case StreamItem::Kind::cut:
            return item.command != nullptr ? "cut: " + commandWords(item)
                                           : "cut: the first byte of a command";
        case StreamItem::Kind::command:
            applySwitch(item);
            if (item.command->action == Action::reset) {
                m_state = m_tables.powerOn();
            }
            return commandWords(item);
        }
        return {};
    }

private:
    void applySwitch(const StreamItem& item)
    {
        if (item.command->action == Action::codeTable) {
            m_state.table = static_cast<std::uint8_t>(*item.parameter(0));
        } else if (item.command->action == Action::characterSet) {
            m_state.set = static_cast<std::uint8_t>(*item.parameter(0));
        }
    }

    // The characters of text bytes; a byte without a character becomes "<hex>".
    std::string characters(ByteSpan bytes) const
    {
        std::string text;
        for (const std::uint8_t byte : bytes) {
            if (const auto character = m_tables.character(m_state, byte)) {
                appendCharacter(text, *character);
            } else {
                text += "<" + hexBytes({&byte, 1}) + ">";
            }
        }
        return text;
    }

    std::string quoted(ByteSpan bytes) const { return "\"" + characters(bytes) + "\""; }

    // The text of a marquee. The tables and sets that it selects stay selected after it.
    std::string textWithSwitches(ByteSpan bytes)
    {
        std::string text;
        StreamReader reader(bytes, StreamReader::Commands::switches);
        for (StreamItem item; reader.next(item);) {
            if (item.kind == StreamItem::Kind::command) {
                applySwitch(item);
            } else {
                text += characters(item.bytes);
            }
        }
        return "\"" + text + "\"";
    }

    // The command's words with its parameters; "..." for each that is cut off.
    std::string commandWords(const StreamItem& item)
    {
        constexpr std::string_view kPlace = "{}";
        std::string text;
        std::string_view rest = item.command->words;
        for (std::size_t i = 0; i < item.command->parameters.size(); ++i) {
            const std::size_t place = rest.find(kPlace);
            if (place == std::string_view::npos) {
                break;
            }
            text += rest.substr(0, place);
            rest.remove_prefix(place + kPlace.size());
            const auto value = item.parameter(i);
            text += value ? parameterWords(item, item.command->parameters[i], *value) : "...";
        }
        return text.append(rest);
    }

    std::string parameterWords(const StreamItem& item, Parameter parameter, unsigned value)
    {
        switch (parameter) {
        case Parameter::none:
        case Parameter::digitZero:
            return {};
        case Parameter::number:
            return std::to_string(value);
        case Parameter::wait:
            return std::to_string(value) + " ms";
        case Parameter::repeat:
            return value == 0 ? "for ever"
                              : std::to_string(value) + (value == 1 ? " run" : " runs");
        case Parameter::blinkSteps:
            return value == 0 ? "off" : "every " + std::to_string(value * kBlinkStep) + " ms";
        case Parameter::table:
            return m_tables.tableName(value);
        case Parameter::set:
            return m_tables.setName(value);
        case Parameter::text: {
            const std::size_t size = item.text().size();
            return textWithSwitches(item.text()) +
                   (size < value
                        ? ", " + std::to_string(size) + " of " + std::to_string(value) + " bytes"
                        : "");
        }
        default: {
            const ParameterValue* const row =
                findValue(parameter, static_cast<std::uint8_t>(value));
            return row != nullptr ? std::string(row->words)
                                  : "<unknown value " + std::to_string(value) + ">";
        }
        }
    }

    const ProfileTables& m_tables;
    CodeState m_state;
};

namespace {

// The lines of an item; `words` say what it does.
std::string linesOf(const StreamItem& item, const std::string& words)
{
    char line[64];
    std::string text;
    for (std::size_t i = 0; i < item.bytes.size(); i += kBytesPerLine) {
        const ByteSpan row = item.bytes.subspan(i, std::min(kBytesPerLine, item.bytes.size() - i));
        if (i == 0) {
            std::snprintf(line, sizeof line, "%08zx  %-*s  ", item.offset,
                          static_cast<int>(3 * kBytesPerLine - 1), hexBytes(row).c_str());
            text += line + words;
        } else {
            text += std::string(10, ' ') + hexBytes(row);
        }
        text += '\n';
    }
    return text;
}

}  // namespace

Explanation::Explanation(const ProfileTables& tables, std::function<void(std::string_view)> write)
    : m_write(std::move(write)), m_words(std::make_unique<Words>(tables))
{
}

Explanation::~Explanation() = default;

void Explanation::take(const StreamItem& item)
{
    if (!item.continues) {
        flush();
    }
    if (item.kind == StreamItem::Kind::command || item.kind == StreamItem::Kind::cut) {
        m_write(linesOf(item, m_words->words(item)));
        return;
    }
    for (std::size_t at = 0; at < item.bytes.size();) {
        if (m_runBytes.empty()) {
            m_run = item;
            m_run.offset += at;
        }
        const std::size_t count = std::min(item.bytes.size() - at, kLongestRun - m_runBytes.size());
        const ByteSpan part = item.bytes.subspan(at, count);
        m_runBytes.insert(m_runBytes.end(), part.begin(), part.end());
        at += count;
        if (m_runBytes.size() == kLongestRun) {
            flush();
        }
    }
}

void Explanation::flush()
{
    if (!m_runBytes.empty()) {
        m_write(waiting());
        m_runBytes.clear();
    }
}

std::string Explanation::waiting() const
{
    StreamItem run = m_run;
    run.bytes = m_runBytes;
    return linesOf(run, m_words->words(run));
}

void explainStream(ByteSpan bytes, const ProfileTables& tables,
                   const std::function<void(std::string_view)>& write)
{
    constexpr std::size_t pieceSize = 64 * 1024;  // bytes; a piece may be longer by one item
    std::string text;
    Explanation explanation(tables, [&](std::string_view lines) {
        text += lines;
        if (text.size() > pieceSize) {
            write(text);
            text.clear();
        }
    });
    StreamReader reader(bytes);
    for (StreamItem item; reader.next(item);) {
        explanation.take(item);
    }
    explanation.flush();
    write(text);
}

#include "program/stream/CommandStream.h"

namespace {

unsigned littleEndian16(ByteSpan bytes)
{
    return bytes[0] | unsigned{bytes[1]} << 8;
}

// The size in bytes of this command, with its text, if `bytes` begin with it; 0 if they do not. If
// the stream ends inside the command, the size is larger than `bytes`.
std::size_t commandSize(const DisplayCommand& command, ByteSpan bytes)
{
    for (std::size_t i = 0; i < command.prefixSize() && i < bytes.size(); ++i) {
        if (bytes[i] != command.prefix[i]) {
            return 0;
        }
    }
    std::size_t size = command.prefixSize();
    for (const Parameter parameter : command.parameters) {
        const std::size_t start = size;
        size += parameterSize(parameter);
        if (size > bytes.size()) {
            continue;
        }
        if (parameter == Parameter::digitZero && bytes[start] != '0') {
            return 0;
        }
        if (parameter == Parameter::text) {
            size += littleEndian16(bytes.subspan(start, 2));
        }
    }
    return size;
}

}  // namespace

std::optional<unsigned> StreamItem::parameter(std::size_t index) const
{
    std::size_t start = command->prefixSize();
    for (std::size_t i = 0; i < index; ++i) {
        start += parameterSize(command->parameters[i]);
    }
    const std::size_t size = parameterSize(command->parameters[index]);
    if (start + size > bytes.size()) {
        return std::nullopt;
    }
    return size == 2 ? littleEndian16(bytes.subspan(start, 2)) : bytes[start];
}

ByteSpan StreamItem::text() const
{
    std::size_t start = command->prefixSize();
    for (const Parameter parameter : command->parameters) {
        start += parameterSize(parameter);
    }
    return start < bytes.size() ? bytes.subspan(start) : ByteSpan{};
}

bool StreamReader::knows(const DisplayCommand& command) const
{
    return m_commands == Commands::all || command.action == Action::codeTable ||
           command.action == Action::characterSet;
}

// Reads the command, whole or cut, that begins at the position. False if none begins there.
bool StreamReader::readCommand(StreamItem& item) const
{
    const ByteSpan rest = m_bytes.subspan(m_position);
    for (const DisplayCommand& command : kDisplayCommands) {
        const std::size_t size = knows(command) ? commandSize(command, rest) : 0;
        if (size == 0) {
            continue;
        }
        const bool whole = size <= rest.size();
        // After its first byte alone it is not known which command was cut.
        item = {whole ? StreamItem::Kind::command : StreamItem::Kind::cut, m_position,
                rest.first(whole ? size : rest.size()),
                rest.size() < command.prefixSize() ? nullptr : &command, false};
        return true;
    }
    return false;
}

bool StreamReader::next(StreamItem& item)
{
    if (m_position == m_bytes.size()) {
        return false;
    }
    if (!isText(m_bytes[m_position]) && readCommand(item)) {
        m_position += item.bytes.size();
        return true;
    }
    StreamItem following;
    const std::size_t start = m_position;
    const bool text = isText(m_bytes[start]);
    do {
        ++m_position;
    } while (m_position < m_bytes.size() && isText(m_bytes[m_position]) == text &&
             (text || !readCommand(following)));
    item = {text ? StreamItem::Kind::text : StreamItem::Kind::unknown, start,
            m_bytes.subspan(start, m_position - start), nullptr, false};
    return true;
}

void PieceReader::feed(ByteSpan piece)
{
    m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_position));
    m_offset += m_position;
    m_position = 0;
    m_bytes.insert(m_bytes.end(), piece.begin(), piece.end());
}

bool PieceReader::next(StreamItem& item)
{
    if (!StreamReader(ByteSpan(m_bytes).subspan(m_position)).next(item) ||
        (item.kind == StreamItem::Kind::cut && !m_finished)) {
        return false;
    }
    item.offset = m_offset + m_position;
    item.continues = item.kind == m_last && item.command == nullptr;
    m_position += item.bytes.size();
    m_last = item.kind;
    return true;
}

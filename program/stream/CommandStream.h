// Cuts a command stream into commands, texts and unknown bytes.
#pragma once

#include "program/stream/DisplayCommands.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

using ByteSpan = std::span<const std::uint8_t>;

struct StreamItem {
    enum class Kind {
        command,
        text,     // character bytes: 0x20 to 0xFF
        unknown,  // control bytes that begin no command
        cut,      // a command that the end of the stream cuts off
    };

    Kind kind = Kind::unknown;
    std::size_t offset = 0;  // in the stream, in bytes
    ByteSpan bytes;          // a part of the stream, which must outlive the item
    // Null for text and unknown bytes, and if only the first byte of a command is left of it.
    const DisplayCommand* command = nullptr;
    bool continues = false;  // of text or unknown bytes: the item before is a part of the same run

    // The value of a parameter by its index in the command's row; for Parameter::text, the length
    // of the text. Nothing if the parameter is cut off. `command` must not be null, here and below.
    std::optional<unsigned> parameter(std::size_t index) const;
    // The text of a command that has one; of a cut command, what is left of it.
    ByteSpan text() const;
};

class StreamReader {
public:
    enum class Commands { all, switches };

    // `bytes` must outlive the reader. Commands::switches is for the text of a marquee, in which
    // only the switches of table and set are commands.
    explicit StreamReader(ByteSpan bytes, Commands commands = Commands::all)
        : m_bytes(bytes), m_commands(commands)
    {
    }

    // Reads the next item; false at the end. Items follow each other without gap or overlap.
    bool next(StreamItem& item);

private:
    bool readCommand(StreamItem& item) const;
    bool knows(const DisplayCommand& command) const;

    ByteSpan m_bytes;
    Commands m_commands;
    std::size_t m_position = 0;
};

// Cuts a stream that comes in pieces of any size. A command that has not come whole waits for its
// rest. A run of text or unknown bytes does not wait: what has come of it is an item, and its rest
// are items that continue it. All else is as with a StreamReader of the whole stream.
class PieceReader {
public:
    // Takes the next piece. Items that were read before end here.
    void feed(ByteSpan piece);
    // Takes the end of the stream: a command that still waits is cut.
    void finish() { m_finished = true; }

    // Reads the next item; false if there is none until more comes.
    bool next(StreamItem& item);

    // The size in bytes of what has come, and of the part of it that waits.
    std::size_t size() const { return m_offset + m_bytes.size(); }
    std::size_t waiting() const { return m_bytes.size() - m_position; }

private:
    std::vector<std::uint8_t> m_bytes;  // what has come, from m_offset of the stream on
    std::size_t m_offset = 0;
    std::size_t m_position = 0;  // in m_bytes, of what is to be read next
    bool m_finished = false;
    StreamItem::Kind m_last = StreamItem::Kind::command;
};

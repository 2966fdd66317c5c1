// Cuts a command stream into commands, texts and what is neither.
#pragma once

#include "program/stream/DisplayCommands.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

using ByteSpan = std::span<const std::uint8_t>;

struct StreamItem {
    enum class Kind {
        command,
        text,     // bytes from 20 on
        unknown,  // control bytes that begin no command
        cut,      // the stream ends inside a command
    };

    Kind kind = Kind::unknown;
    std::size_t offset = 0;
    ByteSpan bytes;
    // Of a command, and of a cut one unless it ends behind its first byte.
    const DisplayCommand* command = nullptr;

    // A parameter by its place in the command's row; of Parameter::text the length. Nothing where
    // the stream ends in front of its end.
    std::optional<unsigned> parameter(std::size_t index) const;
    // The text of a command that has one; of a cut one, what there is.
    ByteSpan text() const;
};

class StreamReader {
public:
    enum class Commands { all, switches };

    // `switches`: the text of a marquee, in which table and set switches are the only commands.
    explicit StreamReader(ByteSpan bytes, Commands commands = Commands::all)
        : m_bytes(bytes), m_commands(commands)
    {
    }

    // Gives the next item. The items follow each other without gap or overlap. False at the end.
    bool next(StreamItem& item);

private:
    bool readCommand(StreamItem& item) const;
    bool knows(const DisplayCommand& command) const;

    ByteSpan m_bytes;
    Commands m_commands;
    std::size_t m_position = 0;
};

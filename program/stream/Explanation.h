// A command stream in words.
#pragma once

#include "program/profile/ProfileTables.h"
#include "program/stream/CommandStream.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// Explains a stream item by item.
class Explanation {
public:
    // `write` gets the explanation, in UTF-8, in pieces of one or more whole lines. `tables` must
    // outlive the explanation.
    Explanation(const ProfileTables& tables, std::function<void(std::string_view)> write);
    ~Explanation();

    // Writes one line for each command, text and run of unknown bytes: offset, bytes, and what they
    // do. Bytes that do not fit the line follow on more lines, so every byte of the stream is in
    // exactly one. Texts are decoded with the table and set that the stream has selected. A run
    // waits until it ends; one of more than 65536 bytes is written as several.
    void take(const StreamItem& item);

    // Writes a run that waits. What continues it after that is written as another one. Where bytes
    // come in the course of time, call it when none have come for kRunWait milliseconds.
    void flush();
    static constexpr int kRunWait = 1000;

    // The lines of a run that waits, which has not been written.
    std::string waiting() const;

private:
    class Words;

    std::function<void(std::string_view)> m_write;
    std::unique_ptr<Words> m_words;
    StreamItem m_run;  // waits if it has bytes; they are those of m_runBytes
    std::vector<std::uint8_t> m_runBytes;
};

// Explains a whole stream; `write` gets pieces of some 64 KB.
void explainStream(ByteSpan bytes, const ProfileTables& tables,
                   const std::function<void(std::string_view)>& write);

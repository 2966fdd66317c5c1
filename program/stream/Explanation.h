// A command stream in words.
#pragma once

#include "program/profile/ProfileTables.h"
#include "program/stream/CommandStream.h"

#include <functional>
#include <string_view>

// Writes one line for each command, text and run of unknown bytes: offset, bytes, and what they do.
// Bytes that do not fit the line follow on more lines, so every byte of the stream is in exactly
// one. Texts are decoded with the table and set that the stream has selected. `write` gets the
// explanation, in UTF-8, in pieces of some 64 KB.
void explainStream(ByteSpan bytes, const ProfileTables& tables,
                   const std::function<void(std::string_view)>& write);

// A command stream in words.
#pragma once

#include "program/profile/ProfileTables.h"
#include "program/stream/CommandStream.h"

#include <functional>
#include <string_view>

// One line for each command, text and run of unknown bytes: offset, bytes, and what they do. More
// bytes than fit a line follow on lines of their own. Text is decoded with the switches in force.
// Every byte of the stream stands in exactly one line. The text goes to `write` in pieces.
void explainStream(ByteSpan bytes, const ProfileTables& tables,
                   const std::function<void(std::string_view)>& write);

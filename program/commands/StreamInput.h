// The input of the commands that take a command stream, or a document to make one from.
#pragma once

#include "program/profile/ProfileTables.h"
#include "program/stream/CommandStream.h"
#include "program/stream/Rendering.h"

#include <string>

struct StreamInput {
    std::string file = "-";
    ProfileOptions profile;
    bool document = false;  // At most one of these is set; without one, the input tells.
    bool hex = false;
    bool raw = false;

    // FILE, the flags, and the profile's options.
    void addTo(CLI::App& arguments);

    // Reads the file, and renders it if it is a document. Throws std::runtime_error.
    CommandBytes readStream() const;

    // The profile's tables, or those of no profile with a note on the standard error.
    ProfileTables readTables() const;
};

inline ByteSpan byteSpan(const std::string& bytes)
{
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

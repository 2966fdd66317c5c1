// The input of the commands that take a command stream, or a document that is rendered to one.
#pragma once

#include "program/profile/ProfileTables.h"
#include "program/stream/CommandStream.h"
#include "program/stream/Rendering.h"

#include <string>
#include <string_view>

// Whether the bytes look like a document. It begins with markup, after a byte order mark and white
// space, if any; unless it begins with "<?xml", it must not hold control codes. One in UTF-16
// begins with its byte order mark or with "<" in two bytes.
bool isDocument(std::string_view bytes);

// Says on the standard error if the bytes, which are no whole document, are no text either.
void tellIfNoDocument(const std::string& bytes);

// Renders a document as renderDocument does. If it is no text, says so on the standard error.
CommandBytes renderInput(const std::string& bytes, const ProfileOptions& profile);

struct StreamInput {
    std::string file = "-";
    ProfileOptions profile;
    bool document = false;  // At most one of these is set; without one, the input decides.
    bool hex = false;
    bool raw = false;

    // Adds FILE, the flags and the options that choose the profile.
    void addTo(CLI::App& arguments);

    // Reads the file, and renders it if it is a document. Throws std::runtime_error.
    CommandBytes readStream() const;
};

// The profile's tables. If the profile cannot be read, says so on the standard error and returns
// those of no profile, which know ASCII only.
ProfileTables readTables(const ProfileOptions& profile);

inline ByteSpan byteSpan(std::string_view bytes)
{
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

// The options that choose a device profile, and the rendering of a document with it.
#pragma once

#include <string>

namespace CLI {
class App;
}

struct ProfileOptions {
    std::string device = "default";
    std::string setting = "DEFAULT";

    // --device and --setting.
    void addTo(CLI::App& arguments);
};

// The folder of HalvoSet.txt that the ID file names, with "/" at its end; without one it is the
// current folder, "".
std::string profileFolder(const ProfileOptions& profile);

// The message for a profile that cannot be opened, with a status of enum RuvoStatus.
std::string openFailure(const ProfileOptions& profile, short status);

// Display commands.
struct CommandBytes {
    std::string bytes;
    bool whole = true;  // or those of the part of a document in front of its damage
};

// The display commands of a document. Tells on the standard error what the XML reader finds wrong.
// Throws std::runtime_error when the profile cannot be opened.
CommandBytes renderDocument(const std::string& document, const ProfileOptions& profile);

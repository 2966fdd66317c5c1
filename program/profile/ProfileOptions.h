// The options that choose a device profile.
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

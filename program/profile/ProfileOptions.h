// The options that choose a device profile.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

struct ProfileOptions {
    std::string device = "default";   // the device information file
    std::string setting = "DEFAULT";  // the ID file

    // Adds --device and --setting.
    void addTo(CLI::App& arguments);
};

// The folder of HalvoSet.txt that the ID file names, with "/" at its end; "", the current folder,
// if it names none.
std::string profileFolder(const ProfileOptions& profile);

// The files that are read of a profile, as far as they are found.
std::vector<std::string> profileFiles(const ProfileOptions& profile);

// The message for a profile that cannot be opened; `status` is one of enum RuvoStatus.
std::string openFailure(const ProfileOptions& profile, short status);

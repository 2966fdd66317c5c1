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

// The message for a profile that cannot be opened, with a status of enum RuvoStatus.
std::string openFailure(const ProfileOptions& profile, short status);

// The display commands of a document. Throws std::runtime_error when the profile cannot be opened.
std::string renderDocument(const std::string& document, const ProfileOptions& profile);

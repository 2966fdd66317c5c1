#include "Rendering.h"

#include "StatusText.h"
#include "engine/KestrixDispEngine.h"

#include <CLI/CLI.hpp>

#include <stdexcept>

void ProfileOptions::addTo(CLI::App& arguments)
{
    arguments.add_option("--device", device, "Device information file of the profile")
        ->type_name("NAME")
        ->capture_default_str();
    arguments
        .add_option("--setting", setting,
                    "ID file that names the profile's folder; without such a file the profile of "
                    "the current folder is used")
        ->type_name("ID")
        ->capture_default_str();
}

std::string openFailure(const ProfileOptions& profile, short status)
{
    return "cannot open device \"" + profile.device + "\" with setting \"" + profile.setting +
           "\": status " + std::to_string(status) + ", " + std::string(statusText(status));
}

std::string renderDocument(const std::string& document, const ProfileOptions& profile)
{
    KestrixDispEngine engine;
    std::string bytes = engine.parse(document, profile.device, profile.setting);
    const short status = KestrixDispEngine::getUCHandle();
    if (status < 0)
        throw std::runtime_error(openFailure(profile, status));
    return bytes;
}

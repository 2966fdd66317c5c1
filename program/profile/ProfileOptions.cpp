#include "program/profile/ProfileOptions.h"

#include "converter/RuvoConverter.h"
#include "converter/profile/SettingsFiles.h"
#include "base/StatusText.h"

#include <CLI/CLI.hpp>

void ProfileOptions::addTo(CLI::App& arguments)
{
    arguments.add_option("--device", device, "Device information file of the profile")
        ->type_name("NAME")
        ->capture_default_str();
    arguments
        .add_option(
            "--setting", setting,
            "ID file that names the profile's folder; if there is no such file, the profile "
            "of the current folder is used")
        ->type_name("ID")
        ->capture_default_str();
}

std::string profileFolder(const ProfileOptions& profile)
{
    std::string folder;
    const bool named =
        ruvo::Lutm_ModuleFileFullPath(ruvo::kModuleRoot, profile.setting, folder) == 0;
    return named ? folder : "";
}

std::string openFailure(const ProfileOptions& profile, short status)
{
    std::string text = "cannot open device \"" + profile.device + "\" with setting \"" +
                       profile.setting + "\": status " + std::to_string(status) + ", " +
                       std::string(statusText(status));
    if (status == RUVO_SETTINGS_MISSING) {
        const std::string folder = profileFolder(profile);
        const std::string idFile = ruvo::kModuleRoot + profile.setting + ".txt";
        text += folder.empty() ? " in the current folder, as " + idFile + " names no other"
                               : " in " + folder + ", which " + idFile + " names";
    }
    return text;
}

#include "program/profile/ProfileOptions.h"

#include "base/StatusText.h"
#include "converter/RuvoConverter.h"
#include "converter/profile/SettingsFiles.h"
#include "converter/profile/UnicodeData.h"
#include "program/text/CharacterText.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

#include <unistd.h>

namespace {

std::string idFile(const std::string& setting)
{
    return ruvo::kModuleRoot + setting + ".txt";
}

// An ID that is given is meant; that the default one has no file is usual before an install.
void tellMissingIdFile(const std::string& setting)
{
    if (access(idFile(setting).c_str(), F_OK) != 0) {
        std::cerr << "kestrix-disp: no ID file " << printable(setting)
                  << ".txt: the profile of the current folder is used\n";
    }
}

}  // namespace

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
        ->each(tellMissingIdFile)
        ->capture_default_str();
}

std::string profileFolder(const ProfileOptions& profile)
{
    std::string folder;
    ruvo::Lutm_ModuleFileFullPath(ruvo::kModuleRoot, profile.setting, folder);
    return folder;
}

std::vector<std::string> profileFiles(const ProfileOptions& profile)
{
    const auto settings = std::make_unique<ruvo::HandleSettings>();
    const auto device = std::make_unique<ruvo::DeviceInfo>();
    const std::string folder = profileFolder(profile);
    const std::string& files = settings->szDeviceInfoPath;
    std::vector<std::string> list{idFile(profile.setting), folder + "HalvoSet.txt"};
    if (ruvo::readSettingsFile(folder, *settings) == RUVO_OK) {
        list.insert(list.end(), {files + profile.device, ruvo::unicodeDataPath(*settings)});
        ruvo::readDeviceInfoFile(profile.device, *settings, *device);
        for (const ruvo::TableEntry& table : device->astTable) {
            list.push_back(files + table.szTableFileName);
        }
        for (const ruvo::ICSEntry& set : device->astICS) {
            list.push_back(files + set.szICSFileName);
        }
    }
    return list;
}

std::string openFailure(const ProfileOptions& profile, short status)
{
    std::string text = "cannot open device \"" + profile.device + "\" with setting \"" +
                       profile.setting + "\": status " + std::to_string(status) + ", " +
                       std::string(statusText(status));
    if (status == RUVO_SETTINGS_MISSING) {
        const std::string folder = profileFolder(profile);
        const std::string id = idFile(profile.setting);
        text += folder.empty() ? " in the current folder, as " + id + " names no other"
                               : " in " + folder + ", which " + id + " names";
    }
    return text;
}

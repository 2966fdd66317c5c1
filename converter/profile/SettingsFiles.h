// Reads the files that an open needs first: the ID file, HalvoSet.txt and the device information
// file.
#pragma once

#include "converter/profile/HandleSettings.h"
#include "converter/profile/ProfileListener.h"

#include <string>

namespace ruvo {

// The folder of the ID files. Integrators and installers rely on it.
inline constexpr char kModuleRoot[] = "/usr/local/KALDO/HalvoCvt/";

// Reads the ID file `root` + id + ".txt". Returns 0 and the module path, with "/" at its end, or -1
// if the file cannot be opened or has no module path; modulePath is then unchanged.
int Lutm_ModuleFileFullPath(const std::string& root, const std::string& id,
                            std::string& modulePath);

// The two functions below tell a listener all faults of their file. A later [Settings] or [LOG] may
// make up for some faults of an earlier one: the file is invalid only if the status says so. Values
// that were read before a fault are stored. Both throw std::bad_alloc.

// Reads modulePath + "HalvoSet.txt". Returns 0, -30, -100 or -110. sMaximumHandle stays 0 if the
// file does not set it.
short readSettingsFile(const std::string& modulePath, HandleSettings& settings,
                       ProfileListener* listener = nullptr);

// Reads the device information file settings.szDeviceInfoPath + name. Returns 0, -30, -200 or -210.
short readDeviceInfoFile(const std::string& name, HandleSettings& settings, DeviceInfo& deviceInfo,
                         ProfileListener* listener = nullptr);

}  // namespace ruvo

// The files that an open reads first: the ID file, HalvoSet.txt and the device information file.
#pragma once

#include "converter/profile/HandleSettings.h"
#include "converter/profile/ProfileListener.h"

#include <string>

namespace ruvo {

// Where the ID files are. Fixed: integrators and installers rely on it.
inline constexpr char kModuleRoot[] = "/usr/local/KALDO/HalvoCvt/";

// Reads the ID file `root` + id + ".txt". Returns 0 and the module path with "/" at its end, or -1
// when the file cannot be opened or names no module path.
int Lutm_ModuleFileFullPath(const std::string& root, const std::string& id,
                            std::string& modulePath);

// With a listener the two below tell all faults of their file. A fault of [Settings] or [LOG] may
// then be made up for by a later section of that name: the status decides.

// Reads modulePath + "HalvoSet.txt". Returns 0, -30, -100 or -110. The values that were read before
// a fault are stored; sMaximumHandle stays 0 when there was none.
short readSettingsFile(const std::string& modulePath, HandleSettings& settings,
                       ProfileListener* listener = nullptr);

// Reads szDeviceInfoPath + name. Returns 0, -30, -200 or -210.
short readDeviceInfoFile(const std::string& name, HandleSettings& settings, DeviceInfo& deviceInfo,
                         ProfileListener* listener = nullptr);

}  // namespace ruvo

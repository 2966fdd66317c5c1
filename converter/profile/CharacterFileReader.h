// Reads the files that the settings of a profile name: translation tables, internal character sets
// and the Unicode database.
#pragma once

#include "converter/profile/HandleSettings.h"
#include "converter/profile/ProfileListener.h"
#include "converter/tables/CharacterTables.h"

namespace ruvo {

// Reads all these files into `tables`. Returns 0, or the status of the first fault: -30 or -300 to
// -340. With a listener the files after the fault are read, too. Throws std::bad_alloc.
short readCharacterFiles(const HandleSettings& settings, const DeviceInfo& deviceInfo,
                         CharacterTables& tables, ProfileListener* listener = nullptr);

}  // namespace ruvo

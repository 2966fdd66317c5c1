// The files behind the settings of a profile: translation tables, character sets and the database.
#pragma once

#include "converter/profile/HandleSettings.h"
#include "converter/profile/ProfileListener.h"
#include "converter/tables/CharacterTables.h"

namespace ruvo {

// Reads them all into the tables. Returns 0 or the status of the first fault; with a listener the
// files behind it are read too.
short readCharacterFiles(const HandleSettings& settings, const DeviceInfo& deviceInfo,
                         CharacterTables& tables, ProfileListener* listener = nullptr);

}  // namespace ruvo

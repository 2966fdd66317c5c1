// The input is HalvoSet.txt.

#include "../unit/ProfileFixture.h"
#include "FuzzTarget.h"
#include "converter/profile/SettingsFiles.h"

#include <filesystem>

void writeProfile() {}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    writeFile("HalvoSet.txt", InputReader(data, size).bytes(size));
    ruvo::HandleSettings settings;
    const short status = ruvo::readSettingsFile("", settings);
    // An input must not choose the folder in which a log is written.
    if (status != 0 || !std::filesystem::is_directory(settings.szLogFilePath)) {
        checkProfile(U"a\u00E4\u0436\u00A5", settings.ulOutputBufferBlockSize);
    }
    return 0;
}

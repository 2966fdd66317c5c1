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
    if (status == 0) {
        EXPECT_TRUE(settings.sEncodeType >= 0 && settings.sEncodeType <= 3);
        EXPECT_LE(32, settings.ucMissingCharacterCode);
        EXPECT_TRUE(settings.sMaximumHandle >= 1 && settings.sMaximumHandle <= 254);
        EXPECT_TRUE(settings.ulOutputBufferBlockSize >= 5 &&
                    settings.ulOutputBufferBlockSize <= 1000000000);
        EXPECT_LE(1, settings.ucOutputBufferBlockMax);
        EXPECT_TRUE(settings.ucLogMaxSize >= 1 && settings.ucLogMaxSize <= 10);
        EXPECT_TRUE(settings.szDeviceInfoPath.ends_with('/') &&
                    settings.szLogFilePath.ends_with('/'));
    }
    // An input must not choose the folder in which a log is written.
    if (status != 0 || !std::filesystem::is_directory(settings.szLogFilePath))
        checkProfile(U"a\u00E4\u0436\u00A5", settings.ulOutputBufferBlockSize);
    return 0;
}

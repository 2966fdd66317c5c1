// The input is the device information file. All files that the seeds name exist in the profile.

#include "../unit/ProfileFixture.h"
#include "FuzzTarget.h"

void writeProfile() {}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    writeFile("DEVICE", InputReader(data, size).bytes(size));
    checkProfile(U"aa\u0308\u00E4e\u0301\u0436\u00A5\u20AC", smallDisplayBlockSize);
    return 0;
}

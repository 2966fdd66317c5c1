#include "ConvertedText.h"

#include "../engine/KestrixDispEngine.h"

#include <algorithm>
#include <cstring>

namespace {

// The converter converts no more of one text than this many bytes,
constexpr std::size_t longestInput = 0x800000;
// and gives at most one character for each: its code, a table switch and two switches of the
// internal character set, of three bytes each.
constexpr std::size_t longestOutputPerByte = 1 + 3 + 2 * 3;

}  // namespace

OutputVector convertedText(unsigned char* text)
{
    const short handle = KestrixDispEngine::ucHandle;
    const std::size_t length = std::strlen(reinterpret_cast<const char*>(text));

    // The room comes first: once the converter holds the text, emptying it must not fail.
    OutputVector bytes;
    bytes.reserve(std::min(length, longestInput) * longestOutputPerByte);

    const bool rejected = KestrixDispEngine::RuvoSetData(handle, text, length) < 0;

    unsigned long announced = 0;
    KestrixDispEngine::RuvoGetOutputData(handle, nullptr, &announced);
    bytes.resize(announced);
    unsigned long delivered = announced;
    if (announced > 0) {
        KestrixDispEngine::RuvoGetOutputData(handle, bytes.data(), &delivered);
    }
    bytes.resize(rejected ? 0 : std::min(delivered, announced));
    return bytes;
}

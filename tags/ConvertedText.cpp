#include "tags/ConvertedText.h"

#include "converter/RuvoConverter.h"
#include "engine/KestrixDispEngine.h"

#include <algorithm>
#include <cstring>

namespace {

// The converter reads at most this many bytes of one text,
constexpr std::size_t kLongestInput = 0x800000;
// and gives at most one character for each: its code, a table switch and two switches of the
// internal character set, of three bytes each.
constexpr std::size_t kLongestOutputPerByte = 1 + 3 + 2 * 3;

// Makes room for `count` more bytes, growing like a vector that is appended to.
void makeRoom(OutputVector& out, std::size_t count)
{
    if (out.capacity() - out.size() < count) {
        out.reserve(std::max(out.size() + count, 2 * out.capacity()));
    }
}

}  // namespace

bool textLostToMemory = false;

std::size_t appendConvertedText(unsigned char* text, OutputVector& out)
{
    const short handle = KestrixDispEngine::ucHandle;
    const std::size_t length = std::strlen(reinterpret_cast<const char*>(text));

    // The room comes first: once the converter holds the text, emptying it must not fail.
    makeRoom(out, std::min(length, kLongestInput) * kLongestOutputPerByte);

    const short status = KestrixDispEngine::RuvoSetData(handle, text, length);
    textLostToMemory = textLostToMemory || status == RUVO_OUT_OF_MEMORY;
    if (status == RUVO_INVALID_HANDLE || status == RUVO_INVALID_ARGUMENT) {
        return 0;  // the converter has not looked at the text
    }
    // A document shows a text whole or not at all, so a warning counts as an error here. Whatever
    // the converter has buffered of such a text is read out and dropped.
    const bool shown = status >= 0;

    unsigned long announced = 0;
    KestrixDispEngine::RuvoGetOutputData(handle, nullptr, &announced);
    if (announced == 0) {
        return 0;
    }
    const std::size_t start = out.size();
    out.resize(start + announced);
    unsigned long delivered = announced;
    KestrixDispEngine::RuvoGetOutputData(handle, out.data() + start, &delivered);
    const std::size_t kept = shown ? std::min(delivered, announced) : 0;
    out.resize(start + kept);
    return kept;
}

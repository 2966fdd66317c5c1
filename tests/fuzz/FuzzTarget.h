// What the fuzz targets share. A target is a program that is given one input after the other and
// ends abnormally at the first one for which a law does not hold: a failed EXPECT throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Called once, in front of the inputs: prepares a target, and then calls writeProfile.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Each target's own: writes files that all of its inputs need. The current directory is a temporary
// one and holds the profile smallDisplay().
void writeProfile();

void writeFile(const std::string& name, std::string_view text);

// Takes an input apart from its front. Behind its end there are zeros and empty strings.
class InputReader {
public:
    InputReader(const std::uint8_t* data, std::size_t size)
        : rest_(reinterpret_cast<const char*>(data), size)
    {
    }

    bool atEnd() const { return rest_.empty(); }
    std::uint8_t byte();
    std::uint32_t number();  // of four bytes, the lowest first
    std::string bytes(std::size_t count);
    std::string upTo(char separator);  // without it; up to the end if there is none

private:
    std::string_view rest_;
};

// Opens the profile of the current directory. The status is a handle or one that a profile can
// cause; if it opens, the text gives the same bytes from both of its encodings, and the raw streams
// merge to the output.
void checkProfile(const std::u32string& text, std::size_t blockSize);

// The default of Profile.
inline constexpr std::size_t smallDisplayBlockSize = 4096;

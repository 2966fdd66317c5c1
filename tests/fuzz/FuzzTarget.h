// What the fuzz targets share. A target is a program that gets one input after the other. It ends
// abnormally at the first input for which an EXPECT fails, as that throws.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Prepares a target and calls writeProfile. Called once, before the first input.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Each target has its own: writes the files that all of its inputs need. The current directory is a
// temporary one with the profile smallDisplay().
void writeProfile();

void writeFile(const std::string& name, std::string_view text);

// Takes an input apart from its start. After its end it gives zeros and empty strings.
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

// Opens the profile of the current directory. The status must be a handle or one that a profile can
// cause. If it opens, the text must give the same bytes in UTF-8 and UTF-16, and the raw streams
// must merge to the output.
void checkProfile(const std::u32string& text, std::size_t blockSize);

// The default of Profile.
inline constexpr std::size_t smallDisplayBlockSize = 4096;

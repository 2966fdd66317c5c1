// An open converter handle that checks its retrievals (by EXPECT), and simple routines whose
// results are compared with the converter's.
#pragma once

#include <cstddef>
#include <string>

struct RawStreams {
    std::string characters;
    std::string tables;
    std::string sets;
};

// Opens the profile of the current directory, as there is no file for its ID.
class ConverterHandle {
public:
    explicit ConverterHandle(const std::string& device = "DEVICE",
                             const std::string& id = "KESTRIX-TEST-NO-SUCH-ID");
    ~ConverterHandle();
    ConverterHandle(const ConverterHandle&) = delete;
    ConverterHandle& operator=(const ConverterHandle&) = delete;

    // Negative if the profile cannot be opened.
    operator short() const { return handle_; }

    // Hands the text in and gives the status; the text is as the call leaves it.
    short setData(std::string& text) const;

    // Each asks for the length first, and leaves the handle without output.
    std::string output() const;
    RawStreams raw() const;

private:
    void expectEmpty() const;

    short handle_;
};

// What RuvoGetOutputData must give for these raw streams, merged one character at a time.
std::string mergedSlowly(const RawStreams& raw, std::size_t blockSize);

// Code points must be from U+0000 to U+10FFFF, and no surrogates.
std::string utf8(const std::u32string& text);
std::string utf16BigEndian(const std::u32string& text);
std::string utf16LittleEndian(const std::u32string& text);

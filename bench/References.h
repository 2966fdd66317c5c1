// The references: what the library is measured against, each in its usual form.
#pragma once

#include <unicode/ucnv.h>

#include <cstddef>
#include <string>
#include <vector>

#include <iconv.h>

// Prints the message to the standard error and ends the program with status 1.
[[noreturn]] void fail(const std::string& message);

// ICU's converter from UTF-8 to one code page.
class IcuConverter {
public:
    explicit IcuConverter(const char* codePage);
    ~IcuConverter();
    IcuConverter(const IcuConverter&) = delete;
    IcuConverter& operator=(const IcuConverter&) = delete;

    // Converts a text as ICU's documentation converts a stream. Returns the number of bytes written
    // to `out`, which must have room for all.
    std::size_t convert(const std::string& text, std::vector<unsigned char>& out) const;

    // The same, but composes the text (NFC) first, in UTF-16.
    std::size_t convertComposed(const std::string& text, std::vector<unsigned char>& out) const;

private:
    UConverter* m_utf8 = nullptr;
    UConverter* m_target = nullptr;
};

// glibc's converter from UTF-8 to one code page.
class Iconv {
public:
    explicit Iconv(const char* codePage);
    ~Iconv();
    Iconv(const Iconv&) = delete;
    Iconv& operator=(const Iconv&) = delete;

    // `out` must have room for all.
    void convert(std::string& text, std::vector<unsigned char>& out) const;

private:
    iconv_t m_converter;
};

// Walks libxml2's reader over a document, touches every name, attribute and text, and does nothing
// with them.
void walkDocument(const std::string& xml);

// Reads the files line by line with fgets.
void readLines(const std::vector<std::string>& files);

// These two write written/reference.txt with stdio: `count` fixed lines as long as a dump's, or a
// hexadecimal dump of the text, `entries` times.
void writeLines(std::size_t count);
void writeDump(const std::string& text, int entries);

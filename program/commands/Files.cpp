#include "program/commands/Files.h"

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <system_error>

namespace {

constexpr std::string_view kStandardStream = "-";

}  // namespace

std::string readFile(const std::string& file)
{
    struct Closer {
        void operator()(std::FILE* opened) const { std::fclose(opened); }
    };
    const bool standard = file == kStandardStream;
    const std::unique_ptr<std::FILE, Closer> opened(standard ? nullptr
                                                             : std::fopen(file.c_str(), "rb"));
    std::FILE* const input = standard ? stdin : opened.get();
    std::string bytes;
    char block[64 * 1024];
    while (const std::size_t count =
               input != nullptr ? std::fread(block, 1, sizeof block, input) : 0) {
        bytes.append(block, count);
    }
    // A folder can be opened, but not read.
    if ((input == nullptr) || std::ferror(input)) {
        throw std::runtime_error("cannot read " + file + ": " +
                                 std::generic_category().message(errno));
    }
    return bytes;
}

void writeFile(const std::string& file, std::string_view bytes)
{
    if (file == kStandardStream) {
        std::fwrite(bytes.data(), 1, bytes.size(), stdout);
        if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
            throw std::runtime_error("cannot write the output");
        }
        return;
    }
    std::ofstream stream(file, std::ios::binary);
    stream << bytes;
    stream.close();
    if (!stream) {
        throw std::runtime_error("cannot write " + file);
    }
}

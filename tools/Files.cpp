#include "Files.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace {

constexpr std::string_view kStandardStream = "-";

}  // namespace

std::string readFile(const std::string& file)
{
    std::ifstream stream;
    if (file != kStandardStream)
        stream.open(file, std::ios::binary);
    std::istream& input = file == kStandardStream ? std::cin : stream;
    std::ostringstream bytes;
    // A folder opens, and fails when it is read.
    if (input && input.peek() != std::istream::traits_type::eof())
        bytes << input.rdbuf();
    if (input.bad() || (file != kStandardStream && !stream.is_open()))
        throw std::runtime_error("cannot read " + file);
    return std::move(bytes).str();
}

void writeFile(const std::string& file, std::string_view bytes)
{
    if (file == kStandardStream) {
        std::fwrite(bytes.data(), 1, bytes.size(), stdout);
        if (std::fflush(stdout) != 0 || std::ferror(stdout))
            throw std::runtime_error("cannot write the output");
        return;
    }
    std::ofstream stream(file, std::ios::binary);
    stream << bytes;
    stream.close();
    if (!stream)
        throw std::runtime_error("cannot write " + file);
}

// Runs a fuzz target over the files of a directory, for builds without a fuzzer.

#include "FuzzTarget.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>

namespace fs = std::filesystem;

int main(int argc, char** argv)
{
    const std::set<fs::path> inputs(fs::directory_iterator(fs::absolute(argv[1])),
                                    fs::directory_iterator());
    LLVMFuzzerInitialize(&argc, &argv);
    for (const fs::path& input : inputs) {
        std::cout << input.filename()
                  << std::endl;  // if the program ends abnormally, the last one printed is at fault
        std::ifstream file(input, std::ios::binary);
        const std::string text(std::istreambuf_iterator<char>(file), {});
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
        if (file.bad()) {
            return 1;
        }
    }
    return inputs.empty() ? 1 : 0;
}

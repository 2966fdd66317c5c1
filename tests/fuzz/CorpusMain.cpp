// Runs a fuzz target over the files of a directory, for builds without a fuzzer.

#include "FuzzTarget.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " DIRECTORY\n";
        return 2;
    }
    std::map<std::filesystem::path, std::string> inputs;
    for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
        std::ifstream file(entry.path(), std::ios::binary);
        inputs[entry.path().filename()].assign(std::istreambuf_iterator<char>(file), {});
        if (!file) {
            std::cerr << "cannot read " << entry.path() << '\n';
            return 1;
        }
    }
    LLVMFuzzerInitialize(&argc, &argv);
    for (const auto& [name, text] : inputs) {
        std::cout << name << std::endl;  // the last one is at fault where the program ends
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    }
    std::cout << inputs.size() << " inputs\n";
    return inputs.empty() ? 1 : 0;
}

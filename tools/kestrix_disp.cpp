// kestrix-disp: shows what the library makes of a display document.
#include "StatusText.h"
#include "engine/KestrixDispEngine.h"

#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace {

// Exit statuses.
constexpr int kDone = 0;
constexpr int kWrongInput = 1;
constexpr int kUsage = 2;

constexpr std::string_view kUsageText =
    "Usage: kestrix-disp render FILE [--device NAME] [--setting ID] [--hex | --raw]\n"
    "\n"
    "Renders a display document and writes its display commands: raw bytes to a pipe or file,\n"
    "a hex dump to a terminal. FILE \"-\" is the standard input.\n"
    "\n"
    "  --device NAME  device information file of the profile (default: default)\n"
    "  --setting ID   ID file that names the profile's folder (default: DEFAULT); without such a\n"
    "                 file the profile of the current folder is used\n"
    "  --hex, --raw   a hex dump, or raw bytes, wherever the output goes\n";

struct Options {
    std::string file;
    std::string device = "default";
    std::string setting = "DEFAULT";
    bool hex = isatty(STDOUT_FILENO) != 0;
};

std::optional<Options> readArguments(const std::vector<std::string_view>& arguments)
{
    if (arguments.empty() || arguments[0] != "render")
        return std::nullopt;
    Options options;
    bool haveFile = false;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string_view argument = arguments[i];
        const bool takesValue = argument == "--device" || argument == "--setting";
        if (takesValue && i + 1 < arguments.size()) {
            (argument == "--device" ? options.device : options.setting) = arguments[++i];
        } else if (argument == "--hex" || argument == "--raw") {
            options.hex = argument == "--hex";
        } else if (!haveFile && (argument == "-" || !argument.starts_with('-'))) {
            options.file = argument;
            haveFile = true;
        } else {
            return std::nullopt;
        }
    }
    return haveFile ? std::optional(options) : std::nullopt;
}

std::optional<std::string> readDocument(const std::string& file)
{
    std::ifstream stream;
    if (file != "-") {
        stream.open(file, std::ios::binary);
        if (!stream)
            return std::nullopt;
    }
    std::istream& input = file == "-" ? std::cin : stream;
    std::string document(std::istreambuf_iterator<char>(input), {});
    return input.bad() ? std::nullopt : std::optional(document);
}

// Sixteen bytes a line: offset, bytes, and the printable ones as characters.
void writeHexDump(const std::string& bytes)
{
    constexpr std::size_t width = 16;
    for (std::size_t start = 0; start < bytes.size(); start += width) {
        const std::string_view row = std::string_view(bytes).substr(start, width);
        std::printf("%08zx ", start);
        for (std::size_t i = 0; i < width; ++i) {
            if (i < row.size())
                std::printf(" %02X", static_cast<unsigned>(static_cast<unsigned char>(row[i])));
            else
                std::printf("   ");
        }
        std::printf("  |");
        for (const char c : row)
            std::putchar(c >= 0x20 && c < 0x7F ? c : '.');
        std::printf("|\n");
    }
}

int render(const Options& options)
{
    const std::optional<std::string> document = readDocument(options.file);
    if (!document) {
        std::cerr << "kestrix-disp: cannot read " << options.file << "\n";
        return kWrongInput;
    }
    KestrixDispEngine engine;
    const std::string bytes = engine.parse(*document, options.device, options.setting);
    const short status = KestrixDispEngine::getUCHandle();
    if (status < 0) {
        std::cerr << "kestrix-disp: cannot open device \"" << options.device << "\" with setting \""
                  << options.setting << "\": status " << status << ", " << statusText(status)
                  << "\n";
        return kWrongInput;
    }
    if (options.hex)
        writeHexDump(bytes);
    else
        std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::cerr << "kestrix-disp: cannot write the output\n";
        return kWrongInput;
    }
    return kDone;
}

}  // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string_view> arguments(argv + 1, argv + argc);
    if (arguments.size() == 1 && arguments[0] == "--help") {
        std::cout << kUsageText;
        return kDone;
    }
    const std::optional<Options> options = readArguments(arguments);
    if (!options) {
        std::cerr << kUsageText;
        return kUsage;
    }
    try {
        return render(*options);
    } catch (const std::exception& error) {
        std::cerr << "kestrix-disp: " << error.what() << "\n";
        return kWrongInput;
    }
}

// Shows an item on the display: till NAME PRICE [DEVICE [SETTING]] > /dev/ttyUSB0
// Build: c++ till.cpp -o till $(pkg-config --cflags --libs kestrixdispengine)
#include <engine/KestrixDispEngine.h>
#include <engine/kestrix_disp.h>

#include <iostream>

// A text may have any character, but not these as they are.
static std::string escaped(std::string text)
{
    for (std::size_t at = 0; (at = text.find_first_of("&<>", at)) != std::string::npos; ++at) {
        text.replace(at, 1, text[at] == '&' ? "&amp;" : text[at] == '<' ? "&lt;" : "&gt;");
    }
    return text;
}

int main(int argc, char** argv)
{
    if (argc < 3) {
        std::cerr << "usage: till NAME PRICE [DEVICE [SETTING]]\n";
        return 2;
    }
    const std::string device = argc > 3 ? argv[3] : "default";
    const std::string setting = argc > 4 ? argv[4] : "DEFAULT";
    const std::string document = "<ovix-display><clear/><text x='1' y='1'>" + escaped(argv[1]) +
                                 "</text><text x='1' y='2'>" + escaped(argv[2]) +
                                 "</text><cursor type='none'/></ovix-display>";

    // The class does not say that a document ended early, but then the command of its last
    // element, <cursor type='none'/>, is missing.
    const std::string last("\x1F\x43\x00", 3);
    KestrixDispEngine engine;
    const std::string bytes = engine.parse(document, device, setting);  // may hold NUL bytes
    if (KestrixDispEngine::getUCHandle() < 0) {
        std::cerr << "till: " << kestrix_disp_status_text(KestrixDispEngine::getUCHandle()) << '\n';
        return 1;
    }
    if (bytes.size() < last.size() || bytes.substr(bytes.size() - last.size()) != last) {
        std::cerr << "till: the document ended early\n";
        return 1;
    }
    std::cout << bytes << std::flush;

    if (!std::cout) {
        std::cerr << "till: the output cannot be written\n";
        return 1;
    }
    return 0;
}

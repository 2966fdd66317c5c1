// Prints the bytes of a small document, in hex.
#include <engine/KestrixDispEngine.h>

#include <tags/TextTagParser.h>

#include <cstdio>

int main()
{
    KestrixDispEngine engine;
    for (const char byte : engine.parse("<any><clear/><text reverse=\"1\">A\xC3\xA9</text></any>",
                                        "default", "none")) {
        std::printf("%02X ", static_cast<unsigned char>(byte));
    }
    std::printf("\n");
    return !engine.hasParser(KestrixDispEngine::TAG_TEXT, engine.funcMapBegin);
}

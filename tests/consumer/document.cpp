// Prints the bytes of a small document, in hex.
#include <engine/KestrixDispEngine.h>

#include <tags/TextTagParser.h>

#include <cstdio>
#include <string>

int main()
{
    KestrixDispEngine engine;
    const std::string bytes =
        engine.parse("<ovix-display><clear/><text reverse=\"1\">A\xC3\xA9</text></ovix-display>",
                     "default", "none");
    for (const char byte : bytes)
        std::printf("%02X ", static_cast<unsigned char>(byte));
    std::printf("\n");
    return KestrixDispEngine::getUCHandle() > 0 &&
                   engine.hasParser(KestrixDispEngine::TAG_TEXT, engine.funcMapBegin)
               ? 0
               : 1;
}

#include "bench/Texts.h"

std::string repeated(const std::string& phrase, std::size_t size)
{
    std::string text;
    while (text.size() < size) {
        text += phrase;
    }
    text.resize(size);
    // No character is cut: take off continuation bytes and their lead byte.
    while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0) == 0x80) {
        text.pop_back();
    }
    if (!text.empty() && static_cast<unsigned char>(text.back()) >= 0xC0) {
        text.pop_back();
    }
    return text;
}

std::string document(std::size_t size)
{
    std::string xml = "<ovix-display><clear/>";
    for (int i = 1; xml.size() < size; ++i) {
        xml += "<text x=\"1\" y=\"" + std::to_string(1 + i % 2) + "\">Item " + std::to_string(i) +
               " Crème brûlée 3,50</text>";
        if (i % 8 == 0) {
            xml += "<window number=\"1\" x=\"1\" y=\"1\" width=\"20\" height=\"1\"/>";
        }
        if (i % 8 == 4) {
            xml += "<cursor x=\"20\" y=\"2\" type=\"none\"/>";
        }
    }
    return xml + "</ovix-display>";
}

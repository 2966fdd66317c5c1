// An element of a document with what the library made of it.
#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <string_view>

#include <libxml/tree.h>

struct CarriedElement {
    std::string name;       // local
    std::size_t begin = 0;  // its bytes in the stream
    std::size_t end = 0;
    xmlNode* node = nullptr;
    unsigned long line = 0;
    std::map<std::string, std::string, std::less<>>
        attributes;          // by local name, as parsers get them
    std::string text;        // of text, marquee and command: what their parser got
    bool misplaced = false;  // where it stands on the display has a finding already

    std::string_view meant;  // the element that an unknown one was perhaps meant to be

    bool has(const char* attribute) const { return attributes.contains(attribute); }
    std::string value(const char* attribute) const
    {
        const auto entry = attributes.find(attribute);
        return entry == attributes.end() ? "" : entry->second;
    }
    bool showsText() const { return name == "text" || name == "marquee"; }
};

// The line in which the start tag of an element ends, or that of another node.
inline unsigned long lineOf(const xmlNode* node)
{
    return static_cast<unsigned long>(std::max(xmlGetLineNo(node), 0L));
}

// An element of a document with what the library made of it.
#pragma once

#include "engine/DocumentWalk.h"

#include <string>
#include <string_view>

#include <libxml/tree.h>

struct CarriedElement {
    xmlNode* node = nullptr;
    std::string_view name;  // local
    unsigned long line = 0;
    std::size_t begin = 0;  // its bytes in the stream
    std::size_t end = 0;
    std::string text;        // of text, marquee and command: what their parser got
    bool misplaced = false;  // where it stands on the display has a finding already
};

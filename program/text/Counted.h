// Numbers with their nouns, in messages.
#pragma once

#include <string>

// "1 line", "2 lines".
inline std::string counted(std::size_t count, const std::string& noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

// Reading and writing whole files. "-" means the standard input or output. Failures throw
// std::runtime_error with a message that names the file and the reason.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Throws for an empty file, too: no command has a use for it.
std::string readFile(const std::string& file);

// A regular file, or the one that a link leads to, is replaced once the new one is complete, and
// stays as it is on a failure. Anything else, such as a port or pipe, is opened as it is. Below
// /dev, where a port may be missing, no file is made.
void writeFile(const std::string& file, std::string_view bytes);

// Throws if an output is a file that is one of the inputs, or if two outputs are the same.
void requireSeparate(const std::vector<std::string>& inputs,
                     const std::vector<std::string>& outputs);

// Whether the standard output is the terminal that a person works at. Another one may be a display
// at a serial port.
bool writesToPerson();

// Reading and writing whole files. "-" means the standard input or output. Failures throw
// std::runtime_error with a message that names the file.
#pragma once

#include <string>
#include <string_view>

std::string readFile(const std::string& file);

void writeFile(const std::string& file, std::string_view bytes);

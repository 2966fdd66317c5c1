// Counts the program's allocations by operator new, the library's among them.
#pragma once

#include <cstddef>
#include <functional>

std::size_t allocationsIn(const std::function<void()>& work);

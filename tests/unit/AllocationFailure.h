// Allocations that fail on demand. The whole test program's operator new is replaced for it.
#pragma once

#include <cstddef>

// While it lives, the given number of allocations by operator new of its thread succeed, and all
// later ones throw std::bad_alloc. Only one may live at a time.
class AllocationFailure {
public:
    explicit AllocationFailure(long successes);
    ~AllocationFailure();
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;

    // Whether any has failed so far.
    bool happened() const;
};

// What operator new has given out to this thread and not got back: allocations, and their bytes.
long liveAllocations();
std::size_t liveBytes();

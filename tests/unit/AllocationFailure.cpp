#include "AllocationFailure.h"

#include <cstdlib>
#include <limits>
#include <new>

#include <malloc.h>

namespace {

constexpr long unlimited = std::numeric_limits<long>::max();

// Of each thread, as a lock would put the threads in an order and hide their races.
thread_local long remaining = unlimited;
thread_local bool failed = false;
thread_local long live = 0;
thread_local std::size_t bytes = 0;

}  // namespace

AllocationFailure::AllocationFailure(long successes)
{
    failed = false;
    remaining = successes;
}

AllocationFailure::~AllocationFailure()
{
    remaining = unlimited;
}

bool AllocationFailure::happened() const
{
    return failed;
}

long liveAllocations()
{
    return live;
}

std::size_t liveBytes()
{
    return bytes;
}

// Sanitizers replace each form of these operators, so all must be replaced here, too, except those
// for overaligned types.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    if (remaining == 0) {
        failed = true;
        return nullptr;
    }
    void* const memory = std::malloc(size == 0 ? 1 : size);
    if (memory != nullptr) {
        remaining -= remaining != unlimited;
        ++live;
        bytes += malloc_usable_size(memory);
    }
    return memory;
}

void* operator new(std::size_t size)
{
    void* const memory = operator new(size, std::nothrow);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return operator new(size, std::nothrow);
}

void operator delete(void* memory) noexcept
{
    if (memory != nullptr) {
        --live;
        bytes -= malloc_usable_size(memory);
        std::free(memory);
    }
}

void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}

void operator delete[](void* memory) noexcept
{
    operator delete(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    operator delete(memory);
}

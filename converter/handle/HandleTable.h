// The process-wide table of handles.
#pragma once

#include "converter/handle/Handle.h"

#include <algorithm>
#include <cstdint>
#include <memory>

namespace ruvo {

// A handle is its slot's index plus 1. Lives from the first open to the end of the process: the
// array is never freed or resized, so that handles stay good in destructors of static objects.
struct HandleLinkMngInf {
    std::uint16_t usNextSlot;     // where the next search for a free slot begins
    std::int16_t sMaximumHandle;  // "MaximumHandle" as last read; may exceed the array's capacity
    std::int16_t sCapacity;       // slots in the array
    std::unique_ptr<HandleLink>* pstHandleLink;  // a null entry is a free slot
};

extern constinit HandleLinkMngInf g_stHandlelinkMngInfTbl;

// Slots in use: a later settings file may name a smaller or a larger number than the first one.
inline int slotCount()
{
    return std::min(g_stHandlelinkMngInfTbl.sMaximumHandle, g_stHandlelinkMngInfTbl.sCapacity);
}

// The record of an open handle; null when the handle is not open.
inline HandleLink* Cutm_CheckHandle(short sHandle)
{
    const bool inTable = sHandle >= 1 && sHandle <= slotCount();
    return inTable ? g_stHandlelinkMngInfTbl.pstHandleLink[sHandle - 1].get() : nullptr;
}

// Makes the array, of sMaximumHandle slots, when there is none yet. Throws std::bad_alloc.
void ensureHandleArray();

// Puts the handle into the first free slot from usNextSlot on, round the end. Returns the handle
// number, or -50 when all slots are taken.
short allocateSlot(std::unique_ptr<HandleLink> handle);

// Frees an open handle and all that it owns.
void freeSlot(short sHandle);

}  // namespace ruvo

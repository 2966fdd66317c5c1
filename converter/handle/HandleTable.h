// The process-wide table of handles.
#pragma once

#include "converter/handle/Handle.h"

#include <algorithm>
#include <cstdint>
#include <memory>

namespace ruvo {

// A handle is the index of its slot plus 1. The array is made by the first open and never freed or
// resized, so that handles can be used up to the end of the process, even in destructors of static
// objects.
struct HandleLinkMngInf {
    std::uint16_t usNextSlot;     // where the next search for a free slot begins
    std::int16_t sMaximumHandle;  // "MaximumHandle" as last read; may exceed sCapacity
    std::int16_t sCapacity;       // slots in the array
    std::unique_ptr<HandleLink>* pstHandleLink;  // a null entry is a free slot
};

extern constinit HandleLinkMngInf g_stHandlelinkMngInfTbl;

// The number of slots that may be used. A settings file that is read after the array was made can
// lower it, but not raise it above the array's size.
inline int slotCount()
{
    return std::min(g_stHandlelinkMngInfTbl.sMaximumHandle, g_stHandlelinkMngInfTbl.sCapacity);
}

// The record of an open handle, owned by the table; null when the handle is not open.
inline HandleLink* Cutm_CheckHandle(short sHandle)
{
    const bool inTable = sHandle >= 1 && sHandle <= slotCount();
    return inTable ? g_stHandlelinkMngInfTbl.pstHandleLink[sHandle - 1].get() : nullptr;
}

// Makes the array of sMaximumHandle slots unless it exists. Throws std::bad_alloc.
void ensureHandleArray();

// Puts the record into a free slot: the first one from usNextSlot to the end, or else from the
// start. Returns the handle, or -50 when no slot is free; the record is then freed.
short allocateSlot(std::unique_ptr<HandleLink> handle);

// Frees the record of an open handle.
void freeSlot(short sHandle);

}  // namespace ruvo

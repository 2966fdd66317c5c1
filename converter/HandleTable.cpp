#include "HandleTable.h"

#include "RuvoConverter.h"

#include <algorithm>

namespace ruvo {

constinit HandleLinkMngInf g_stHandlelinkMngInfTbl{};

namespace {

// Slots in use: a later settings file may name a smaller or a larger number than the first one.
int slotCount()
{
    const HandleLinkMngInf& table = g_stHandlelinkMngInfTbl;
    return std::min(table.sMaximumHandle, table.sCapacity);
}

std::unique_ptr<HandleLink>& slotOf(short sHandle)
{
    return g_stHandlelinkMngInfTbl.pstHandleLink[sHandle - 1];
}

}  // namespace

short Cutm_CheckHandle(short sHandle)
{
    const bool open = sHandle >= 1 && sHandle <= slotCount() && slotOf(sHandle);
    return open ? RUVO_OK : RUVO_INVALID_HANDLE;
}

HandleLink& handleLink(short sHandle)
{
    return *slotOf(sHandle);
}

void ensureHandleArray()
{
    HandleLinkMngInf& table = g_stHandlelinkMngInfTbl;
    if (table.pstHandleLink)
        return;
    table.pstHandleLink =
        new std::unique_ptr<HandleLink>[static_cast<std::size_t>(table.sMaximumHandle)];
    table.sCapacity = table.sMaximumHandle;
}

short allocateSlot(std::unique_ptr<HandleLink> handle)
{
    HandleLinkMngInf& table = g_stHandlelinkMngInfTbl;
    const int count = slotCount();
    int slot = table.usNextSlot < count ? table.usNextSlot : 0;
    for (int tested = 0; tested < count; ++tested) {
        const int following = slot + 1 < count ? slot + 1 : 0;
        if (!table.pstHandleLink[slot]) {
            table.pstHandleLink[slot] = std::move(handle);
            table.usNextSlot = static_cast<std::uint16_t>(following);
            return static_cast<short>(slot + 1);
        }
        slot = following;
    }
    return RUVO_NO_FREE_HANDLE;
}

void freeSlot(short sHandle)
{
    slotOf(sHandle).reset();
}

}  // namespace ruvo

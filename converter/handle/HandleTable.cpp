#include "converter/handle/HandleTable.h"

#include "converter/RuvoConverter.h"

namespace ruvo {

constinit HandleLinkMngInf g_stHandlelinkMngInfTbl{};

void ensureHandleArray()
{
    HandleLinkMngInf& table = g_stHandlelinkMngInfTbl;
    if (table.pstHandleLink != nullptr) {
        return;
    }
    // A settings file has been read, so the number is 1..254.
    table.pstHandleLink =
        new std::unique_ptr<HandleLink>[static_cast<std::uint16_t>(table.sMaximumHandle)];
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
    g_stHandlelinkMngInfTbl.pstHandleLink[sHandle - 1].reset();
}

}  // namespace ruvo

#include "engine/KestrixDispEngine.h"

#include "converter/RuvoConverter.h"
#include "engine/DocumentWalk.h"
#include "engine/ParserRegistry.h"

#include <algorithm>
#include <climits>
#include <cstring>

short KestrixDispEngine::ucHandle = 0;

namespace {

// Bytes reserved for the output, which is mostly shorter than the document.
constexpr std::size_t kLeastRoomAtStart = 512;
constexpr std::size_t kMostRoomAtStart = 64 * 1024;

const unsigned char* bytesOf(const std::string& text)
{
    return reinterpret_cast<const unsigned char*>(text.c_str());
}

// Makes the handle of devInfo the current one, opened on first use. False if it cannot be opened;
// the current handle is then the negative code. Only open handles stay in the map. The entry is
// made first, so that no open handle can be lost to a failed allocation.
bool selectHandle(std::map<const std::string, short>& handles, const std::string& devInfo,
                  const std::string& setting)
{
    const auto [entry, isNew] = handles.try_emplace(devInfo, static_cast<short>(0));
    if (isNew) {
        entry->second =
            KestrixDispEngine::RuvoOpenHandle(bytesOf(devInfo), std::strlen(devInfo.c_str()),
                                              bytesOf(setting), std::strlen(setting.c_str()));
    }
    KestrixDispEngine::ucHandle = entry->second;
    if (isNew && entry->second < 0) {
        handles.erase(entry);
        return false;
    }
    return true;
}

}  // namespace

KestrixDispEngine::KestrixDispEngine()
{
    addLiveEngine(*this);
    try {
        registerParsers(*this);
    } catch (...) {
        removeLiveEngine(*this);
        deleteParsers(*this);
        throw;
    }
}

KestrixDispEngine::~KestrixDispEngine()
{
    removeLiveEngine(*this);
    deleteParsers(*this);
    closeHandles(ucHandleMap);
}

std::string KestrixDispEngine::parse(std::string data, std::string devInfo,
                                     std::string setting) noexcept
{
    try {
        if (!selectHandle(ucHandleMap, devInfo, setting) || data.size() > INT_MAX) {
            return {};
        }
        OutputVector out;
        out.reserve(std::min(data.size(), kMostRoomAtStart) + kLeastRoomAtStart);
        walkDocument(data, funcMapBegin, funcMapEnd, out);
        return std::string(reinterpret_cast<const char*>(out.data()), out.size());
    } catch (...) {
        // Memory is exhausted: the result is empty. The handle holds no converted text, because
        // appendConvertedText allocates the room for it before it calls the converter.
        return {};
    }
}

bool KestrixDispEngine::hasParser(const char* key, const ParserMap& funcMap) const
{
    return key != nullptr && funcMap.find(key) != funcMap.end();
}

short KestrixDispEngine::getUCHandle()
{
    return ucHandle;
}

short KestrixDispEngine::RuvoOpenHandle(const unsigned char* pucDeviceInfo,
                                        unsigned long ulDeviceInfoLength,
                                        const unsigned char* pucID, unsigned long ulIDLength)
{
    return ::RuvoOpenHandle(pucDeviceInfo, ulDeviceInfoLength, pucID, ulIDLength);
}

short KestrixDispEngine::RuvoSetData(short sHandle, unsigned char* pucData,
                                     unsigned long ulDataLength)
{
    return ::RuvoSetData(sHandle, pucData, ulDataLength);
}

short KestrixDispEngine::RuvoGetOutputData(short sHandle, unsigned char* pucPrintData,
                                           unsigned long* pulLength)
{
    return ::RuvoGetOutputData(sHandle, pucPrintData, pulLength);
}

short KestrixDispEngine::RuvoCloseHandle(short sHandle)
{
    return ::RuvoCloseHandle(sHandle);
}

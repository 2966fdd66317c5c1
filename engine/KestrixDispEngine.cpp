#include "engine/KestrixDispEngine.h"

#include "converter/RuvoConverter.h"
#include "engine/DocumentRun.h"
#include "engine/ParserRegistry.h"

short KestrixDispEngine::ucHandle = 0;

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
        const OutputVector bytes = runDocument(*this, data, devInfo, setting).bytes;
        return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
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

// The exported functions. Each checks its arguments, calls the converter and returns a status.
#include "converter/RuvoConverter.h"

#include "converter/handle/HandleTable.h"
#include "converter/handle/OpenHandle.h"
#include "converter/log/OperationLog.h"
#include "converter/output/OutputRetrieval.h"
#include "converter/text/Conversion.h"

#include <exception>
#include <limits>
#include <string>

namespace {

using namespace ruvo;

// Lengths and sizes are multiplied and added without a check where 32 bits would overflow.
static_assert(sizeof(std::size_t) == 8 && sizeof(long) == 8, "only 64-bit platforms are supported");

constexpr std::size_t kMaxNameLength = 127;

// Keeps exceptions inside the library; the converter throws only std::bad_alloc. Inlined, like
// logged, so that a call without a log keeps its arguments in registers.
template <class Work>
[[gnu::always_inline]] inline short guarded(const Work& work) noexcept
{
    try {
        return work();
    } catch (const std::exception&) {
        return RUVO_OUT_OF_MEMORY;
    }
}

// Does the work between the call's two log entries.
template <class WriteEntry, class Work>
[[gnu::always_inline]] inline short logged(HandleLink& handle, const WriteEntry& writeEntry,
                                           const Work& work) noexcept
{
    if (!handle.log.pLogFile) {
        [[likely]] return guarded(work);
    }
    writeEntry(LogDirection::in, handle.log, short{RUVO_OK});
    const short status = guarded(work);
    writeEntry(LogDirection::out, handle.log, status);
    return status;
}

// A length with the top bit set is a negative number that the caller converted.
bool isValidInput(const unsigned char* data, unsigned long length)
{
    return (data != nullptr) && length > 0 && length <= std::numeric_limits<long>::max();
}

// Appends the bytes 20..7F (hex) of `data` to `name`. False when these are more than
// kMaxNameLength: the name is not cut, as a cut name could be another device's file.
bool keepPrintable(const unsigned char* data, unsigned long length, std::string& name)
{
    for (unsigned long i = 0; i < length; ++i) {
        if (data[i] < 0x20 || data[i] > 0x7F) {
            continue;
        }
        if (name.size() == kMaxNameLength) {
            return false;
        }
        name.push_back(static_cast<char>(data[i]));
    }
    return true;
}

short setTargetCodePage(HandleSettings& settings, long lCodePage)
{
    if (lCodePage == -1) {
        settings.usTargetTable = kNoTable;
        return RUVO_OK;
    }
    for (std::size_t i = 0; i < settings.ausTableCodePage.size(); ++i) {
        if (static_cast<std::int16_t>(settings.ausTableCodePage[i]) == lCodePage) {
            settings.usTargetTable = static_cast<std::uint16_t>(i);
            return RUVO_OK;
        }
    }
    return RUVO_INVALID_ARGUMENT;
}

short setEncodeType(HandleSettings& settings, short sEncodeType)
{
    if (sEncodeType < RUVO_UTF16_BY_MARK || sEncodeType > RUVO_UTF8) {
        return RUVO_INVALID_ARGUMENT;
    }
    settings.sEncodeType = sEncodeType;
    return RUVO_OK;
}

}  // namespace

short RuvoOpenHandle(const unsigned char* pucDeviceInfo, unsigned long ulDeviceInfoLength,
                     const unsigned char* pucID, unsigned long ulIDLength)
{
    if (!isValidInput(pucDeviceInfo, ulDeviceInfoLength) || !isValidInput(pucID, ulIDLength)) {
        return RUVO_INVALID_ARGUMENT;
    }
    return guarded([&]() -> short {
        std::string deviceInfoName;
        std::string id;
        if (!keepPrintable(pucDeviceInfo, ulDeviceInfoLength, deviceInfoName) ||
            !keepPrintable(pucID, ulIDLength, id)) {
            return RUVO_INVALID_ARGUMENT;
        }
        const short result = Lutm_OpenHandleCommon(deviceInfoName, id);
        HandleLink* const handle = Cutm_CheckHandle(result);
        if (handle == nullptr) {
            return result;
        }
        // Both entries are written at the end, as there is no log before the handle.
        for (const LogDirection direction : {LogDirection::in, LogDirection::out}) {
            Lutm_RuvoOpenHandle(direction, handle->log, handle->settings, pucDeviceInfo,
                                ulDeviceInfoLength, deviceInfoName, result);
        }
        return result;
    });
}

short RuvoCloseHandle(short sHandle)
{
    HandleLink* const handle = Cutm_CheckHandle(sHandle);
    if (handle == nullptr) {
        return RUVO_INVALID_HANDLE;
    }
    LogContext log = std::move(handle->log);
    Lutm_RuvoCloseHandle(LogDirection::in, log, sHandle, RUVO_OK);
    freeSlot(sHandle);
    Lutm_RuvoCloseHandle(LogDirection::out, log, sHandle, RUVO_OK);
    return RUVO_OK;
}

short RuvoSetData(short sHandle, unsigned char* pucData, unsigned long ulDataLength)
{
    HandleLink* const handle = Cutm_CheckHandle(sHandle);
    if (handle == nullptr) {
        return RUVO_INVALID_HANDLE;
    }
    const bool valid = isValidInput(pucData, ulDataLength);
    return logged(
        *handle,
        [&](LogDirection direction, LogContext& log, short status) {
            Lutm_RuvoSetData(direction, log, sHandle, pucData, ulDataLength, status);
        },
        [&]() -> short {
            return valid ? Lutm_SetDataCommon(*handle, pucData, ulDataLength)
                         : short{RUVO_INVALID_ARGUMENT};
        });
}

short RuvoSetTargetCodePage(short sHandle, long lCodePage)
{
    HandleLink* const handle = Cutm_CheckHandle(sHandle);
    if (handle == nullptr) {
        return RUVO_INVALID_HANDLE;
    }
    return logged(
        *handle,
        [&](LogDirection direction, LogContext& log, short status) {
            Lutm_RuvoSetTargetCodePage(direction, log, sHandle, lCodePage, status);
        },
        [&] { return setTargetCodePage(handle->settings, lCodePage); });
}

short RuvoSetEncodeType(short sHandle, short sEncodeType)
{
    HandleLink* const handle = Cutm_CheckHandle(sHandle);
    if (handle == nullptr) {
        return RUVO_INVALID_HANDLE;
    }
    return logged(
        *handle,
        [&](LogDirection direction, LogContext& log, short status) {
            Lutm_RuvoSetEncodeType(direction, log, sHandle, sEncodeType, status);
        },
        [&] { return setEncodeType(handle->settings, sEncodeType); });
}

short RuvoGetOutputData(short sHandle, unsigned char* pucPrintData, unsigned long* pulLength)
{
    HandleLink* const handle = Cutm_CheckHandle(sHandle);
    if (handle == nullptr) {
        return RUVO_INVALID_HANDLE;
    }
    if (pulLength == nullptr) {
        return RUVO_INVALID_ARGUMENT;
    }
    const LogBuffer printData{pucPrintData, pulLength, *pulLength};
    return logged(
        *handle,
        [&](LogDirection direction, LogContext& log, short status) {
            Lutm_RuvoGetOutputData(direction, log, sHandle, printData, status);
        },
        [&] { return getOutputData(handle->output, pucPrintData, pulLength); });
}

short RuvoGetRawData(short sHandle, unsigned char* pucCharCode, unsigned long* pulCharCodeLength,
                     unsigned char* pucTableInfo, unsigned long* pulTableInfoLength,
                     unsigned char* pucISetInfo, unsigned long* pulISetInfoLength)
{
    HandleLink* const handle = Cutm_CheckHandle(sHandle);
    if (handle == nullptr) {
        return RUVO_INVALID_HANDLE;
    }
    const auto logBuffer = [](const unsigned char* data, const unsigned long* length) {
        return LogBuffer{data, length, length != nullptr ? *length : 0};
    };
    const LogBuffer charCode = logBuffer(pucCharCode, pulCharCodeLength);
    const LogBuffer tableInfo = logBuffer(pucTableInfo, pulTableInfoLength);
    const LogBuffer iSetInfo = logBuffer(pucISetInfo, pulISetInfoLength);
    return logged(
        *handle,
        [&](LogDirection direction, LogContext& log, short status) {
            Lutm_RuvoGetRawData(direction, log, sHandle, charCode, tableInfo, iSetInfo, status);
        },
        [&] {
            return getRawData(handle->output, {pucCharCode, pucTableInfo, pucISetInfo},
                              {pulCharCodeLength, pulTableInfoLength, pulISetInfoLength});
        });
}

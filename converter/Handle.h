// What one open handle owns.
#pragma once

#include "CharacterTables.h"
#include "Composition.h"
#include "HandleSettings.h"
#include "OperationLog.h"
#include "OutputChain.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace ruvo {

// What the characters with a spacing form go out as while a target table is in force.
struct SpacingFormMemory {
    std::uint16_t usTargetTable;
    std::vector<std::uint32_t> found;  // beside the table's spacing forms
};

struct HandleLink {
    HandleLink(HandleSettings&& handleSettings, CharacterTables&& characterTables)
        : settings(std::move(handleSettings)),
          tables(std::move(characterTables)),
          stCharCodeOut(blockLimits()),
          stTableInfoOut(blockLimits()),
          stISetInfoOut(blockLimits()),
          log{settings.szLogFilePath, settings.ucLogMaxSize, {}, nullptr}
    {
    }

    HandleSettings settings;
    CharacterTables tables;
    CharCodeChain stCharCodeOut;
    SwitchChain stTableInfoOut;  // of code tables
    SwitchChain stISetInfoOut;   // of internal character sets
    LogContext log;

    // Working memory of a conversion.
    Composer composer;
    SpacingFormMemory spacingForms{};
    std::vector<std::uint32_t> run;

    void resetOutput()
    {
        stCharCodeOut.reset();
        stTableInfoOut.reset();
        stISetInfoOut.reset();
    }

private:
    BlockLimits blockLimits() const
    {
        return {settings.ulOutputBufferBlockSize, settings.ucOutputBufferBlockMax};
    }
};

}  // namespace ruvo

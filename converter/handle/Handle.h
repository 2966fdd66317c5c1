// What one open handle owns.
#pragma once

#include "converter/log/OperationLog.h"
#include "converter/output/OutputChain.h"
#include "converter/profile/HandleSettings.h"
#include "converter/tables/CharacterTables.h"
#include "converter/tables/Composition.h"

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
          output({settings.ulOutputBufferBlockSize, settings.ucOutputBufferBlockMax}),
          log{settings.szLogFilePath, settings.ucLogMaxSize, {}, nullptr}
    {
    }

    HandleSettings settings;
    CharacterTables tables;
    OutputChains output;
    LogContext log;

    // Working memory of a conversion.
    Composer composer;
    SpacingFormMemory spacingForms{};
    std::vector<std::uint32_t> run;
};

}  // namespace ruvo

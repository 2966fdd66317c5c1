// The record of one open handle.
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

// A cache of the characters that are sent for those with a spacing form.
struct SpacingFormMemory {
    std::uint16_t usTargetTable;       // the HandleSettings::usTargetTable for which it holds
    std::vector<std::uint32_t> found;  // one for each of DecompositionTable::spacingForms()
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

    // Caches and working memory of the conversions.
    Composer composer;
    SpacingFormMemory spacingForms{};
    std::vector<std::uint32_t> run;
};

}  // namespace ruvo

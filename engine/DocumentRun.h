// Carrying out one document, and how it ended. KestrixDispEngine::parse gives the bytes alone.
#pragma once

#include "engine/DocumentWalk.h"

#include <string>
#include <string_view>

struct DocumentRun {
    // Negative if the converter handle could not be opened, and then nothing has been read.
    short status = 0;
    OutputVector bytes;
    DocumentEnd end = DocumentEnd::wellFormed;
    // Why the document ended early, in one sentence, and at which line, counted from 1 and 0 if it
    // is not known. Of a document that did not end early: the first error of its namespaces, or "".
    // Filled in by explainedRun alone.
    std::string reason;
    unsigned long line = 0;
};

// Makes the engine's handle of devInfo the current one, opened with setting on first use, and
// carries out the document. The XML library's messages go to the host's handler of errors.
//
// listener  told of each element; may be null
//
// Throws what parsers throw, and std::bad_alloc.
DocumentRun runDocument(KestrixDispEngine& engine, std::string_view data,
                        const std::string& devInfo, const std::string& setting,
                        ElementListener* listener = nullptr);

// The same, with the reason of an early end; the host's handler of errors hears nothing. Where
// memory runs out, also in the converter or the XML library, the end is DocumentEnd::outOfMemory,
// and the bytes are those of a part of the document. What a parser or listener throws counts as
// that, too.
DocumentRun explainedRun(KestrixDispEngine& engine, std::string_view data,
                         const std::string& devInfo, const std::string& setting,
                         ElementListener* listener = nullptr) noexcept;

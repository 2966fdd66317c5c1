#include "program/stream/Rendering.h"

#include <iostream>
#include <new>
#include <stdexcept>

DocumentRun carryOut(KestrixDispEngine& engine, const std::string& document,
                     const ProfileOptions& profile, ElementListener* listener)
{
    DocumentRun run = explainedRun(engine, document, profile.device, profile.setting, listener);
    if (run.status < 0) {
        throw std::runtime_error(openFailure(profile, run.status));
    }
    if (run.end == DocumentEnd::outOfMemory) {
        throw std::bad_alloc();
    }
    return run;
}

CommandBytes renderDocument(const std::string& document, const ProfileOptions& profile)
{
    KestrixDispEngine engine;
    const DocumentRun run = carryOut(engine, document, profile);
    const bool whole = run.end == DocumentEnd::wellFormed;
    if (!run.reason.empty()) {
        std::cerr << "kestrix-disp: line " << run.line << ": "
                  << (whole ? "" : "the document ends early: ") << run.reason << "\n";
    }
    return {std::string(run.bytes.begin(), run.bytes.end()), whole};
}

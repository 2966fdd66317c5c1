#include "engine/DocumentRun.h"

#include "engine/DocumentSource.h"
#include "engine/ReaderErrors.h"
#include "tags/ConvertedText.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <exception>

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

// The sentence for an end by one of the library's own limits.
std::string sentenceOf(DocumentEnd end)
{
    const auto moreThan = [](const char* what, std::size_t limit, const char* unit) {
        return std::string(what) + " more than " + std::to_string(limit) + " " + unit;
    };
    switch (end) {
    case DocumentEnd::wellFormed:
    case DocumentEnd::damaged:
        break;
    case DocumentEnd::outOfMemory:
        return "memory is exhausted";
    case DocumentEnd::tooLong:
        return moreThan("the document has", INT_MAX, "bytes");
    case DocumentEnd::manyAttributes:
        return moreThan("a tag has", kMostAttributes, "attributes");
    case DocumentEnd::largeTag:
        return moreThan("a tag has", kLargestTag, "bytes");
    case DocumentEnd::largeDocumentType:
        return moreThan("the document type, with what its parameter entities stand for, has",
                        kLargestDocumentType, "bytes");
    case DocumentEnd::manyDefaults:
        return moreThan("the document type declares", DocumentSource::kMostDefaults,
                        "attributes with default values");
    case DocumentEnd::manyNamespaces:
        return moreThan("an element has", DocumentSource::kMostNamespaces, "namespaces in scope");
    }
    return "";
}

void explain(DocumentRun& run, const ReaderErrors& errors)
{
    // A damage before the place where a limit has cut the document came first.
    const bool limited = run.end != DocumentEnd::wellFormed && run.end != DocumentEnd::damaged;
    if (limited && errors.isEnd() && !errors.isAtEnd()) {
        run.end = DocumentEnd::damaged;
    }
    // A reader without memory for a message has none.
    if (errors.isOutOfMemory() || (run.end == DocumentEnd::damaged && errors.reason().empty()) ||
        textLostToMemory) {
        run.end = DocumentEnd::outOfMemory;
    }
    run.reason = sentenceOf(run.end);
    if (run.reason.empty()) {
        run.reason = errors.reason();
    }
    if (errors.line() > 0 || run.end == DocumentEnd::wellFormed) {
        run.line = static_cast<unsigned long>(errors.line());
    }
}

}  // namespace

DocumentRun runDocument(KestrixDispEngine& engine, std::string_view data,
                        const std::string& devInfo, const std::string& setting,
                        ElementListener* listener)
{
    DocumentRun run;
    if (!selectHandle(engine.ucHandleMap, devInfo, setting)) {
        run.status = KestrixDispEngine::ucHandle;
    } else if (data.size() > INT_MAX) {
        run.end = DocumentEnd::tooLong;
    } else {
        run.bytes.reserve(std::min(data.size(), kMostRoomAtStart) + kLeastRoomAtStart);
        run.end = walkDocument(data, engine.funcMapBegin, engine.funcMapEnd, run.bytes, listener,
                               run.line);
    }
    return run;
}

DocumentRun explainedRun(KestrixDispEngine& engine, std::string_view data,
                         const std::string& devInfo, const std::string& setting,
                         ElementListener* listener) noexcept
{
    DocumentRun run;
    try {
        const ReaderErrors errors;
        textLostToMemory = false;
        run = runDocument(engine, data, devInfo, setting, listener);
        explain(run, errors);
    } catch (...) {
        run.end = DocumentEnd::outOfMemory;
    }
    return run;
}

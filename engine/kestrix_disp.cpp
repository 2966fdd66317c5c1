#include "engine/kestrix_disp.h"

#include "base/StatusText.h"
#include "engine/DocumentRun.h"

#include <mutex>
#include <new>

#include <pthread.h>

struct KestrixDisp {
    KestrixDispEngine engine;
    DocumentRun latest;
};

namespace {

// Engines of one process may not be made, run or destroyed at the same time.
std::mutex lock;

// A process that another thread forks while a document runs would get a lock that nobody opens.
void keepLockOverFork()
{
    static const int registered =
        pthread_atfork([] { lock.lock(); }, [] { lock.unlock(); }, [] { lock.unlock(); });
    static_cast<void>(registered);
}

}  // namespace

KestrixDisp* kestrix_disp_new(void)
{
    const std::lock_guard guard(lock);
    keepLockOverFork();
    try {
        return new KestrixDisp;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void kestrix_disp_free(KestrixDisp* display)
{
    const std::lock_guard guard(lock);
    delete display;
}

short kestrix_disp_parse(KestrixDisp* display, const char* document, size_t documentLength,
                         const char* device, const char* setting, const unsigned char** bytes,
                         size_t* length)
{
    if (bytes != nullptr) {
        *bytes = nullptr;
    }
    if (length != nullptr) {
        *length = 0;
    }
    if (display == nullptr) {
        return RUVO_INVALID_ARGUMENT;
    }
    const std::lock_guard guard(lock);
    DocumentRun& latest = display->latest;
    latest = {};
    if (document == nullptr || device == nullptr || setting == nullptr || bytes == nullptr ||
        length == nullptr) {
        latest.status = RUVO_INVALID_ARGUMENT;
        return latest.status;
    }
    try {
        latest = explainedRun(display->engine, {document, documentLength}, device, setting);
    } catch (const std::bad_alloc&) {
        latest.end = DocumentEnd::outOfMemory;
    }
    if (latest.status == 0 && latest.end == DocumentEnd::outOfMemory) {
        latest = {};
        latest.status = RUVO_OUT_OF_MEMORY;
        return latest.status;
    }
    *bytes = latest.bytes.data();
    *length = latest.bytes.size();
    return latest.status;
}

const char* kestrix_disp_message(const KestrixDisp* display, unsigned long* line)
{
    const bool isEarly = display != nullptr && display->latest.status == 0 &&
                         display->latest.end != DocumentEnd::wellFormed;
    if (line != nullptr) {
        *line = isEarly ? display->latest.line : 0;
    }
    return isEarly ? display->latest.reason.c_str() : nullptr;
}

const char* kestrix_disp_status_text(short status)
{
    return statusText(status);
}

const char* kestrix_disp_version(void)
{
    return KESTRIX_VERSION;
}

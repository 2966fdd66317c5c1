#include "program/port/FileWatch.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

// Folders that come and go, and file systems of other machines, tell nothing: so the files are
// looked at, too.
constexpr milliseconds kLook{1000};

// How long nothing may happen to a file before it counts as complete.
constexpr milliseconds kClosed{100};
constexpr milliseconds kOpen{500};  // while somebody may be writing
// A file that never rests is told as often.
constexpr milliseconds kMost{2000};

}  // namespace

FileWatch::FileWatch(std::vector<std::string> files)
    : m_files(std::move(files)), m_inotify(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
{
    watchFolders();
    m_told = m_latest = stamps();
}

FileWatch::Stamp FileWatch::stampOf(const std::string& file)
{
    struct stat status;
    if (stat(file.c_str(), &status) != 0) {
        return std::nullopt;
    }
    return std::array{static_cast<long>(status.st_dev), static_cast<long>(status.st_ino),
                      status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

std::vector<FileWatch::Stamp> FileWatch::stamps() const
{
    std::vector<Stamp> stamps(m_files.size());
    std::ranges::transform(m_files, stamps.begin(), stampOf);
    return stamps;
}

// A file that is named by a link can change in two folders. To watch a folder again changes
// nothing.
void FileWatch::watchFolders()
{
    m_names.clear();
    for (const std::string& file : m_files) {
        std::error_code error;
        for (const fs::path& path : {fs::path(file), fs::canonical(file, error)}) {
            if (path.empty()) {
                continue;  // there is no such file
            }
            const fs::path folder = path.has_parent_path() ? path.parent_path() : ".";
            const int watch = inotify_add_watch(m_inotify.number(), folder.c_str(),
                                                IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_CREATE |
                                                    IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO);
            m_names.emplace_back(watch, path.filename().string());
        }
    }
}

void FileWatch::settleIn(milliseconds time)
{
    const Clock::time_point now = Clock::now();
    m_since = m_since.value_or(now);
    m_settled = std::min(now + time, *m_since + kMost);
}

void FileWatch::readEvents()
{
    alignas(inotify_event) char buffer[16 * 1024];
    const ssize_t length = read(m_inotify.number(), buffer, sizeof buffer);
    for (ssize_t at = 0; at < length;) {
        const auto* const event = reinterpret_cast<const inotify_event*>(buffer + at);
        at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        if (event->len != 0 &&
            std::ranges::count(m_names, std::pair(event->wd, std::string(event->name))) != 0) {
            const bool modified = (event->mask & IN_MODIFY) != 0;
            m_written = m_written || modified;
            settleIn(modified ? kOpen : kClosed);
        }
    }
}

FileWatch::Event FileWatch::wait(const Signals& signals, int input,
                                 std::optional<milliseconds> longest)
{
    const Clock::time_point start = Clock::now();
    const auto left = [](Clock::time_point end) {
        return std::max(std::chrono::ceil<milliseconds>(end - Clock::now()), milliseconds(0));
    };
    for (;;) {
        watchFolders();
        milliseconds timeout = m_since ? std::min(left(m_settled), kLook) : kLook;
        if (longest) {
            timeout = std::min(timeout, left(start + *longest));
        }
        pollfd files[] = {
            {m_inotify.number(), POLLIN, 0}, {input, POLLIN, 0}, {signals.descriptor(), POLLIN, 0}};
        poll(files, std::size(files), static_cast<int>(timeout.count()));
        if (files[2].revents != 0) {
            return Event::signal;
        }
        if (files[0].revents != 0) {
            readEvents();
        }
        if (isChanged()) {
            return Event::changed;
        }
        if (files[1].revents != 0) {
            return Event::input;
        }
        if (longest && left(start + *longest) == milliseconds(0)) {
            return Event::timeout;
        }
    }
}

bool FileWatch::isChanged()
{
    if (std::vector<Stamp> now = stamps(); now != m_latest) {
        m_latest = std::move(now);
        if (!m_since) {
            settleIn(kClosed);
        }
    }
    if (!m_since || Clock::now() < m_settled) {
        return false;
    }
    const bool changed = m_written || m_latest != m_told;
    m_since.reset();
    m_written = false;
    m_told = m_latest;
    return changed;
}

// Waits until files change, however they are saved.
#pragma once

#include "program/port/Descriptor.h"
#include "program/port/Signals.h"

#include <array>
#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

class FileWatch {
public:
    enum class Event { changed, input, signal, timeout };

    // What happens to the files from here on counts. It does not matter whether they exist.
    explicit FileWatch(std::vector<std::string> files);

    // Waits until a file has been written, replaced, made or removed, and no more happens to it for
    // a moment; or until a signal waits, or the descriptor `input`, if not -1, has something to
    // read; or at most so long.
    Event wait(const Signals& signals, int input = -1,
               std::optional<std::chrono::milliseconds> longest = std::nullopt);

private:
    using Clock = std::chrono::steady_clock;
    // Of a file: device, inode, size, time of its last change in seconds and nanoseconds. Nothing
    // if there is no file.
    using Stamp = std::optional<std::array<long, 5>>;

    static Stamp stampOf(const std::string& file);
    std::vector<Stamp> stamps() const;
    void watchFolders();
    void readEvents();
    // Whether a change is over, which is told then.
    bool isChanged();
    // Lets the change that is under way be over after this time, unless more happens.
    void settleIn(std::chrono::milliseconds time);

    std::vector<std::string> m_files;
    Descriptor m_inotify;
    std::vector<std::pair<int, std::string>> m_names;  // of files, by the watch of their folder
    std::vector<Stamp> m_told;                         // when the last change was told
    std::vector<Stamp> m_latest;
    bool m_written = false;                    // since then
    std::optional<Clock::time_point> m_since;  // when a change began that has not been told
    Clock::time_point m_settled;               // when it will be over
};

#include "program/commands/Files.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kStandardStream = "-";
constexpr std::size_t kLongestFile = INT_MAX;

// With the reason that errno gives.
std::system_error failure(const std::string& words)
{
    return {errno, std::generic_category(), words};
}

}  // namespace

class OpenFile {
public:
    // `words` begin the message of every failure.
    OpenFile(int descriptor, std::string words)
        : m_descriptor(descriptor), m_words(std::move(words))
    {
        if (m_descriptor < 0) {
            throw failure(m_words);
        }
    }
    ~OpenFile()
    {
        if (m_descriptor >= 0) {
            ::close(m_descriptor);
        }
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    // As followFile does. False if there was nothing.
    bool follow(const std::function<int(std::string_view)>& take) const
    {
        char block[64 * 1024];
        bool any = false;
        for (int wait = -1;;) {
            pollfd source{m_descriptor, POLLIN, 0};
            const int ready = wait < 0 ? 1 : poll(&source, 1, wait);
            const ssize_t count = ready > 0 ? ::read(m_descriptor, block, sizeof block) : 0;
            if ((ready < 0 || count < 0) && errno == EINTR) {
                continue;
            }
            if (ready < 0 || count < 0) {
                throw failure(m_words);
            }
            if (ready > 0 && count == 0) {
                return any;
            }
            any = true;
            wait = take({block, static_cast<std::size_t>(count)});
        }
    }

    void write(std::string_view bytes) const
    {
        while (!bytes.empty()) {
            const ssize_t count = ::write(m_descriptor, bytes.data(), bytes.size());
            if (count < 0 && errno != EINTR) {
                throw failure(m_words);
            }
            bytes.remove_prefix(static_cast<std::size_t>(std::max(count, ssize_t{0})));
        }
    }

    // A write may fail as late as here.
    void close()
    {
        if (::close(std::exchange(m_descriptor, -1)) != 0) {
            throw failure(m_words);
        }
    }

    // Gives the file an owner, where allowed, and a mode, and waits until it is on its medium.
    void finish(const struct stat* owner, mode_t mode)
    {
        const bool owned = owner == nullptr ||
                           fchown(m_descriptor, owner->st_uid, owner->st_gid) == 0 ||
                           errno == EPERM || errno == EINVAL;  // not allowed, or a foreign owner
        if (!owned || fchmod(m_descriptor, mode) != 0 || fsync(m_descriptor) != 0) {
            throw failure(m_words);
        }
        close();
    }

private:
    int m_descriptor;
    std::string m_words;
};

namespace {

// Whether a path belongs to a device or an open file, such as /dev/stdout. The files of /dev/shm
// are files like any other.
bool isDevicePath(const fs::path& path)
{
    std::error_code ignored;
    const std::string folder =
        fs::weakly_canonical(fs::absolute(path, ignored).parent_path(), ignored).string() + "/";
    return folder.starts_with("/proc/") ||
           (folder.starts_with("/dev/") && !folder.starts_with("/dev/shm/"));
}

// What a chain of links leads to, whether or not it exists.
fs::path targetOf(fs::path path)
{
    constexpr int kMostLinks = 40;  // as for the system
    std::error_code error;
    for (int i = 0; i < kMostLinks && !isDevicePath(path) && fs::is_symlink(path, error); ++i) {
        path = path.parent_path() / fs::read_symlink(path, error);
    }
    return path;
}

// `old` is the file's status, null if there is no such file.
void replaceFile(const fs::path& path, const struct stat* old, std::string_view bytes,
                 const std::string& words)
{
    if (old != nullptr && access(path.c_str(), W_OK) != 0) {
        throw failure(words);
    }
    std::string name = (path.parent_path() / ".kestrix-disp-XXXXXX").string();
    OpenFile file(mkostemp(name.data(), O_CLOEXEC), words);
    try {
        const mode_t mask = umask(0);
        umask(mask);
        file.write(bytes);
        file.finish(old, old != nullptr ? old->st_mode & ACCESSPERMS : DEFFILEMODE & ~mask);
        if (std::rename(name.c_str(), path.c_str()) != 0) {
            throw failure(words);
        }
    } catch (const std::exception&) {
        unlink(name.c_str());
        throw;
    }
}

std::string inputName(const std::string& file)
{
    return file == kStandardStream ? "the standard input" : file;
}

// The status of a file or standard stream; false if it has none.
bool statusOf(const std::string& file, int standardStream, struct stat& status)
{
    return (file == kStandardStream ? fstat(standardStream, &status)
                                    : stat(file.c_str(), &status)) == 0;
}

}  // namespace

std::string readFile(const std::string& file)
{
    std::string bytes;
    followFile(file, [&](std::string_view piece) {
        if (piece.size() > kLongestFile - bytes.size()) {
            throw std::runtime_error("cannot read " + inputName(file) + ": it has more than " +
                                     std::to_string(kLongestFile) + " bytes");
        }
        bytes += piece;
        return -1;
    });
    return bytes;
}

void requireWatchable(const std::string& file)
{
    struct stat status;
    if (stat(file.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
        throw std::runtime_error("cannot watch " + file + ": it is no regular file");
    }
    readFile(file);
}

void followFile(const std::string& file, const std::function<int(std::string_view)>& take)
{
    const OpenFile opened(file == kStandardStream
                              ? dup(STDIN_FILENO)
                              : open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY),
                          "cannot read " + inputName(file));
    if (!opened.follow(take)) {
        throw std::runtime_error(inputName(file) + " is empty");
    }
}

void writeFile(const std::string& file, std::string_view bytes)
{
    if (file == kStandardStream) {
        OpenFile output(dup(STDOUT_FILENO), "cannot write the standard output");
        output.write(bytes);
        output.close();
        return;
    }
    const std::string words = "cannot write " + file;
    const fs::path path = targetOf(file);
    const bool isDevice = isDevicePath(path);
    struct stat old;
    const bool exists = stat(path.c_str(), &old) == 0;
    if (!exists && errno != ENOENT) {
        throw failure(words);
    }
    if (!isDevice && (!exists || S_ISREG(old.st_mode))) {
        replaceFile(path, exists ? &old : nullptr, bytes, words);
        return;
    }
    std::error_code ignored;
    if (isDevice && fs::symlink_status(path, ignored).type() == fs::file_type::regular) {
        throw std::runtime_error(words + ": it is a regular file in the place of a device");
    }
    // O_APPEND: the standard output may be a file that has something already.
    OpenFile output(open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY), words);
    output.write(bytes);
    output.close();
}

NewFile::NewFile(const std::string& file)
{
    const std::string words = "cannot write " + file;
    struct stat old;
    const bool exists = stat(file.c_str(), &old) == 0;
    const bool isFile = exists && (S_ISREG(old.st_mode) || S_ISDIR(old.st_mode));
    if (isFile || (!exists && isDevicePath(file))) {
        errno = isFile ? EEXIST : ENOENT;
        throw failure(words);
    }
    const int flags = exists ? O_APPEND : O_CREAT | O_EXCL;
    m_file = std::make_unique<OpenFile>(
        open(file.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY | flags, DEFFILEMODE), words);
}

NewFile::~NewFile() = default;

void NewFile::write(std::string_view bytes)
{
    m_file->write(bytes);
}

void NewFile::close()
{
    m_file->close();
}

void requireSeparate(const std::vector<std::string>& inputs,
                     const std::vector<std::string>& outputs)
{
    std::vector<fs::path> paths;
    for (const std::string& output : outputs) {
        struct stat written;
        const bool isFile = statusOf(output, STDOUT_FILENO, written) && S_ISREG(written.st_mode);
        for (const std::string& input : inputs) {
            struct stat read;
            if (isFile && statusOf(input, STDIN_FILENO, read) && read.st_dev == written.st_dev &&
                read.st_ino == written.st_ino) {
                throw std::runtime_error("cannot write " + output + ": it is an input");
            }
        }
        std::error_code ignored;
        const fs::path path = fs::weakly_canonical(targetOf(output), ignored);
        if (std::ranges::count(paths, path) != 0) {
            throw std::runtime_error("cannot write " + output + " twice");
        }
        paths.push_back(path);
    }
}

bool writesToPerson()
{
    return tcgetpgrp(STDOUT_FILENO) != -1;
}

#include "program/new-profile/ProfileFolder.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const fs::path& path, int error)
{
    throw std::system_error(error, std::generic_category(), "cannot write " + path.string());
}

// Holds back the signals by which users and systems end programs.
class SignalsWait {
public:
    SignalsWait()
    {
        sigset_t ends;
        sigemptyset(&ends);
        for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGPIPE}) {
            sigaddset(&ends, signal);
        }
        pthread_sigmask(SIG_BLOCK, &ends, &m_before);
    }
    ~SignalsWait() { pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsWait(const SignalsWait&) = delete;
    SignalsWait& operator=(const SignalsWait&) = delete;

private:
    sigset_t m_before;
};

// A folder that goes with all that is in it.
class TemporaryFolder {
public:
    explicit TemporaryFolder(const fs::path& place)
        : m_path((place.parent_path() / ".kestrix-disp-XXXXXX").string())
    {
        if (mkdtemp(m_path.data()) == nullptr) {
            fail(place, errno);
        }
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    fs::path path() const { return m_path; }

private:
    std::string m_path;
};

void requireAbsent(const fs::path& path)
{
    std::error_code error;
    const fs::file_type type = fs::symlink_status(path, error).type();
    if (type == fs::file_type::none) {
        fail(path, error.value());
    }
    if (type != fs::file_type::not_found) {
        throw std::runtime_error("cannot write " + path.string() + ": it exists");
    }
}

// A new name may reach the disk before what it stands for: a power failure would leave empty files.
void store(const fs::path& path, const fs::path& place)
{
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const int error = descriptor >= 0 && fsync(descriptor) == 0 ? 0 : errno;
    if (descriptor >= 0) {
        close(descriptor);
    }
    if (error != 0) {
        fail(place, error);
    }
}

void write(const fs::path& file, const std::string& text, const fs::path& place)
{
    std::ofstream out(file, std::ios::binary);
    out << text;
    out.close();
    if (!out) {
        fail(place, errno);
    }
    store(file, place);
}

// A plain rename would replace an empty folder, or a file, that somebody else has made meanwhile.
void moveNew(const fs::path& from, const fs::path& to)
{
    if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return;
    }
    const bool unknown = errno == EINVAL || errno == ENOSYS;  // to the file system or kernel
    if (!unknown || std::rename(from.c_str(), to.c_str()) != 0) {
        fail(to, errno);
    }
}

}  // namespace

void writeProfileFolder(const std::string& folder, const std::map<std::string, std::string>& files,
                        const OutsideFile& outside)
{
    const fs::path place = folder;
    requireAbsent(place);
    if (!outside.path.empty()) {
        requireAbsent(outside.path);
    }
    const SignalsWait signalsWait;
    const TemporaryFolder temporary(place);
    const fs::path made = temporary.path() / "profile";
    if (mkdir(made.c_str(), ACCESSPERMS) != 0) {
        fail(place, errno);
    }
    for (const auto& [name, text] : files) {
        write(made / name, text, place);
    }
    store(made, place);
    const fs::path madeOutside = temporary.path() / "outside";
    if (!outside.path.empty()) {
        write(madeOutside, outside.text, outside.path);
    }
    moveNew(made, place);
    if (!outside.path.empty()) {
        try {
            moveNew(madeOutside, outside.path);
        } catch (const std::exception&) {
            std::error_code ignored;
            fs::remove_all(place, ignored);
            throw;
        }
    }
}

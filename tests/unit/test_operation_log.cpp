// The operation log: its entries, its rotation, and what it does when it cannot write.

#include "Bytes.h"
#include "ProfileFixture.h"
#include "converter/RuvoConverter.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class OperationLog : public ProfileFixture {
protected:
    static constexpr std::uintmax_t kMegabyte = 1048576;

    OperationLog()
    {
        profile.set("LogFilePath", "log");
        profile.set("OutputBufferBlockSize", "1000000");
        fs::create_directory("log");
    }

    short open() const
    {
        profile.write(".");
        return RuvoOpenHandle(reinterpret_cast<const unsigned char*>("DE\x01VICE"), 7,
                              reinterpret_cast<const unsigned char*>(noSetting),
                              sizeof noSetting - 1);
    }

    // The log's only file with the extension; an empty path without one.
    static fs::path logFile(const std::string& extension)
    {
        fs::path found;
        for (const fs::directory_entry& entry : fs::directory_iterator("log")) {
            if (entry.path().extension() == extension) {
                EXPECT_TRUE(found.empty()) << "two files " << extension;
                found = entry.path();
            }
        }
        return found;
    }

    static std::vector<std::string> lines(const fs::path& path)
    {
        std::ifstream file(path, std::ios::binary);
        std::vector<std::string> result;
        for (std::string line; std::getline(file, line);)
            result.push_back(line);
        return result;
    }

    // The lines with T for a time stamp and P for a pointer.
    static std::vector<std::string> plainLines(const fs::path& path)
    {
        static const std::regex stamp(R"(^\[\d{4}/\d\d/\d\d \d\d:\d\d:\d\d\.(  \d| \d\d|\d{3})\])");
        static const std::regex pointer(R"(\[0x[0-9a-f]+\])");
        std::vector<std::string> result;
        for (const std::string& line : lines(path)) {
            std::string plain = std::regex_replace(line, stamp, "T");
            result.push_back(std::regex_replace(plain, pointer, "[P]"));
        }
        return result;
    }

    static std::ptrdiff_t openFiles()
    {
        return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
    }

    Profile profile = smallDisplay();
};

using Text = std::unique_ptr<unsigned char[]>;

// Exactly as large as the text, so that a dump that reads on is found.
Text exactly(const std::string& text)
{
    auto bytes = std::make_unique<unsigned char[]>(text.size());
    std::copy(text.begin(), text.end(), bytes.get());
    return bytes;
}

TEST_F(OperationLog, EveryCallLeavesItsTwoEntries)
{
    const short handle = open();
    ASSERT_GT(handle, 0);
    const std::string number = std::to_string(handle);

    const Text text = exactly("ABCDEFGHIJKLMNOPQ");
    EXPECT_EQ(RUVO_OK, RuvoSetData(handle, text.get(), 17));
    EXPECT_EQ(RUVO_INVALID_ARGUMENT, RuvoSetData(handle, nullptr, 3));
    EXPECT_EQ(RUVO_INVALID_ARGUMENT, RuvoSetData(handle, text.get(), ~0UL));
    unsigned long length = 0;
    EXPECT_EQ(RUVO_BUFFER_TOO_SMALL, RuvoGetOutputData(handle, nullptr, &length));
    const Text small = exactly("ab");
    length = 2;
    EXPECT_EQ(RUVO_BUFFER_TOO_SMALL, RuvoGetOutputData(handle, small.get(), &length));
    const Text room = exactly("abcdefghijklmnopqrstu");
    length = 21;
    EXPECT_EQ(RUVO_OK, RuvoGetOutputData(handle, room.get(), &length));
    EXPECT_EQ(RUVO_INVALID_ARGUMENT, RuvoGetOutputData(handle, nullptr, nullptr));
    EXPECT_EQ(RUVO_OK, RuvoSetData(handle, text.get(), 1));
    length = ~0UL;
    EXPECT_EQ(RUVO_OK, RuvoGetOutputData(handle, room.get(), &length));

    EXPECT_EQ(RUVO_OK, RuvoSetEncodeType(handle, RUVO_UTF16_LITTLE_ENDIAN));
    const Text units = exactly(std::string("A\0", 2));
    EXPECT_EQ(RUVO_OK, RuvoSetData(handle, units.get(), 2));
    unsigned long lengths[] = {1, 4, 0};
    EXPECT_EQ(RUVO_INVALID_ARGUMENT, RuvoGetRawData(handle, small.get(), &lengths[0], room.get(),
                                                    &lengths[1], nullptr, nullptr));
    EXPECT_EQ(RUVO_BUFFER_TOO_SMALL, RuvoGetRawData(handle, small.get(), &lengths[0], room.get(),
                                                    &lengths[1], nullptr, &lengths[2]));
    EXPECT_EQ(RUVO_OK, RuvoGetRawData(handle, small.get(), &lengths[0], room.get(), &lengths[1],
                                      nullptr, &lengths[2]));
    EXPECT_EQ(RUVO_INVALID_ARGUMENT, RuvoSetTargetCodePage(handle, 70000));
    EXPECT_EQ(RUVO_INVALID_ARGUMENT, RuvoSetEncodeType(handle, -1));
    EXPECT_EQ(RUVO_OK, RuvoCloseHandle(handle));
    EXPECT_EQ(RUVO_INVALID_HANDLE, RuvoCloseHandle(handle));

    const std::vector<std::string> settings = {
        "44 45 56 49 43 45",
        "EncodeTypeDefault=3",
        "MissingCharacterCode=63",
        "DeviceInfoPath=./",
        "MaximumHandle=32",
        "OutputBufferBlockSize=1000000",
        "OutputBufferBlockMax=255",
        "ICSCommandDefault=0",
        "DecompositionClassNumber=100",
        "GeneralCategorySize=2",
        "CanonicalCombiningClassSize=3",
        "BidiClassSize=3",
        "DecompositionMappingSize=2",
    };
    const std::string seventeen = "41 42 43 44 45 46 47 48 49 4A 4B 4C 4D 4E 4F 50";
    std::vector<std::string> expected = {"T,[IN],[0],[RuvoOpenHandle],[P],[7]"};
    expected.insert(expected.end(), settings.begin(), settings.end());
    expected.push_back("T,[OUT],[" + number + "],[RuvoOpenHandle],[P],[7]");
    expected.insert(expected.end(), settings.begin(), settings.end());
    const std::string h = ",[" + number + "]";
    const std::vector<std::string> calls = {
        "T,[IN],[0],[RuvoSetData]" + h + ",[P],[17]",
        seventeen,
        "51",
        "T,[OUT],[0],[RuvoSetData]" + h + ",[P],[17]",
        seventeen,
        "51",
        "T,[IN],[0],[RuvoSetData]" + h + ",[(nil)],[3]",
        "XX",
        "T,[OUT],[-20],[RuvoSetData]" + h + ",[(nil)],[3]",
        "XX",
        "T,[IN],[0],[RuvoSetData]" + h + ",[P],[18446744073709551615]",
        "XX",
        "T,[OUT],[-20],[RuvoSetData]" + h + ",[P],[18446744073709551615]",
        "XX",
        "T,[IN],[0],[RuvoGetOutputData]" + h + ",[(nil)],[0]",
        "XX",
        "T,[OUT],[-40],[RuvoGetOutputData]" + h + ",[(nil)],[20]",
        "XX",
        "T,[IN],[0],[RuvoGetOutputData]" + h + ",[P],[2]",
        "61 62",
        "T,[OUT],[-40],[RuvoGetOutputData]" + h + ",[P],[20]",
        "61 62",
        "T,[IN],[0],[RuvoGetOutputData]" + h + ",[P],[21]",
        "61 62 63 64 65 66 67 68 69 6A 6B 6C 6D 6E 6F 70",
        "71 72 73 74 75",
        "T,[OUT],[0],[RuvoGetOutputData]" + h + ",[P],[20]",
        "1B 74 00 41 42 43 44 45 46 47 48 49 4A 4B 4C 4D",
        "4E 4F 50 51",
        "T,[IN],[0],[RuvoSetData]" + h + ",[P],[1]",
        "41",
        "T,[OUT],[0],[RuvoSetData]" + h + ",[P],[1]",
        "41",
        "T,[IN],[0],[RuvoGetOutputData]" + h + ",[P],[18446744073709551615]",
        "XX",
        "T,[OUT],[0],[RuvoGetOutputData]" + h + ",[P],[4]",
        "1B 74 00 41",
        "T,[IN],[0],[RuvoSetEncodeType]" + h + ",[2]",
        "T,[OUT],[0],[RuvoSetEncodeType]" + h + ",[2]",
        "T,[IN],[0],[RuvoSetData]" + h + ",[P],[2]",
        "41 00",
        "T,[OUT],[0],[RuvoSetData]" + h + ",[P],[2]",
        "00 41",
        "T,[IN],[0],[RuvoGetRawData]" + h + ",[P],[1],[P],[4],[(nil)],[0]",
        "CharCode=61",
        "TableInfo=1B 74 00 41",
        "ISetInfo=XX",
        "T,[OUT],[-20],[RuvoGetRawData]" + h + ",[P],[1],[P],[4],[(nil)],[0]",
        "CharCode=61",
        "TableInfo=1B 74 00 41",
        "ISetInfo=XX",
        "T,[IN],[0],[RuvoGetRawData]" + h + ",[P],[1],[P],[4],[(nil)],[0]",
        "CharCode=61",
        "TableInfo=1B 74 00 41",
        "ISetInfo=XX",
        "T,[OUT],[-40],[RuvoGetRawData]" + h + ",[P],[1],[P],[5],[(nil)],[0]",
        "CharCode=61",
        "TableInfo=1B 74 00 41",
        "ISetInfo=XX",
        "T,[IN],[0],[RuvoGetRawData]" + h + ",[P],[1],[P],[5],[(nil)],[0]",
        "CharCode=61",
        "TableInfo=1B 74 00 41 42",
        "ISetInfo=XX",
        "T,[OUT],[0],[RuvoGetRawData]" + h + ",[P],[1],[P],[5],[(nil)],[0]",
        "CharCode=41",
        "TableInfo=00 00 00 00 00",
        "ISetInfo=XX",
        "T,[IN],[0],[RuvoSetTargetCodePage]" + h + ",[4464]",
        "T,[OUT],[-20],[RuvoSetTargetCodePage]" + h + ",[4464]",
        "T,[IN],[0],[RuvoSetEncodeType]" + h + ",[-1]",
        "T,[OUT],[-20],[RuvoSetEncodeType]" + h + ",[-1]",
        "T,[IN],[0],[RuvoCloseHandle]" + h,
        "T,[OUT],[0],[RuvoCloseHandle]" + h,
    };
    expected.insert(expected.end(), calls.begin(), calls.end());
    const fs::path file = logFile(".txt");
    EXPECT_EQ(expected, plainLines(file));
    EXPECT_TRUE(
        std::regex_match(file.filename().string(), std::regex(R"(HalvoCvtLog_\d{17}\.txt)")))
        << file;
}

// Long dumps through a log of one megabyte: no line is lost or cut, and the file changes at the
// very line that does not fit.
TEST_F(OperationLog, RotatesAtTheLineThatDoesNotFit)
{
    const short handle = open();
    ASSERT_GT(handle, 0);
    std::vector<std::string> all = lines(logFile(".txt"));
    std::string text(100003, '\0');
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<char>('A' + i % 23);
    const Text bytes = exactly(text);
    for (int rotations = 0; rotations < 3;) {
        const fs::path oldBackup = logFile(".bak");
        const std::vector<std::string> before = lines(logFile(".txt"));
        RuvoSetData(handle, bytes.get(), text.size());
        const fs::path live = logFile(".txt");
        const fs::path backup = logFile(".bak");
        EXPECT_LE(fs::file_size(live), kMegabyte);
        const std::vector<std::string> now = lines(live);
        if (!backup.empty() && now.size() < before.size() + 10) {
            ++rotations;
            std::vector<std::string> whole = lines(backup);
            EXPECT_LE(fs::file_size(backup), kMegabyte);
            EXPECT_GT(fs::file_size(backup) + now.front().size() + 1, kMegabyte)
                << "rotated before its time";
            ASSERT_GE(whole.size(), before.size());
            EXPECT_TRUE(std::equal(before.begin(), before.end(), whole.begin()));
            whole.erase(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(before.size()));
            whole.insert(whole.end(), now.begin(), now.end());
            // Two entries: a first line, and one for each 16 bytes.
            ASSERT_EQ(2 * (1 + (text.size() + 15) / 16), whole.size());
            const auto half = static_cast<std::ptrdiff_t>(whole.size() / 2);
            EXPECT_TRUE(
                std::equal(whole.begin() + 1, whole.begin() + half, whole.begin() + half + 1));
        }
    }
    EXPECT_EQ(RUVO_OK, RuvoCloseHandle(handle));
    const std::string last = lines(logFile(".txt")).back();
    EXPECT_NE(std::string::npos, last.find(",[OUT],[0],[RuvoCloseHandle]")) << last;
}

// What can go wrong with the file, done before the open or while it is open. Calls go on as ever.
TEST_F(OperationLog, FailuresChangeNothing)
{
    struct Row {
        const char* name;
        void (*beforeOpen)();
        void (*whileOpen)();
        bool goesOn = false;  // the log has the close
    };
    const auto nothing = [] {};
    const Row rows[] = {
        {"no folder", [] { fs::remove_all("log"); }, nothing},
        {"a file in the folder's place",
         [] {
             fs::remove_all("log");
             std::ofstream("log") << "x";
         },
         nothing},
        {"the folder goes away", nothing, [] { fs::remove_all("log"); }},
        {"the file goes away", nothing, [] { fs::remove(logFile(".txt")); }, true},
        {"the file is emptied", nothing, [] { fs::resize_file(logFile(".txt"), 0); }, true},
        {"the backup is a folder", nothing,
         [] {
             fs::path backup = logFile(".txt");
             fs::create_directories(backup.replace_extension(".bak") / "full");
         }},
        {"the backup is an empty folder", nothing,
         [] {
             fs::path backup = logFile(".txt");
             fs::create_directory(backup.replace_extension(".bak"));
         }},
        {"the backup is a pipe", nothing,
         [] {
             fs::path backup = logFile(".txt");
             ASSERT_EQ(0, mkfifo(backup.replace_extension(".bak").c_str(), 0600));
         },
         true},
    };
    std::string text(600000, 'a');
    const Text bytes = exactly(text);
    Text output(new unsigned char[text.size() + 3]);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const std::ptrdiff_t files = openFiles();
        fs::remove_all("log");
        fs::create_directory("log");
        row.beforeOpen();
        const short handle = open();
        ASSERT_GT(handle, 0);
        row.whileOpen();
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(RUVO_OK, RuvoSetData(handle, bytes.get(), text.size()));
            unsigned long length = text.size() + 3;
            EXPECT_EQ(RUVO_OK, RuvoGetOutputData(handle, output.get(), &length));
            EXPECT_EQ(text.size() + 3, length);
        }
        EXPECT_EQ(RUVO_OK, RuvoCloseHandle(handle));
        EXPECT_EQ(files, openFiles()) << "a stream stays open";
        std::string last;
        if (fs::is_directory("log") && !logFile(".txt").empty()) {
            EXPECT_LE(fs::file_size(logFile(".txt")), kMegabyte);
            last = lines(logFile(".txt")).back();
        }
        EXPECT_EQ(row.goesOn, last.find(",[OUT],[0],[RuvoCloseHandle]") != std::string::npos);
        fs::remove_all("log");
    }
}

// A pipe nobody reads holds an ordinary open up for ever.
TEST_F(OperationLog, OnlyARegularFileIsOpened)
{
    ASSERT_EQ(0, mkfifo("pipe", 0600));
    const fs::path directory = fs::current_path();
    for (const fs::path& target : {directory / "pipe", fs::path("/dev/null")}) {
        fs::remove_all("log");
        fs::create_directory("log");
        // In the place of any file that the next seconds can give.
        const std::time_t now = std::time(nullptr);
        for (std::time_t second = now; second < now + 8; ++second) {
            char name[64];
            std::strftime(name, sizeof name, "log/HalvoCvtLog_%Y%m%d%H%M%S",
                          std::localtime(&second));
            for (int millisecond = 1000; millisecond < 2000; ++millisecond)
                fs::create_symlink(target, name + std::to_string(millisecond).substr(1) +
                                               std::string(".txt"));
        }
        const std::ptrdiff_t files = openFiles();
        const short handle = open();
        EXPECT_GT(handle, 0);
        // On a machine that has stood still for as long, a file of its own is opened.
        const auto own =
            std::ranges::count_if(fs::directory_iterator("log"), [](const auto& entry) {
                return entry.symlink_status().type() == fs::file_type::regular;
            });
        EXPECT_EQ(files + own, openFiles()) << target << " is open";
        EXPECT_EQ(RUVO_OK, RuvoCloseHandle(handle));
    }
}

TEST_F(OperationLog, AProgramThatTheCallerStartsDoesNotInheritTheFile)
{
    const int file = dup(0);
    close(file);
    const short handle = open();
    EXPECT_EQ(FD_CLOEXEC, fcntl(file, F_GETFD)) << "the lowest free number is the log's";
    EXPECT_EQ(RUVO_OK, RuvoCloseHandle(handle));
}

TEST_F(OperationLog, AFailedOpenAndAnInvalidHandleLeaveNothing)
{
    profile.set("MissingCharacterCode", "31");
    EXPECT_EQ(RUVO_SETTINGS_INVALID, open());
    EXPECT_EQ(RUVO_INVALID_HANDLE, RuvoSetEncodeType(200, 0));
    EXPECT_TRUE(fs::is_empty("log"));
}

}  // namespace

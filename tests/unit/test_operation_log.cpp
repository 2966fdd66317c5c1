// The operation log: its entries, its rotation, and what it does when it cannot write.

#include "ProfileFixture.h"
#include "converter/RuvoConverter.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace {

bool clockWorks;
std::timespec clockTime;

}  // namespace

// Replaces the clock of the log.
extern "C" int timespec_get(std::timespec* time, int base) noexcept
{
    *time = clockTime;
    return clockWorks ? base : 0;
}

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

const std::string live = "log/HalvoCvtLog_20260102030405006.txt";
const std::string backup = "log/HalvoCvtLog_20260102030405006.bak";
const std::string stamp = "[2026/01/02 03:04:05.  6]";
constexpr std::uintmax_t megabyte = 1048576;

Lines lines(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    Lines result;
    for (std::string line; std::getline(file, line);) {
        result.push_back(line);
    }
    return result;
}

std::string lastLine()
{
    const Lines all = lines(live);
    return all.empty() ? "" : all.back();
}

std::string pointer(const void* value)
{
    char text[32];
    std::snprintf(text, sizeof text, "[%p]", value);
    return text;
}

// The dump of bytes that all have the value 41 (hex).
Lines dump(std::size_t size)
{
    Lines result;
    for (std::size_t i = 0; i < size; ++i) {
        i % 16 == 0 ? result.push_back("41") : void(result.back() += " 41");
    }
    return result;
}

// A buffer as large as the text, so that a dump that reads beyond it is found.
std::vector<unsigned char> exactly(const std::string& text)
{
    return {text.begin(), text.end()};
}

class OperationLog : public ProfileFixture {
protected:
    OperationLog()
    {
        setenv("TZ", "UTC", 1);
        clockWorks = true;
        clockTime = {1767323045, 6999999};  // 2026-01-02 03:04:05.006
        profile.set("LogFilePath", "log");
        profile.set("OutputBufferBlockSize", "1000000");
        fs::create_directory("log");
    }

    short open()
    {
        profile.write(".");
        const auto* const id = reinterpret_cast<const unsigned char*>(noSetting);
        handle = RuvoOpenHandle(device, sizeof device, id, sizeof noSetting - 1);
        h = ",[" + std::to_string(handle) + "]";
        return handle;
    }

    // Adds the two entries of a call that gave `actual` to `expected`.
    void expectEntries(const std::string& call, int status, int actual, const std::string& in,
                       const Lines& dumpIn, const std::string& out, const Lines& dumpOut)
    {
        EXPECT_EQ(status, actual) << call;
        expected.push_back(stamp + ",[IN],[0],[Ruvo" + call + "]" + in);
        expected.insert(expected.end(), dumpIn.begin(), dumpIn.end());
        expected.push_back(stamp + ",[OUT],[" + std::to_string(status) + "],[Ruvo" + call + "]" +
                           out);
        expected.insert(expected.end(), dumpOut.begin(), dumpOut.end());
    }
    void expectEntries(const std::string& call, int status, int actual, const std::string& fields,
                       const Lines& dumps = {})
    {
        expectEntries(call, status, actual, fields, dumps, fields, dumps);
    }

    static constexpr unsigned char device[] = {'D', 'E', 1, 'V', 'I', 'C', 'E'};
    Profile profile = smallDisplay();
    short handle = 0;
    std::string h;  // the field of the handle
    Lines expected;
};

TEST_F(OperationLog, EveryCallLeavesItsTwoEntries)
{
    ASSERT_GT(open(), 0);
    expectEntries(
        "OpenHandle", handle, handle, "," + pointer(device) + ",[7]",
        {"44 45 56 49 43 45", "EncodeTypeDefault=3", "MissingCharacterCode=63", "DeviceInfoPath=./",
         "MaximumHandle=32", "OutputBufferBlockSize=1000000", "OutputBufferBlockMax=255",
         "ICSCommandDefault=0", "DecompositionClassNumber=100", "GeneralCategorySize=2",
         "CanonicalCombiningClassSize=3", "BidiClassSize=3", "DecompositionMappingSize=2"});

    auto text = exactly(std::string(17, 'A'));
    const std::string textField = h + "," + pointer(text.data());
    expectEntries("SetData", 0, RuvoSetData(handle, text.data(), 17), textField + ",[17]",
                  dump(17));
    expectEntries("SetData", -20, RuvoSetData(handle, nullptr, 3), h + ",[(nil)],[3]", {"XX"});
    expectEntries("SetData", -20, RuvoSetData(handle, text.data(), ~0UL),
                  textField + ",[18446744073709551615]", {"XX"});

    auto room = exactly("\x01\xAF" + std::string(19, 'A'));
    const std::string output = h + "," + pointer(room.data());
    unsigned long length = 21;
    const auto getOutput = [&] { return RuvoGetOutputData(handle, room.data(), &length); };
    expectEntries("GetOutputData", 0, getOutput(), output + ",[21]",
                  {"01 AF" + dump(16)[0].substr(5), dump(5)[0]}, output + ",[20]",
                  {"1B 74 00" + dump(16)[0].substr(8), dump(4)[0]});
    EXPECT_EQ(RUVO_INVALID_ARGUMENT, RuvoGetOutputData(handle, nullptr, nullptr));
    expectEntries("SetData", 0, RuvoSetData(handle, text.data(), 1), textField + ",[1]", {"41"});
    length = ~0UL;
    expectEntries("GetOutputData", 0, getOutput(), output + ",[18446744073709551615]", {"XX"},
                  output + ",[4]", {"1B 74 00 41"});

    expectEntries("SetEncodeType", 0, RuvoSetEncodeType(handle, 2), h + ",[2]");
    text[1] = 0;
    expectEntries("SetData", 0, RuvoSetData(handle, text.data(), 2), textField + ",[2]", {"41 00"},
                  textField + ",[2]", {"00 41"});
    auto small = exactly("ab");
    unsigned long lengths[] = {2, 4, 0};
    const auto getRaw = [&](unsigned long* lastLength) {
        return RuvoGetRawData(handle, small.data(), &lengths[0], room.data(), &lengths[1], nullptr,
                              lastLength);
    };
    const auto raw = [&](int first, int second) {
        return h + "," + pointer(small.data()) + ",[" + std::to_string(first) + "]," +
               pointer(room.data()) + ",[" + std::to_string(second) + "],[(nil)],[0]";
    };
    Lines dumps = {"CharCode=61 62", "TableInfo=1B 74 00 41", "ISetInfo=XX"};
    expectEntries("GetRawData", -20, getRaw(nullptr), raw(2, 4), dumps);
    expectEntries("GetRawData", -40, getRaw(&lengths[2]), raw(2, 4), dumps, raw(1, 5),
                  {"CharCode=61", dumps[1], dumps[2]});
    expectEntries("GetRawData", 0, getRaw(&lengths[2]), raw(1, 5),
                  {"CharCode=61", "TableInfo=1B 74 00 41 41", "ISetInfo=XX"}, raw(1, 5),
                  {"CharCode=41", "TableInfo=00 00 00 00 00", "ISetInfo=XX"});

    expectEntries("SetTargetCodePage", -20, RuvoSetTargetCodePage(handle, 70000), h + ",[4464]");
    expectEntries("SetEncodeType", -20, RuvoSetEncodeType(handle, -1), h + ",[-1]");
    expectEntries("CloseHandle", 0, RuvoCloseHandle(handle), h);
    EXPECT_EQ(RUVO_INVALID_HANDLE, RuvoCloseHandle(handle));
    EXPECT_EQ(expected, lines(live));
}

TEST_F(OperationLog, EveryFieldOfTheTime)
{
    open();
    clockTime = {1798761598, 999000000};
    RuvoSetEncodeType(handle, 3);
    EXPECT_EQ("[2026/12/31 23:59:58.999],[OUT],[0],[RuvoSetEncodeType]" + h + ",[3]", lastLine());
    clockWorks = false;
    RuvoCloseHandle(handle);
    EXPECT_EQ("[XXXX/XX/XX XX:XX:XX.XXX],[OUT],[0],[RuvoCloseHandle]" + h, lastLine());
}

// Long dumps through a log of one megabyte: no line is lost or cut.
TEST_F(OperationLog, RotatesBetweenTwoLines)
{
    ASSERT_GT(open(), 0);
    auto text = exactly(std::string(100003, 'A'));
    expectEntries("SetData", 0, 0, h + "," + pointer(text.data()) + ",[100003]", dump(text.size()));
    for (int call = 0; call < 7; ++call) {  // each of more than half a megabyte
        EXPECT_EQ(RUVO_OK, RuvoSetData(handle, text.data(), text.size()));
        const Lines now = lines(live);
        Lines both = lines(backup);
        EXPECT_EQ(call > 0, !both.empty());
        both.insert(both.end(), now.begin(), now.end());
        ASSERT_LE(expected.size(), both.size());
        EXPECT_TRUE(std::equal(expected.rbegin(), expected.rend(), both.rbegin()));
        EXPECT_GE(megabyte, fs::file_size(live));
        EXPECT_TRUE(call == 0 || fs::file_size(backup) + now.front().size() + 1 > megabyte);
    }
    RuvoCloseHandle(handle);
}

TEST_F(OperationLog, AFileTakesExactlyItsSize)
{
    ASSERT_GT(open(), 0);
    expectEntries("SetEncodeType", 0, 0, h + ",[3]");
    const std::uintmax_t in = expected[0].size() + 1;
    const std::uintmax_t out = expected[1].size() + 1;
    struct Row {
        std::uintmax_t room;
        std::size_t rotated;  // how many of the lines are in the backup
    };
    for (const Row& row : {Row{in + out, 2}, Row{in + out - 1, 1}, Row{in, 1}, Row{in - 1, 0},
                           Row{1, 0}, Row{0, 0}}) {
        fs::remove(backup);
        fs::resize_file(live, megabyte - row.room);
        RuvoSetEncodeType(handle, 3);
        EXPECT_EQ(row.rotated == 2, !fs::exists(backup)) << row.room;
        const Lines now = lines(live);
        if (row.rotated < 2) {
            EXPECT_EQ(Lines(expected.begin() + static_cast<long>(row.rotated), expected.end()), now)
                << row.room;
        }
    }
    RuvoCloseHandle(handle);
    EXPECT_LT(out, fs::file_size(live));
    profile.set("LogMaxSize", "2");
    open();
    expected.clear();  // the number of the handle may be longer now
    expectEntries("SetEncodeType", 0, 0, h + ",[3]");
    fs::resize_file(live, 2 * megabyte - expected[0].size() - expected[1].size() - 2);
    fs::remove(backup);
    RuvoSetEncodeType(handle, 3);
    EXPECT_EQ(2 * megabyte, fs::file_size(live));
    RuvoCloseHandle(handle);
}

// What can go wrong with the file before the open or while the handle is open. Calls give the same
// status all the same.
TEST_F(OperationLog, FailuresChangeNothing)
{
    struct Row {
        const char* name;
        void (*beforeOpen)();
        void (*whileOpen)();
        bool goesOn = false;  // the close is logged, too
    };
    const auto nothing = [] {};
    const Row rows[] = {
        {"no folder", [] { fs::remove_all("log"); }, nothing},
        {"the folder goes away", nothing, [] { fs::remove_all("log"); }},
        {"the file goes away", nothing, [] { fs::remove(live); }, true},
        {"the file is emptied", nothing, [] { fs::resize_file(live, 0); }, true},
        {"the backup is an empty folder", nothing, [] { fs::create_directory(backup); }},
        {"the backup is a pipe", nothing, [] { mkfifo(backup.c_str(), 0600); }, true},
        {"the file is a pipe that nobody reads", [] { mkfifo(live.c_str(), 0600); }, nothing},
        {"the file is a device", [] { fs::create_symlink("/dev/null", live); }, nothing},
    };
    std::string text(600000, 'a');
    std::vector<unsigned char> output(text.size() + 3);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const auto files = openFiles();
        fs::remove_all("log");
        fs::create_directory("log");
        row.beforeOpen();
        const bool logs = fs::is_directory("log") && !fs::exists(live);
        ASSERT_GT(open(), 0);
        EXPECT_EQ(files + logs, openFiles());
        row.whileOpen();
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(RUVO_OK, RuvoSetData(handle, reinterpret_cast<unsigned char*>(text.data()),
                                           text.size()));
            unsigned long length = output.size();
            EXPECT_EQ(RUVO_OK, RuvoGetOutputData(handle, output.data(), &length));
            EXPECT_EQ(text.size() + 3, length);
        }
        EXPECT_EQ(RUVO_OK, RuvoCloseHandle(handle));
        EXPECT_EQ(files, openFiles()) << "a stream stays open";
        EXPECT_EQ(row.goesOn,
                  fs::is_regular_file(live) &&
                      lastLine().find(",[OUT],[0],[RuvoCloseHandle]") != std::string::npos);
        fs::remove_all("log");
    }
}

TEST_F(OperationLog, AFailedOpenAndAnInvalidHandleLeaveNothing)
{
    profile.set("MissingCharacterCode", "31");
    EXPECT_EQ(RUVO_SETTINGS_INVALID, open());
    EXPECT_EQ(RUVO_INVALID_HANDLE, RuvoSetEncodeType(200, 0));
    EXPECT_TRUE(fs::is_empty("log"));
}

}  // namespace

// Handles: how they are numbered, opened, refused and closed.

#include "AllocationFailure.h"
#include "Bytes.h"
#include "ProfileFixture.h"
#include "converter/RuvoConverter.h"
#include "converter/handle/HandleTable.h"

#include <algorithm>
#include <climits>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

namespace fs = std::filesystem;

// While this lives, the handle table is as in a process before its first open.
class FreshHandleTable {
public:
    FreshHandleTable() : m_previous(std::exchange(ruvo::g_stHandlelinkMngInfTbl, {})) {}
    ~FreshHandleTable()
    {
        delete[] ruvo::g_stHandlelinkMngInfTbl.pstHandleLink;  // and closes what is open
        ruvo::g_stHandlelinkMngInfTbl = m_previous;
    }
    FreshHandleTable(const FreshHandleTable&) = delete;
    FreshHandleTable& operator=(const FreshHandleTable&) = delete;

    static bool hasArray() { return ruvo::g_stHandlelinkMngInfTbl.pstHandleLink != nullptr; }

private:
    ruvo::HandleLinkMngInf m_previous;
};

class Handles : public ProfileFixture {
protected:
    Handles() { m_profile.write("."); }

    // The bytes are not NUL-terminated, so that sanitizers notice when more is read.
    static short open(const std::string& device = "DEVICE", const std::string& id = noSetting)
    {
        const std::vector<unsigned char> deviceBytes(device.begin(), device.end());
        const std::vector<unsigned char> idBytes(id.begin(), id.end());
        return RuvoOpenHandle(deviceBytes.data(), deviceBytes.size(), idBytes.data(),
                              idBytes.size());
    }

    void setMaximum(int maximum, const std::string& blockMax = "255")
    {
        m_profile.set("MaximumHandle", std::to_string(maximum));
        m_profile.set("OutputBufferBlockMax", blockMax);  // read after "MaximumHandle"
        m_profile.write(".");
    }

    static void expectShown(const std::string& hex, short handle, std::string text)
    {
        std::string out(100, '\0');
        unsigned long length = out.size();
        EXPECT_EQ(0,
                  RuvoSetData(handle, reinterpret_cast<unsigned char*>(text.data()), text.size()));
        EXPECT_EQ(0,
                  RuvoGetOutputData(handle, reinterpret_cast<unsigned char*>(out.data()), &length));
        EXPECT_TRUE(sameBytes(fromHex(hex), out.substr(0, length)));
    }

    Profile m_profile = smallDisplay();

private:
    FreshHandleTable m_table;
};

TEST_F(Handles, AreHandedOutInRotation)
{
    // m3 sets "MaximumHandle" to 3 for the opens after it. b3 does so in a file with an error after
    // that key, and opens it. o1 opens and gets 1, c1 closes 1, x1 finds that 1 is no handle.
    for (const char* steps : {
             "m1 o1 o-50 c1 o1", "m2 o1 o2 o-50 c1 o1 o-50 c2 c1 o2 o1 c1 o1",
             "m3 o1 o2 c1 o3 o1 o-50", "m3 o1 c1 o2 c2 o3 c3 o1", "m254 o1 o2 c2 c1 o3 x254 x255",
             "m3 o1 o2 o3 m2 o-50 x3 c1 c2 o1 o2 o-50 m3 x3 o-50 c3 o3",  // smaller, and again
             "m3 o1 o2 m1 o-50 x2 c1 o1 m3 x2 o3 c2",  // the next slot is at the smaller number
             "m4 o1 o2 o3 m2 o-50 c1 c2 o1 o2",        // and beyond it
             "m1 o1 m5 o-50 x2 c1 o1 x2 x5",           // the array keeps its size
             "m2 o1 m9 o2 o-50 x3 c1 o1 c2 o2",
             "m3 o1 o2 b1 x2 c1 m3 o3 c2",  // counts although the open failed
         }) {
        SCOPED_TRACE(steps);
        const FreshHandleTable fresh;
        std::istringstream stream(steps);
        char step;
        for (short number; stream >> step >> number;) {
            SCOPED_TRACE(std::string(1, step) + std::to_string(number));
            if (step == 'm') {
                setMaximum(number);
            } else if (step == 'b') {
                setMaximum(number, "0");
                EXPECT_EQ(-110, open());
            } else if (step == 'o') {
                EXPECT_EQ(number, open());
            } else {
                EXPECT_EQ(step == 'c' ? 0 : -10, RuvoCloseHandle(number));
            }
        }
    }
}

TEST_F(Handles, EveryFunctionRefusesWhatIsNoHandle)
{
    unsigned long length = 7;
    const std::vector<std::function<short(short)>> functions = {
        RuvoCloseHandle,
        [](short handle) { return RuvoSetData(handle, nullptr, 0); },
        [](short handle) { return RuvoSetTargetCodePage(handle, 1); },
        [](short handle) { return RuvoSetEncodeType(handle, 4); },
        [](short handle) { return RuvoGetOutputData(handle, nullptr, nullptr); },
        [&](short handle) {
            return RuvoGetRawData(handle, nullptr, nullptr, nullptr, &length, nullptr, &length);
        }};
    const auto expectRefused = [&](std::initializer_list<int> handles) {
        for (std::size_t i = 0; i < functions.size(); ++i) {
            for (const int handle : handles) {
                EXPECT_EQ(-10, functions[i](static_cast<short>(handle))) << i << ": " << handle;
            }
        }
    };
    expectRefused({SHRT_MIN, -1, 0, 1, 2, SHRT_MAX});  // before the first open
    setMaximum(2);
    ASSERT_EQ(1, open());
    expectRefused({SHRT_MIN, -1, 0, 2, 3, 254, 255, 257, SHRT_MAX});
    ASSERT_EQ(0, RuvoCloseHandle(1));
    expectRefused({1, 2});
    EXPECT_EQ(7u, length);
}

TEST_F(Handles, ArgumentsAreCheckedBeforeAnythingIsDone)
{
    ASSERT_EQ(1, open());
    unsigned char text[] = {'A'};
    ASSERT_EQ(0, RuvoSetData(1, text, 1));
    unsigned char buffer[100];
    unsigned long room = 30;
    constexpr unsigned long negative = ~(ULONG_MAX >> 1);
    EXPECT_EQ(-20, RuvoSetData(1, nullptr, 1));
    EXPECT_EQ(-20, RuvoGetOutputData(1, buffer, nullptr));
    EXPECT_EQ(-20, RuvoGetOutputData(1, nullptr, &room));
    const auto* const name = reinterpret_cast<const unsigned char*>("DEVICE");
    EXPECT_EQ(-20, RuvoOpenHandle(nullptr, 6, name, 2));
    EXPECT_EQ(-20, RuvoOpenHandle(name, 6, nullptr, 2));
    for (const unsigned long length : {0ul, negative, ULONG_MAX}) {
        EXPECT_EQ(-20, RuvoSetData(1, buffer, length)) << length;
        EXPECT_EQ(-20, RuvoOpenHandle(name, length, name, 2)) << length;
        EXPECT_EQ(-20, RuvoOpenHandle(name, 6, name, length)) << length;
    }
    for (int i = 0; i < 3; ++i) {
        unsigned char* buffers[] = {buffer, buffer + 30, buffer + 60};
        unsigned long rooms[] = {30, 30, 30};
        unsigned long* lengths[] = {rooms, rooms + 1, rooms + 2};
        const auto get = [&] {
            return RuvoGetRawData(1, buffers[0], lengths[0], buffers[1], lengths[1], buffers[2],
                                  lengths[2]);
        };
        lengths[i] = nullptr;
        EXPECT_EQ(-20, get()) << "length " << i;
        lengths[i] = rooms + i;
        buffers[i] = nullptr;
        EXPECT_EQ(-20, get()) << "buffer " << i;
        rooms[i] = 0;
        EXPECT_EQ(i == 2 ? 0 : -40, get()) << "no room " << i;
    }

    for (const int type : {4, -1, 255, 256, SHRT_MIN, SHRT_MAX, 0, 1, 2, 3}) {
        EXPECT_EQ(type < 0 || type > 3 ? -20 : 0, RuvoSetEncodeType(1, static_cast<short>(type)));
    }
    expectShown("1B 74 00 41", 1, "A");
    for (const long page : {-1l, 437l, 850l, 866l}) {
        EXPECT_EQ(0, RuvoSetTargetCodePage(1, page)) << page;
    }
    for (const long page :
         {0l, 1l, -2l, 65535l, 65536l + 437, -65536l + 437, (1l << 32) + 437, LONG_MIN, LONG_MAX}) {
        EXPECT_EQ(-20, RuvoSetTargetCodePage(1, page)) << page;
    }
    expectShown("1B 74 11 3F", 1, "A");  // 866 is still the target
    EXPECT_EQ(2, open());
}

TEST_F(Handles, NamesKeepTheirPrintableBytes)
{
    const std::string longest(127, 'n');
    for (const std::string& name : {std::string("abc"), longest, std::string(" ~\x7F")}) {
        fs::copy_file("DEVICE", name);
    }
    struct Row {
        const char* about;
        std::string device, id;
        int status;
    };
    const std::string dropped(300, '\x80');
    for (const Row& row :
         {Row{"NUL, control and high bytes", fromHex("61 00 1F 62 09 80 FF 63 0A"), noSetting, 0},
          {"the first and the last byte that is kept", fromHex("20 1F 7E 7F 80"), noSetting, 0},
          {"127 kept of 727", dropped + longest + dropped, noSetting, 0},
          {"128 kept of 428", longest + dropped + "n", noSetting, -20},
          {"nothing kept: a directory", dropped, noSetting, -210},
          {"an ID of 127 kept", "DEVICE", dropped + longest + dropped, 0},
          {"an ID of 128 bytes", "DEVICE", longest + "n", -20}}) {
        const short handle = open(row.device, row.id);
        EXPECT_EQ(row.status, std::min<int>(handle, 0)) << row.about;
        RuvoCloseHandle(handle);
    }
}

TEST_F(Handles, AFailedOpenLeavesNothingButTheArray)
{
    setMaximum(2);
    fs::remove("DEVICE");
    EXPECT_EQ(-200, open());
    EXPECT_FALSE(FreshHandleTable::hasArray());
    setMaximum(3);
    fs::remove("table2.txt");
    EXPECT_EQ(-300, open());  // the array has 3 handles now
    setMaximum(9);
    for (const int handle : {1, 2, 3}) {
        EXPECT_EQ(handle, open());
    }
    const long before = liveAllocations();
    EXPECT_EQ(-50, open());
    EXPECT_EQ(before, liveAllocations()) << "no free slot";
    EXPECT_EQ(0, RuvoCloseHandle(2));
    EXPECT_GT(before, liveAllocations()) << "a closed handle frees what it owns";
    fs::remove("HalvoSet.txt");
    EXPECT_EQ(-100, open());
    expectShown("1B 74 00 41", 1, "A");
}

TEST_F(Handles, AnOpenWithoutMemoryFailsWhereverItRunsOut)
{
    const std::string device = "DEVICE";
    const std::string id = noSetting;
    int failures = 0;
    for (bool failed = true; failed; ++failures) {
        SCOPED_TRACE("allocation " + std::to_string(failures));
        const FreshHandleTable fresh;
        const long before = liveAllocations();
        short status;
        {
            const AllocationFailure failure(failures);
            status =
                RuvoOpenHandle(reinterpret_cast<const unsigned char*>(device.data()), device.size(),
                               reinterpret_cast<const unsigned char*>(id.data()), id.size());
            failed = failure.happened();
        }
        ASSERT_EQ(failed ? -60 : 1, status);
        if (failed) {
            EXPECT_EQ(before + FreshHandleTable::hasArray(), liveAllocations());
        } else {
            EXPECT_EQ(0, RuvoCloseHandle(1));
        }
        const short next = open();
        ASSERT_EQ(failed ? 1 : 2, next);
        expectShown("1B 74 00 41 1B 74 02 84", next, "A\xC3\xA4");
    }
    EXPECT_LT(20, failures);
}

// catches: what handles share, of settings, tables, output or state; a handle that is opened last
// and others that are fed with it
TEST_F(Handles, EachKeepsToItsProfile)
{
    constexpr int count = 60;
    const auto hex = [](int byte) { return toHex(std::string(1, static_cast<char>(byte))); };
    for (int i = 0; i < count; ++i) {
        Profile profile = smallDisplay();
        profile.set("MaximumHandle", std::to_string(count));
        profile.tables.clear();
        profile.define("table", std::to_string(255 - i) + " 437 " + hex(i) + "=0061");
        profile.define("table", std::to_string(254 - i) + " 850 84=00E4");
        profile.set("MissingCharacterCode", std::to_string(32 + i));
        profile.set("OutputBufferBlockMax", std::to_string(i + 2));
        profile.set("OutputBufferBlockSize", "5");
        profile.write(".");
        ASSERT_EQ(i + 1, open());
    }
    EXPECT_EQ(-50, open());
    std::vector<unsigned char> text(5 * (count + 1), 'a');
    for (short handle = 1; handle <= count; ++handle) {
        EXPECT_EQ(handle < count ? -510 : 0, RuvoSetData(handle, text.data(), text.size()));
    }
    for (short handle = 1; handle <= count; ++handle) {
        std::vector<unsigned char> out(text.size() + 3);
        unsigned long length = out.size();
        EXPECT_EQ(0, RuvoGetOutputData(handle, out.data(), &length));
        EXPECT_EQ(3u + 5 * (handle + 1), length);
        const int i = handle - 1;
        const std::string table = "1B 74 " + hex(255 - i) + " " + hex(i);
        expectShown(table + " 1B 74 " + hex(254 - i) + " 84", handle, "a\xC3\xA4");
        expectShown("1B 74 " + hex(254 - i) + " " + hex(32 + i), handle, "\xE2\x82\xAC");
    }
}

}  // namespace

// The files that an open reads, from tests/cases/profile_files.txt and where rows cannot say it.

#include "Bytes.h"
#include "CaseFile.h"
#include "ProfileFixture.h"
#include "ProfileText.h"
#include "converter/tables/CharacterTables.h"
#include "converter/RuvoConverter.h"
#include "converter/profile/SettingsFiles.h"
#include "converter/profile/TableFiles.h"
#include "program/check/ProfileCheck.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

class ProfileFiles : public ProfileFixture {
protected:
    ~ProfileFiles() override { close(); }

    // The status of an open; 0 for a handle. The check of the same profile must foretell it.
    int open()
    {
        close();
        m_handle = RuvoOpenHandle(bytesOf("DEVICE"), 6, bytesOf(noSetting), sizeof noSetting - 1);
        const int status = std::min<int>(m_handle, 0);
        const CheckedProfile checked = checkProfile(".", "DEVICE");
        EXPECT_EQ(status, checked.status);
        EXPECT_EQ(status != 0,
                  std::ranges::count(checked.findings, Finding::Kind::error, &Finding::kind) > 0);
        return status;
    }

    std::string shown(std::string text) const
    {
        std::string out(1000, '\0');
        unsigned long length = out.size();
        RuvoSetData(m_handle, reinterpret_cast<unsigned char*>(text.data()), text.size());
        EXPECT_EQ(
            0, RuvoGetOutputData(m_handle, reinterpret_cast<unsigned char*>(out.data()), &length));
        return out.substr(0, length);
    }

private:
    static const unsigned char* bytesOf(const char* text)
    {
        return reinterpret_cast<const unsigned char*>(text);
    }
    void close()
    {
        if (m_handle > 0)
            RuvoCloseHandle(m_handle);
        m_handle = 0;
    }

    short m_handle = 0;
};

TEST_F(ProfileFiles, Rows)
{
    for (const Case& row : readCases("profile_files.txt")) {
        SCOPED_TRACE("case " + row.name);
        ProfileText profile = ProfileText::base();
        std::string name;
        for (const CaseLine& line : row.lines) {
            SCOPED_TRACE("profile_files.txt:" + std::to_string(line.number));
            if (line.keyword == "in") {
                name = line.value;
                profile.write();
            } else if (line.keyword == "text" || line.keyword == "key") {
                const auto [expected, text] =
                    halves(line.value.substr(0, line.value.find(" => ")), " ");
                writeFile(name,
                          ProfileText::bytes(line.keyword == "key" ? profile.withKey(name, text)
                                                                   : profile.lines(text)));
                const int status = open();
                EXPECT_EQ(expected, status == 0 ? "open" : std::to_string(status));
                if (line.value.find(" => ") != std::string::npos) {
                    const auto [in, out] = halves(halves(line.value, " => ").second, " = ");
                    EXPECT_TRUE(sameBytes(fromHex(out), shown(expandText(in))));
                }
            } else {
                profile.define(line);
            }
        }
    }
}

TEST_F(ProfileFiles, EveryHeaderAndEveryKeyIsNeeded)
{
    const ProfileText profile = ProfileText::base();
    for (const auto& [name, status] :
         {std::pair("HalvoSet.txt", -110), std::pair("DEVICE", -210)}) {
        profile.write();
        const Lines& lines = profile.file(name);
        for (std::size_t i = 0; i < lines.size(); ++i) {
            Lines without = lines;
            without.erase(without.begin() + static_cast<std::ptrdiff_t>(i));
            writeFile(name, ProfileText::bytes(without));
            EXPECT_EQ(status, open()) << name << " without " << lines[i];
        }
    }
}

TEST_F(ProfileFiles, AFileMissingNotRegularOrUnreadable)
{
    struct Row {
        const char* name;
        int missing, empty, unreadable;
    };
    for (const Row& row : {Row{"HalvoSet.txt", -100, -110, -30}, Row{"DEVICE", -200, -210, -30},
                           Row{"one.txt", -300, 0, -30}, Row{"two.txt", -300, 0, -30},
                           Row{"three.txt", -310, 0, -30}, Row{"four.txt", -310, 0, -30},
                           Row{"UnicodeData.txt", -320, 0, -30}}) {
        SCOPED_TRACE(row.name);
        fs::remove(row.name);
        ProfileText::base().write();
        fs::remove(row.name);
        EXPECT_EQ(row.missing, open());
        fs::create_directory(row.name);
        EXPECT_EQ(row.empty, open());
        fs::remove(row.name);
        ASSERT_EQ(0, mkfifo(row.name, 0600));
        EXPECT_EQ(row.empty, open()) << "a pipe";
        fs::remove(row.name);
        fs::create_symlink("/dev/zero", row.name);
        EXPECT_EQ(row.empty, open()) << "an endless file";
        fs::remove(row.name);
        fs::create_symlink(row.name, row.name);  // a circle: not even root can open it
        EXPECT_EQ(row.unreadable, open());
        fs::remove(row.name);
    }
}

TEST_F(ProfileFiles, AFileHolds256DataLinesAtMost)
{
    const ProfileText profile = ProfileText::base();
    for (const auto& [name, line, status] :
         {std::tuple("one.txt", "0x41^0x0041^#", -330), std::tuple("two.txt", "0x80^ ^#", -330),
          std::tuple("four.txt", "0x5C^0x00A5^#", -340)}) {
        SCOPED_TRACE(name);
        profile.write();
        Lines lines = {"# a comment", "{0A}~"};
        lines.insert(lines.end(), 256, line);
        writeFile(name, ProfileText::bytes(lines));
        EXPECT_EQ(0, open());
        lines.push_back(line);
        writeFile(name, ProfileText::bytes(lines));
        EXPECT_EQ(status, open());
    }
}

TEST_F(ProfileFiles, ThereAre256TablesAndSetsAtMost)
{
    ProfileText profile = ProfileText::base();
    Lines device =
        profile.lines("[Common] | MappingTableNumber=256 | InternalCharacterSetNumber=256 "
                      "| ICSCommandDefault=7 | @sizes");
    for (const auto& [section, keys] :
         {std::pair("Table", "CodePage=437 | TableFileName=two.txt | TableCommandParam="),
          std::pair("ICS", "ICSFileName=three.txt | ICSCommandParam=")}) {
        for (int n = 1; n <= 257; ++n) {
            device.push_back("[" + std::string(section) + std::to_string(n) + "]");
            const Lines lines = profile.lines(keys + std::to_string((256 - n) & 0xFF));
            device.insert(device.end(), lines.begin(), lines.end());
        }
    }
    profile.write();
    writeFile("DEVICE", ProfileText::bytes(device));
    ASSERT_EQ(0, open());
    EXPECT_TRUE(sameBytes(fromHex("1B 74 00 84"), shown("\xC3\xA4"))) << "Table256 has parameter 0";
}

TEST_F(ProfileFiles, ValuesGoToTheirPlaces)
{
    ProfileText profile = ProfileText::base();
    profile.write();
    fs::create_directory("module");
    writeFile(
        "module/HalvoSet.txt",
        ProfileText::bytes(profile.lines(
            "[Settings] | EncodeTypeDefault=2 | MissingCharacterCode=254 | DeviceInfoPath=./. "
            "| MaximumHandle=33 | OutputBufferBlockSize=70000 | OutputBufferBlockMax=253 "
            "| [LOG] | LogFilePath=log | LogMaxSize=9")));
    ruvo::HandleSettings settings;
    ruvo::DeviceInfo device;
    ASSERT_EQ(0, ruvo::readSettingsFile("module/", settings));
    ASSERT_EQ(0, ruvo::readDeviceInfoFile("DEVICE", settings, device));
    EXPECT_EQ(2, settings.sEncodeType);
    EXPECT_EQ(254, settings.ucMissingCharacterCode);
    EXPECT_EQ("././", settings.szDeviceInfoPath);
    EXPECT_EQ(33, settings.sMaximumHandle);
    EXPECT_EQ(70000u, settings.ulOutputBufferBlockSize);
    EXPECT_EQ(253, settings.ucOutputBufferBlockMax);
    EXPECT_EQ("log/", settings.szLogFilePath);
    EXPECT_EQ(9, settings.ucLogMaxSize);
    EXPECT_EQ(2, settings.sMappingTableNumber);
    EXPECT_EQ(2, device.sInternalCharacterSetNumber);
    EXPECT_EQ(7, settings.ucICSCommandDefault);
    EXPECT_EQ(100u, settings.ulDecompositionClassNumber);
    EXPECT_EQ(2, settings.ucGeneralCategorySize);
    EXPECT_EQ(3, settings.ucCanonicalCombiningClassSize);
    EXPECT_EQ(4, settings.ucBidiClassSize);
    EXPECT_EQ(2, settings.ucDecompositionMappingSize);
    EXPECT_EQ(850, device.astTable[1].sCodePage);
    EXPECT_EQ("two.txt", device.astTable[1].szTableFileName);
    EXPECT_EQ(5, device.astICS[1].ucICSCommandParam);
    EXPECT_EQ("four.txt", device.astICS[1].szICSFileName);
    EXPECT_EQ(-30, ruvo::readSettingsFile("DEVICE/", settings));
}

TEST_F(ProfileFiles, TheIDFileNamesTheModulePath)
{
    using namespace std::string_literals;
    fs::create_directories("root/DIRECTORY.txt");
    const std::pair<std::string, std::string> rows[] = {
        {"ModulePath=/opt/x\r\n", "/opt/x/"},
        {"ModulePath=/opt/x\n", "/opt//"},
        {"ModulePath=/opt/x", "/opt/"},
        {"\r\nModulePath=/opt/xyz", "/opt/x/"},
        {"ModulePath and more =/opt/x\r\n", "/opt/x/"},
        {"ModulePath= =/x\r\n", " =/x/"},
        {"ModulePath=/a\r\nModulePath=/b\r\n", "/a/"},
        {";ModulePath=/a\r\n\r\n\nFoo=1\r\n ModulePath=/c\r\nmodulepath=/d\r\nModulePath=/e\r\n",
         "/e/"},
        {"ModulePath=/abc\0/def\r\n"s, "/a/"},
        {std::string(1023, 'x') + "ModulePath=/z\r\n", "/z/"},
        {"", "none"},
        {"ModulePath\r\n", "none"},
        {"ModulePath=\r\nModulePath=/b\r\n", "none"},
        {"ModulePath=ab", "none"},
        {"ModulePath=a", "none"},
    };
    std::string path;
    for (const auto& [text, expected] : rows) {
        writeFile("root/NAME.txt", text);
        const int status = ruvo::Lutm_ModuleFileFullPath("root/", "NAME", path);
        EXPECT_EQ(expected, status == 0 ? path : "none") << text;
    }
    for (const char* id : {"MISSING", "DIRECTORY", "NAME.txt/x", ""})
        EXPECT_EQ(-1, ruvo::Lutm_ModuleFileFullPath("root/", id, path)) << id;
}

// ---- the order of equal keys

struct Entry {
    long key;
    std::size_t number;
    bool operator==(const Entry&) const = default;
};

// The procedure a second time, one step a line.
void sortStepByStep(std::vector<Entry>& list, std::size_t first, std::size_t last)
{
    for (;;) {
        const long pivot = list[(first + last) / 2].key;
        std::size_t i = first;
        std::size_t j = last;
        while (true) {
            if (!(list[i].key < pivot)) {
                while (list[j].key > pivot)
                    j = j - 1;
                if (j <= i)
                    break;
                std::swap(list[i], list[j]);
                j = j - 1;
            }
            i = i + 1;
        }
        if (i > first && i - 1 > first)
            sortStepByStep(list, first, i - 1);
        first = j + 1;
        if (!(first < last))
            break;
    }
}

// Sorts the same list by the procedure, as table entries and as decomposition rows.
void expectTheSameOrder(const std::vector<long>& keys)
{
    std::vector<Entry> expected;
    std::vector<ruvo::MapEntry> entries;
    ruvo::DecompositionTable rows;
    for (const long key : keys) {
        const std::size_t number = expected.size();
        const auto codePoint = static_cast<std::uint32_t>(key);
        expected.push_back({key, number});
        entries.push_back(
            {codePoint, static_cast<std::uint8_t>(number), static_cast<std::uint8_t>(number >> 8)});
        rows.append(static_cast<std::uint32_t>(number), {{codePoint}});
    }
    if (!keys.empty())
        sortStepByStep(expected, 0, keys.size() - 1);
    ruvo::Lutm_UnicodeQuickSort(entries);
    rows.finish(1);
    std::vector<Entry> ofTables;
    for (const ruvo::MapEntry& entry : entries)
        ofTables.push_back({entry.ulCodePoint, entry.ucCode + entry.ucParam * std::size_t{256}});
    std::vector<Entry> ofRows;
    for (const long key : std::set(keys.begin(), keys.end())) {
        for (const ruvo::DecompEntry& row : rows.startingWith(static_cast<std::uint32_t>(key)))
            ofRows.push_back({row.firstComponent, row.composed});
    }
    EXPECT_TRUE(expected == ofTables && expected == ofRows)
        << "  " << keys.size() << " entries: " << testing::PrintToString(keys);
}

TEST(SortOrder, EqualKeysComeOutAsTheProcedureGivesThem)
{
    std::mt19937 random(1);  // the same numbers on every machine
    for (std::size_t size = 0; size <= 64; ++size) {
        for (const unsigned long range : {1ul, 2ul, 3ul, 8ul, 0xFFFFFFul}) {
            std::vector<long> keys(size);
            std::ranges::generate(keys, [&] { return static_cast<long>(random() % range); });
            expectTheSameOrder(keys);
        }
        std::vector<long> pipe(size);
        for (std::size_t i = 0; i < size; ++i)
            pipe[i] = static_cast<long>(std::min(i, size - 1 - i));
        expectTheSameOrder(pipe);
        std::ranges::transform(pipe, pipe.begin(), [](long key) { return 64 - key; });
        expectTheSameOrder(pipe);
    }
    std::vector<long> keys(5000);
    for (const unsigned long range : {7ul, 1000ul, 0x110000ul}) {
        std::ranges::generate(keys, [&] { return static_cast<long>(random() % range); });
        expectTheSameOrder(keys);
        std::ranges::sort(keys);
        expectTheSameOrder(keys);
    }
}

}  // namespace

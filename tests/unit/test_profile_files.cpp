// The files that an open reads, from tests/cases/profile_files.txt and where rows cannot say it.

#include "AllocationFailure.h"
#include "Bytes.h"
#include "CaseFile.h"
#include "ConverterHandle.h"
#include "ProfileFixture.h"
#include "ProfileText.h"
#include "converter/RuvoConverter.h"
#include "converter/profile/SettingsFiles.h"
#include "converter/tables/QuickSort.h"
#include "program/check/ProfileCheck.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

int inheritedFiles = 0;

}  // namespace

// The library must open every file so that a program which the caller starts at that moment does
// not inherit it.
extern "C" int fstat(int file, struct stat* properties) noexcept
{
    inheritedFiles += (fcntl(file, F_GETFD) & FD_CLOEXEC) == 0;
    return fstatat(file, "", properties, AT_EMPTY_PATH);
}

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

class ProfileFiles : public ProfileFixture {
protected:
    // The status of an open; 0 for a handle. The check of the same profile must give the same.
    int open()
    {
        m_handle.reset();
        m_handle = std::make_unique<ConverterHandle>();
        const int status = std::min<int>(*m_handle, 0);
        const CheckedProfile checked = checkProfile(".", "DEVICE");
        EXPECT_EQ(status, checked.status);
        EXPECT_EQ(status != 0,
                  std::ranges::count(checked.findings, Finding::Kind::error, &Finding::kind) > 0);
        return status;
    }
    int openWith(const std::string& name, const Lines& lines)
    {
        writeFile(name, ProfileText::bytes(lines));
        return open();
    }

    std::string shown(std::string text) const
    {
        m_handle->setData(text);
        return m_handle->output();
    }

private:
    std::unique_ptr<ConverterHandle> m_handle;
};

TEST_F(ProfileFiles, Rows)
{
    for (const Case& row : readCases("profile_files.txt")) {
        ProfileText profile = ProfileText::base();
        std::string name;
        for (const CaseLine& line : row.lines) {
            SCOPED_TRACE("profile_files.txt:" + std::to_string(line.number) + ": " + row.name);
            if (line.keyword == "in") {
                name = line.value;
                profile.write();
            } else if (line.keyword == "range" || line.keyword == "text" || line.keyword == "key") {
                const std::size_t arrow = std::min(line.value.find(" => "), line.value.size());
                const auto [status, texts] = halves(line.value.substr(0, arrow), " ");
                for (std::string text, rest = texts + " || "; !rest.empty();) {
                    std::tie(text, rest) = halves(rest, " || ");
                    const int expected = status == "open" ? 0 : std::stoi(status);
                    SCOPED_TRACE(text);
                    if (line.keyword == "range") {
                        const auto [key, bounds] = halves(text, "=");
                        const long least = std::stol(bounds);
                        const long most = std::stol(halves(bounds, "..").second);
                        for (const long value : {least - 1, least, most, most + 1}) {
                            EXPECT_EQ(value < least || value > most ? expected : 0,
                                      openWith(name, profile.withKey(
                                                         name, key + "=" + std::to_string(value))))
                                << value;
                        }
                        continue;
                    }
                    EXPECT_EQ(expected,
                              openWith(name, line.keyword == "key" ? profile.withKey(name, text)
                                                                   : profile.lines(text)));
                    if (arrow < line.value.size()) {
                        const auto [in, out] = halves(line.value.substr(arrow + 4), " = ");
                        EXPECT_TRUE(sameBytes(fromHex(out), shown(expandText(in))));
                    }
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
            EXPECT_EQ(status, openWith(name, without)) << name << " without " << lines[i];
        }
    }
}

TEST_F(ProfileFiles, AFileMissingNotRegularOrUnreadable)
{
    struct Row {
        const char* name;
        int missing, empty;
    };
    for (const Row& row :
         {Row{"HalvoSet.txt", -100, -110}, Row{"DEVICE", -200, -210}, Row{"one.txt", -300, 0},
          Row{"two.txt", -300, 0}, Row{"three.txt", -310, 0}, Row{"four.txt", -310, 0},
          Row{"UnicodeData.txt", -320, 0}}) {
        SCOPED_TRACE(row.name);
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
        EXPECT_EQ(-30, open());
        fs::remove(row.name);
    }
}

TEST_F(ProfileFiles, NoFileIsInherited)
{
    ProfileText profile = ProfileText::base();
    profile.write();
    inheritedFiles = 0;
    EXPECT_EQ(0, openWith("HalvoSet.txt", profile.withKey("HalvoSet.txt", "LogFilePath=.")));
    EXPECT_EQ(0, inheritedFiles);
}

// catches: what an open allocates kept by one that fails, or by the handle that is closed
TEST_F(ProfileFiles, AFileCutAnywhereIsInvalidOrShorter)
{
    struct Row {
        const char* name;
        int cut;                  // status at the end of each line but the last
        std::vector<int> inLine;  // and others, where a line is cut
    };
    const ProfileText profile = ProfileText::base();
    profile.write();
    const ConverterHandle warmUp;  // the first open of a process makes an array that stays
    const std::ptrdiff_t files = openFiles();
    for (const Row& row :
         {Row{"HalvoSet.txt", RUVO_SETTINGS_INVALID, {RUVO_OK, RUVO_DEVICE_INFO_MISSING}},
          Row{"DEVICE", RUVO_DEVICE_INFO_INVALID, {RUVO_OK, RUVO_TABLE_MISSING, RUVO_ICS_MISSING}},
          Row{"two.txt", RUVO_OK, {RUVO_TABLE_INVALID}},
          Row{"three.txt", RUVO_OK, {RUVO_ICS_INVALID}}, Row{"UnicodeData.txt", RUVO_OK, {}}}) {
        const std::string text = ProfileText::bytes(profile.file(row.name));
        for (std::size_t length = 0; length < text.size(); ++length) {
            for (const bool nul : {false, true}) {
                // The file ends there, or a NUL byte ends the line.
                writeFile(row.name,
                          text.substr(0, length) + (nul ? '\0' + text.substr(length + 1) : ""));
                const long before = liveAllocations();
                const int status = std::min<int>(ConverterHandle(), 0);
                EXPECT_EQ(before, liveAllocations());
                const bool lineEnds = !nul && (length == 0 || text[length - 1] == '\n');
                EXPECT_TRUE(status == row.cut ||
                            (!lineEnds && std::ranges::count(row.inLine, status) == 1))
                    << row.name << " cut to " << length << ": " << status;
            }
        }
        writeFile(row.name, text);
    }
    EXPECT_EQ(files, openFiles());
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
        EXPECT_EQ(0, openWith(name, lines));
        lines.push_back(line);
        EXPECT_EQ(status, openWith(name, lines));
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
    ASSERT_EQ(0, openWith("DEVICE", device));
    EXPECT_TRUE(sameBytes(fromHex("1B 74 00 84"), shown("\xC3\xA4"))) << "Table256 has parameter 0";
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
    for (const auto& [text, expected] : rows) {
        writeFile("root/NAME.txt", text);
        std::string path = "none";
        const int status = ruvo::Lutm_ModuleFileFullPath("root/", "NAME", path);
        EXPECT_EQ(expected == "none" ? -1 : 0, status) << text;
        EXPECT_EQ(expected, path) << text;
    }
    for (const char* id : {"MISSING", "DIRECTORY", "NAME.txt/x", ""}) {
        std::string path;
        EXPECT_EQ(-1, ruvo::Lutm_ModuleFileFullPath("root/", id, path)) << id;
    }
}

// ---- the order of equal keys

using Entry = std::pair<long, int>;  // key and number

// The sorting procedure once more, one step on each line.
void sortStepByStep(std::vector<Entry>& list, std::size_t first, std::size_t last)
{
    const long pivot = list[(first + last) / 2].first;
    std::size_t i = first;
    std::size_t j = last;
    for (;; ++i) {
        while (list[i].first < pivot) {
            ++i;
        }
        while (list[j].first > pivot) {
            --j;
        }
        if (j <= i) {
            break;
        }
        std::swap(list[i], list[j--]);
    }
    if (i > first + 1) {
        sortStepByStep(list, first, i - 1);
    }
    if (j + 1 < last) {
        sortStepByStep(list, j + 1, last);
    }
}

// catches: any other choice among equal keys, such as that of a stable sort
TEST(SortOrder, EqualKeysComeOutAsTheProcedureGivesThem)
{
    std::mt19937 random(1);  // the same numbers on every machine
    for (std::size_t size = 1; size <= 200; ++size) {
        for (const unsigned long range : {1ul, 2ul, 3ul, 8ul, 0xFFFFFFul}) {
            std::vector<Entry> expected;
            while (expected.size() < size) {
                expected.push_back({random() % range, static_cast<int>(expected.size())});
            }
            std::vector<Entry> sorted = expected;
            sortStepByStep(expected, 0, size - 1);
            ruvo::Lutm_BrkClsQuickSort(std::span(sorted), 0, size - 1,
                                       [](const Entry& entry) { return entry.first; });
            EXPECT_EQ(expected, sorted);
        }
    }
}

}  // namespace

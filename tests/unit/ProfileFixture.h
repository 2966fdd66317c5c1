// Converter profiles made on disk for tests.
#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// The files of one profile. Its members may be changed freely, even into something invalid. write
// adds the section headers, the numbers of tables and sets, and database lines for all characters
// of tables and sets that have none.
struct Profile {
    using Lines = std::vector<std::string>;
    using Keys = std::map<std::string, std::string>;

    struct Table {
        int commandParam;
        int codePage;  // none for a set
        Lines lines;
    };

    // HalvoSet.txt. The log directory does not exist, so nothing is logged.
    Keys settings = {{"EncodeTypeDefault", "3"},        {"MissingCharacterCode", "63"},
                     {"DeviceInfoPath", "."},           {"MaximumHandle", "32"},
                     {"OutputBufferBlockSize", "4096"}, {"OutputBufferBlockMax", "255"}};
    Keys log = {{"LogFilePath", "no-log"}, {"LogMaxSize", "1"}};

    // The device information file.
    std::string deviceName = "DEVICE";
    Keys common = {{"ICSCommandDefault", "0"},   {"DecompositionClassNumber", "100"},
                   {"GeneralCategorySize", "2"}, {"CanonicalCombiningClassSize", "3"},
                   {"BidiClassSize", "3"},       {"DecompositionMappingSize", "2"}};

    std::vector<Table> tables;  // table1.txt, table2.txt ...
    std::vector<Table> sets;    // set1.txt ...
    Lines database;             // UnicodeData.txt

    // Changes the value of a key, in whichever list has it. Throws std::out_of_range if none has.
    void set(const std::string& name, const std::string& value);

    // Takes a line "key", "table", "set" or "char" of the form that tests/cases/conversion.txt
    // describes. False for any other keyword.
    bool define(const std::string& keyword, const std::string& value);

    // Writes every file of the profile.
    void write(const std::filesystem::path& directory) const;

    // A line of the database.
    static std::string character(char32_t codePoint, const std::string& category = "Lo",
                                 const std::string& combiningClass = "0",
                                 const std::string& decomposition = "");
};

// A display with three tables (0: ASCII, 2: U+00E4 and U+00E9, 17: U+0436), one internal set (3:
// U+00A5) and the marks that compose to U+00E4 and U+00E9. No character is in two of them.
Profile smallDisplay();

// Tables of many characters, alone and shared, sets, marks that compose and marks that do not.
Profile mixedDisplay(int blockSize);

// A new directory that is the current one while this lives.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

private:
    std::filesystem::path previous_;
    std::filesystem::path directory_;
};

// Each test runs in a temporary directory of its own.
class ProfileFixture : public testing::Test {
protected:
    // The ID of a file that does not exist: settings come from the current directory.
    static constexpr char noSetting[] = "KESTRIX-TEST-NO-SUCH-ID";

    static std::ptrdiff_t openFiles();

private:
    TemporaryDirectory directory_;
};

// Profiles whose files are cut or change, and texts for which there is no memory.

#include "AllocationFailure.h"
#include "Bytes.h"
#include "ConverterHandle.h"
#include "ProfileFixture.h"
#include "converter/RuvoConverter.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::string textOf(const std::string& name)
{
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class DamagedProfiles : public ProfileFixture {
protected:
    DamagedProfiles() { smallDisplay().write("."); }
};

TEST_F(DamagedProfiles, AFileCutAnywhereIsInvalidOrShorter)
{
    struct Row {
        const char* name;
        int cut;                  // status behind each line but the last
        std::vector<int> inLine;  // and others, where a line is cut
    };
    for (const Row& row :
         {Row{"HalvoSet.txt", RUVO_SETTINGS_INVALID, {RUVO_OK, RUVO_DEVICE_INFO_MISSING}},
          Row{"DEVICE", RUVO_DEVICE_INFO_INVALID, {RUVO_OK, RUVO_TABLE_MISSING, RUVO_ICS_MISSING}},
          Row{"latin.txt", RUVO_OK, {RUVO_TABLE_INVALID}},
          Row{"national.txt", RUVO_OK, {RUVO_ICS_INVALID}}, Row{"UnicodeData.txt", RUVO_OK, {}}}) {
        const std::string text = textOf(row.name);
        for (std::size_t length = 0; length < text.size(); ++length) {
            for (const bool nul : {false, true}) {
                std::string cut = text.substr(0, length);
                if (nul)  // the rest is there, but a NUL byte ends its line
                    cut += '\0' + text.substr(length + 1);
                std::ofstream(row.name, std::ios::binary) << cut;
                const int status = std::min<int>(ConverterHandle(), 0);
                const bool behindLine = !nul && (length == 0 || text[length - 1] == '\n');
                EXPECT_TRUE(status == row.cut ||
                            (!behindLine && std::ranges::count(row.inLine, status) == 1))
                    << row.name << " cut to " << length << ": " << status;
            }
        }
        std::ofstream(row.name, std::ios::binary) << text;
    }
}

TEST_F(DamagedProfiles, AnOpenHandleNeedsItsFilesNoMore)
{
    const ConverterHandle handle;
    ASSERT_GT(handle, 0);
    for (const auto& entry : fs::directory_iterator("."))
        std::ofstream(entry.path(), std::ios::binary) << "0x41\t0x0042\t#\r\n";
    EXPECT_EQ(RUVO_SETTINGS_INVALID, ConverterHandle());
    for (const auto& entry : fs::directory_iterator("."))
        fs::remove(entry);
    std::string text = "a\xC3\xA4";
    EXPECT_EQ(RUVO_OK, handle.setData(text));
    EXPECT_TRUE(sameBytes(fromHex("1B 74 00 61 1B 74 02 84"), handle.output()));
}

TEST_F(DamagedProfiles, ATextWithoutMemoryLeavesTheHandleUsable)
{
    int failures = 0;
    for (bool failed = true; failed; ++failures) {
        SCOPED_TRACE("allocation " + std::to_string(failures));
        const long before = liveAllocations();
        {
            const ConverterHandle handle;
            // Composed and not, of every table and set, with more switches than are kept ready.
            std::string text;
            for (int i = 0; i < 200; ++i)
                text += "a\xCC\x88 a\xCC\x81\xCC\x88\xD0\xB6\xC2\xA5";
            short status;
            {
                const AllocationFailure failure(failures);
                status = handle.setData(text);
                failed = failure.happened();
            }
            EXPECT_EQ(failed ? RUVO_OUT_OF_MEMORY : RUVO_OK, status);
            handle.output();
            text = "A";
            EXPECT_EQ(RUVO_OK, handle.setData(text));
            EXPECT_EQ('A', handle.output().back());
        }
        EXPECT_EQ(before, liveAllocations());
    }
    EXPECT_LT(5, failures);
}

}  // namespace

#include "FuzzTarget.h"

#include "../unit/Bytes.h"
#include "../unit/ConverterHandle.h"
#include "../unit/ProfileFixture.h"
#include "converter/RuvoConverter.h"

#include <algorithm>
#include <fstream>

#include <libxml/xmlerror.h>

static void ignoreReport(void*, const char*, ...) {}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    testing::InitGoogleTest(argc, *argv);
    GTEST_FLAG_SET(throw_on_failure, true);
    xmlSetGenericErrorFunc(nullptr, ignoreReport);
    static const TemporaryDirectory directory;
    smallDisplay().write(".");
    // The first open of a process decides how many handles there are.
    EXPECT_EQ(1, ConverterHandle());
    writeProfile();
    return 0;
}

void writeFile(const std::string& name, std::string_view text)
{
    std::ofstream file(name, std::ios::binary);
    file << text;
    EXPECT_TRUE(file.flush()) << name;
}

std::uint8_t InputReader::byte()
{
    return static_cast<std::uint8_t>(*bytes(1).c_str());
}

std::uint32_t InputReader::number()
{
    std::uint32_t value = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        value |= static_cast<std::uint32_t>(byte()) << shift;
    }
    return value;
}

std::string InputReader::bytes(std::size_t count)
{
    const std::string front(rest_.substr(0, count));
    rest_.remove_prefix(front.size());
    return front;
}

std::string InputReader::upTo(char separator)
{
    const std::string front(rest_.substr(0, rest_.find(separator)));
    rest_.remove_prefix(std::min(front.size() + 1, rest_.size()));
    return front;
}

void checkProfile(const std::u32string& text, std::size_t blockSize)
{
    const ConverterHandle first;
    if (first < 0) {
        EXPECT_TRUE(first == RUVO_FILE_NOT_OPENED ||
                    (first <= RUVO_SETTINGS_MISSING && first >= RUVO_ICS_INVALID))
            << "status " << first;
        return;
    }
    const ConverterHandle second;
    if (second == RUVO_NO_FREE_HANDLE) {  // "MaximumHandle" is 1
        return;
    }
    EXPECT_EQ(RUVO_OK, RuvoSetEncodeType(first, RUVO_UTF8));
    EXPECT_EQ(RUVO_OK, RuvoSetEncodeType(second, RUVO_UTF16_BIG_ENDIAN));
    std::string narrow = utf8(text);
    std::string wide = utf16BigEndian(text);
    EXPECT_EQ(first.setData(narrow), second.setData(wide));
    EXPECT_TRUE(sameBytes(mergedSlowly(second.raw(), blockSize), first.output()));
}

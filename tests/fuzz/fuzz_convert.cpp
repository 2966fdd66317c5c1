// The input is a sequence of calls to two handles. One gets texts in UTF-8 and gives merged output,
// the other gets the same texts in UTF-16 and gives raw output.

#include "../unit/Bytes.h"
#include "../unit/ConverterHandle.h"
#include "../unit/ProfileFixture.h"
#include "FuzzTarget.h"
#include "converter/RuvoConverter.h"

#include <array>
#include <memory>

namespace {

constexpr std::size_t blockSizes[] = {5, 7, 64, 4096};

struct Pair {
    ConverterHandle first;
    ConverterHandle second;
    std::size_t blockSize = 0;
    short type = RUVO_UTF8;  // of both handles, except while a text is handed in

    void feed(std::string firstText, std::string secondText) const
    {
        EXPECT_EQ(first.setData(firstText), second.setData(secondText));
    }

    void setTypes(short firstType, short secondType) const
    {
        EXPECT_EQ(RuvoSetEncodeType(first, firstType), RuvoSetEncodeType(second, secondType));
    }

    void setPage(long page) const
    {
        EXPECT_EQ(RuvoSetTargetCodePage(first, page), RuvoSetTargetCodePage(second, page));
    }
};

std::array<std::unique_ptr<Pair>, std::size(blockSizes)> pairs;

void feedBytes(Pair& pair, InputReader& input)
{
    const std::string text = input.bytes(input.byte());
    pair.feed(text, text);
}

// One byte for each character: ASCII, those of the profile, or any code point by its number.
void feedText(Pair& pair, InputReader& input)
{
    static constexpr std::u32string_view listed =
        U"\u00A5\u00E1\u00E9\u0101\u0300\u0301\u0323\u20AC\u3041\u3042\u30FF\U00010400\U0001041F";
    std::u32string text;
    for (int count = input.byte(); count > 0; --count) {
        char32_t character = input.byte();
        if (character >= 0x80 + listed.size()) {
            character = input.number() % 0x110000;
        } else if (character >= 0x80) {
            character = listed[character - 0x80];
        }
        text += character >= 0xD800 && character <= 0xDFFF ? U'?' : character;
    }
    const bool bigEndian = text.size() % 2 == 0;
    pair.setTypes(RUVO_UTF8, bigEndian ? RUVO_UTF16_BIG_ENDIAN : RUVO_UTF16_LITTLE_ENDIAN);
    pair.feed(utf8(text), bigEndian ? utf16BigEndian(text) : utf16LittleEndian(text));
    pair.setTypes(pair.type, pair.type);
}

void setType(Pair& pair, InputReader& input)
{
    const auto type = static_cast<short>(input.byte() - 1);
    pair.setTypes(type, type);
    pair.type = type >= 0 && type <= 3 ? type : pair.type;
}

void setPage(Pair& pair, InputReader& input)
{
    static constexpr long pages[] = {-1, 437, 850, 932};
    const std::size_t row = input.byte();
    pair.setPage(row < std::size(pages) ? pages[row] : static_cast<long>(input.number()));
}

void retrieve(Pair& pair, InputReader&)
{
    EXPECT_TRUE(sameBytes(mergedSlowly(pair.second.raw(), pair.blockSize), pair.first.output()));
}

constexpr void (*calls[])(Pair&, InputReader&) = {feedBytes, feedText, setType, setPage, retrieve};

}  // namespace

void writeProfile()
{
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        mixedDisplay(static_cast<int>(blockSizes[i])).write(".");
        pairs[i] = std::make_unique<Pair>();
        pairs[i]->blockSize = blockSizes[i];
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    InputReader input(data, size);
    Pair& pair = *pairs[input.byte() % pairs.size()];
    // Make table 0 the current one before every input.
    pair.type = RUVO_UTF8;
    pair.setTypes(RUVO_UTF8, RUVO_UTF8);
    pair.setPage(437);
    pair.feed("A", "A");
    retrieve(pair, input);
    pair.setPage(-1);
    while (!input.atEnd()) {
        calls[input.byte() % std::size(calls)](pair, input);
    }
    retrieve(pair, input);
    return 0;
}

// The input is three table files, a character set file and the database, with "~" between two.

#include "../unit/ProfileFixture.h"
#include "FuzzTarget.h"

void writeProfile()
{
    Profile profile = smallDisplay();
    profile.set("DecompositionMappingSize", "3");
    profile.set("DecompositionClassNumber", "20");
    profile.write(".");
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    InputReader input(data, size);
    for (const char* const name :
         {"table1.txt", "table2.txt", "table3.txt", "set1.txt", "UnicodeData.txt"}) {
        writeFile(name, input.upTo('~'));
    }
    // The characters of the seed inputs, with marks and without.
    std::u32string text;
    for (const char32_t character :
         std::u32string_view(U" AaBe\u00A5\u00E4\u0436\u3042\U00010400")) {
        text += {character, U'\u0301', character, character, U'\u0308', U'\u0323'};
    }
    checkProfile(text, smallDisplayBlockSize);
    return 0;
}

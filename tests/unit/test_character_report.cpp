// How characters go out, with the default profile.
#include "converter/RuvoConverter.h"
#include "program/profile/CharacterReport.h"
#include "program/stream/Rendering.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

// catches: a code read from another character's record, the table in force forgotten, a mark that
// composed reported by itself, a missing character taken for a question mark
TEST(CharacterReport, SaysWhatIsSent)
{
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(KESTRIX_PROFILE_DIR);
    const unsigned char device[] = "default", id[] = "none-such";
    const short handle = RuvoOpenHandle(device, sizeof device, id, sizeof id);
    const ProfileTables tables(ProfileOptions{"default", "none-such"});
    std::filesystem::current_path(before);
    ASSERT_GT(handle, 0);

    EXPECT_EQ(
        "U+0065 + U+0301  e\u0301  LATIN SMALL LETTER E + COMBINING ACUTE ACCENT: composed to "
        "U+00E9 "
        "LATIN SMALL LETTER E WITH ACUTE, 82 in table 0 (code page 437)\n"
        "U+20AC  €  EURO SIGN: 80 in table 16 (code page 1252)\n"
        "U+003F  ?  QUESTION MARK: 3F in table 16 (code page 1252)\n"
        "U+4E2D  中  CJK UNIFIED IDEOGRAPH-4E2D: missing character, 3F in table 16 (code page "
        "1252)\n"
        "U+20A9  ₩  WON SIGN: 5C in set 13 (korea.txt)\n"
        "U+0062  b  LATIN SMALL LETTER B: 62 in table 16 (code page 1252)\n"
        "U+0301  \u25CC\u0301  COMBINING ACUTE ACCENT: spacing form U+00B4 ACUTE ACCENT, B4 in "
        "table 16 (code page 1252)\n"
        "no UTF-8    malformed text: missing character, 3F in table 16 (code page 1252)\n",
        reportCharacters("e\u0301€?中₩b\u0301\xFF", handle, tables));
    EXPECT_EQ("", reportCharacters("", handle, tables));
    EXPECT_EQ(RUVO_OK, RuvoCloseHandle(handle));
}

}  // namespace

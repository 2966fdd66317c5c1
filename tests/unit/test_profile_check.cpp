// What the check of a profile says, from tests/cases/profile_check.txt, and that it agrees with an
// open, whatever the files are.

#include "CaseFile.h"
#include "ProfileFixture.h"
#include "ProfileText.h"
#include "converter/RuvoConverter.h"
#include "program/check/ProfileCheck.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

using ProfileCheck = ProfileFixture;

std::string said()
{
    std::string text;
    for (const Finding& finding : checkProfile(".", "DEVICE").findings) {
        if (finding.kind != Finding::Kind::note || !finding.place.path.ends_with("HalvoSet.txt")) {
            text += compilerLine(finding) + "\n";
        }
    }
    return text;
}

TEST_F(ProfileCheck, Rows)
{
    for (const Case& row : readCases("profile_check.txt")) {
        ProfileText profile = ProfileText::base();
        std::string name;
        for (auto line = row.lines.begin(); line != row.lines.end(); ++line) {
            const bool isKey = line->keyword == "key";
            if (line->keyword == "in") {
                name = line->value;
                profile.write();
            } else if (isKey || line->keyword == "text") {
                writeFile(name, ProfileText::bytes(isKey ? profile.withKey(name, line->value)
                                                         : profile.lines(line->value)));
                const int number = line->number;
                std::string expected;
                for (; line + 1 != row.lines.end() && line[1].keyword == "says"; ++line) {
                    expected += expandText(line[1].value) + "\n";
                }
                EXPECT_EQ(expected, said()) << "profile_check.txt:" << number;
            } else {
                profile.define(*line);
            }
        }
    }
}

// For a profile damaged at random, the check must give the status of an open, and report an error
// whenever that fails.
TEST_F(ProfileCheck, ForetellsTheOpenOfADamagedProfile)
{
    const ProfileText base = ProfileText::base();
    std::mt19937 random(1);  // the same numbers on every machine
    const auto below = [&](std::size_t limit) { return random() % limit; };
    std::vector<std::string> pieces;
    for (const auto& [name, lines] : base.files()) {
        pieces.insert(pieces.end(), lines.begin(), lines.end());
    }
    const auto bytes = [](const char* text) {
        return reinterpret_cast<const unsigned char*>(text);
    };
    int failures = 0;
    constexpr int rounds = 200;
    for (int round = 0; round < rounds; ++round) {
        base.write();
        std::string damage;
        for (std::size_t n = 1 + below(2); n > 0; --n) {
            auto [name, lines] = *std::next(
                base.files().begin(), static_cast<std::ptrdiff_t>(below(base.files().size())));
            for (std::size_t changes = 1 + below(3); changes > 0; --changes) {
                const auto at =
                    lines.begin() + static_cast<std::ptrdiff_t>(below(lines.size() + 1));
                if (below(3) == 0 && at != lines.end()) {
                    lines.erase(at);
                } else if (below(2) == 0 && at != lines.end()) {
                    at->insert(below(at->size() + 1), 1, "0x[];=#~"[below(8)]);
                } else {
                    lines.insert(at, pieces[below(pieces.size())]);
                }
            }
            writeFile(name, ProfileText::bytes(lines));
            damage += name + ":\n" + ProfileText::bytes(lines);
        }
        const short handle =
            RuvoOpenHandle(bytes("DEVICE"), 6, bytes(noSetting), sizeof noSetting - 1);
        RuvoCloseHandle(handle);
        const CheckedProfile checked = checkProfile(".", "DEVICE");
        ASSERT_EQ(std::min<short>(handle, 0), checked.status) << damage;
        ASSERT_EQ(
            handle<0, std::ranges::count(checked.findings, Finding::Kind::error, &Finding::kind)> 0)
            << damage;
        failures += handle < 0;
    }
    EXPECT_GT(failures, rounds / 5);
    EXPECT_LT(failures, rounds);
}

}  // namespace

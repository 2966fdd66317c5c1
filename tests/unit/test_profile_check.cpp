// What the check of a profile says, from tests/cases/profile_check.txt, and that it holds for
// whatever the files are.

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

class ProfileCheck : public ProfileFixture {
protected:
    static std::string said()
    {
        std::string text;
        for (const Finding& finding : checkProfile(".", "DEVICE").findings) {
            if (finding.kind != Finding::Kind::note || !finding.place.path.ends_with("HalvoSet.txt"))
                text += compilerLine(finding) + "\n";
        }
        return text;
    }
};

TEST_F(ProfileCheck, Rows)
{
    for (const Case& row : readCases("profile_check.txt")) {
        ProfileText profile = ProfileText::base();
        std::string name;
        std::string expected;
        int checked = 0;  // line of the text that is in the file
        const auto compare = [&] {
            if (checked > 0) {
                EXPECT_EQ(expected, said()) << "profile_check.txt:" << checked;
            }
            expected.clear();
            checked = 0;
        };
        for (const CaseLine& line : row.lines) {
            if (line.keyword == "says") {
                expected += expandText(line.value) + "\n";
                continue;
            }
            compare();
            if (line.keyword == "in") {
                name = line.value;
                profile.write();
            } else if (line.keyword == "text" || line.keyword == "key") {
                writeFile(name, ProfileText::bytes(line.keyword == "key"
                                                       ? profile.withKey(name, line.value)
                                                       : profile.lines(line.value)));
                checked = line.number;
            } else {
                profile.define(line);
            }
        }
        compare();
    }
}

// Of a profile damaged at random the check foretells the status of an open, and names a fault
// whenever there is one.
TEST_F(ProfileCheck, ForetellsTheOpenOfADamagedProfile)
{
    const ProfileText base = ProfileText::base();
    std::mt19937 random(1);  // the same numbers on every machine
    const auto below = [&](std::size_t limit) { return random() % limit; };
    std::vector<std::string> pieces;
    for (const auto& [name, lines] : base.files())
        pieces.insert(pieces.end(), lines.begin(), lines.end());
    int failures = 0;
    constexpr int rounds = 200;
    for (int round = 0; round < rounds; ++round) {
        base.write();
        std::string damage;
        for (std::size_t n = 1 + below(2); n > 0; --n) {
            const auto file = std::next(base.files().begin(),
                                        static_cast<std::ptrdiff_t>(below(base.files().size())));
            ProfileText::Lines lines = file->second;
            for (std::size_t changes = 1 + below(3); changes > 0; --changes) {
                const auto at =
                    lines.begin() + static_cast<std::ptrdiff_t>(below(lines.size() + 1));
                if (below(3) == 0 && at != lines.end())
                    lines.erase(at);
                else if (below(2) == 0 && at != lines.end())
                    at->insert(below(at->size() + 1), 1, "0x[];=#~"[below(8)]);
                else
                    lines.insert(at, pieces[below(pieces.size())]);
            }
            writeFile(file->first, ProfileText::bytes(lines));
            damage += file->first + ":\n" + ProfileText::bytes(lines);
        }
        const auto* const device = reinterpret_cast<const unsigned char*>("DEVICE");
        const auto* const id = reinterpret_cast<const unsigned char*>(noSetting);
        const short handle = RuvoOpenHandle(device, 6, id, sizeof noSetting - 1);
        const short status = std::min<short>(handle, 0);
        if (handle > 0)
            RuvoCloseHandle(handle);
        const CheckedProfile checked = checkProfile(".", "DEVICE");
        ASSERT_EQ(status, checked.status) << damage;
        const auto faults =
            std::ranges::count(checked.findings, Finding::Kind::error, &Finding::kind);
        ASSERT_EQ(status != 0, faults > 0) << damage;
        failures += status != 0;
    }
    EXPECT_GT(failures, rounds / 5);
    EXPECT_LT(failures, rounds);
}

}  // namespace

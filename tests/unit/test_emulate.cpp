// The parts of the emulator that need no terminal: the pace of a line, the arrangement of a window.
#include "program/emulate/LinePace.h"
#include "program/emulate/Window.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// catches: a byte that comes through before its last bit, time that is lost or gained by the way in
// which bytes are taken, a line that saves up what it could have carried while there was nothing
TEST(LinePace, CarriesBytesNoFaster)
{
    using namespace std::chrono_literals;
    LinePace pace(9600, 10);  // a byte takes 1041 2/3 us
    pace.begin(5s);
    pace.begin(9s);  // has begun
    EXPECT_EQ(0U, pace.due(5s + 1041us));
    EXPECT_EQ(1U, pace.due(5s + 1042us));
    EXPECT_EQ(5s + 1042us, pace.nextDue());
    pace.take(1);
    EXPECT_EQ(5s + 2084us, pace.nextDue());
    EXPECT_EQ(959U, pace.due(6s));
    pace.take(959);
    EXPECT_EQ(0U, pace.due(6s));
    EXPECT_EQ(960U * 86400 * 30 - 960, pace.due(5s + 30 * 24h));  // nothing overflows
    pace.end();
    EXPECT_FALSE(pace.busy());
    pace.begin(10s);
    EXPECT_EQ(0U, pace.due(10s + 1041us));
    LinePace slow(1200, 12);
    slow.begin(0s);
    EXPECT_EQ(99U, slow.due(999ms));
    EXPECT_EQ(100U, slow.due(1s));
}

// catches: a display that is cut without a word, commands that take its room, the first ones in
// place of the last ones, a character cut in its middle
TEST(Window, ArrangesWhatThereIsRoomFor)
{
    const EmulatorView view{"title",
                            {"+--+", "|ab|", "+--+"},
                            {"set 1", "set 2"},
                            {"1", "2", "3", "44444444"},
                            "counters"};
    using Lines = std::vector<std::string>;
    const auto lines = [&](int columns, int rows) { return arranged(view, 2, {columns, rows}); };
    EXPECT_EQ((Lines{"+--+", "|ab|", "+--+", "counters"}), lines(8, 4));
    EXPECT_EQ((Lines{"titl", "+--+", "|ab|", "+--+", "coun"}), lines(4, 5));
    EXPECT_EQ((Lines{"title", "+--+", "|ab|", "+--+", "set 1", "3", "44444", "count"}),
              lines(5, 8));
    EXPECT_EQ((Lines{"title", "+--+", "|ab|", "+--+", "set 1", "set 2", "1", "2", "3", "44444444",
                     "", "counters"}),
              lines(80, 12));
    for (const Lines& small : {lines(3, 9), lines(30, 3)}) {
        EXPECT_TRUE(small[0].starts_with("too")) << small[0];
    }
    EXPECT_EQ(1U, lines(30, 1).size());
    EXPECT_EQ("a\u20AC", clipped("a\u20AC\u20ACb", 2));
}

}  // namespace

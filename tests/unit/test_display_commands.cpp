// Command streams: explained, and carried out on the virtual display.
#include "Bytes.h"
#include "CaseFile.h"
#include "program/commands/StreamInput.h"
#include "program/display/Glyphs.h"
#include "program/display/PngDrawing.h"
#include "program/display/SvgDrawing.h"
#include "program/display/TerminalDrawing.h"
#include "program/display/VirtualDisplay.h"
#include "program/stream/Explanation.h"
#include "program/stream/Rendering.h"
#include "program/text/HexText.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

// The bytes in the byte columns of an explanation, and a check of the offsets before them.
std::string explainedBytes(const std::string& explanation)
{
    constexpr std::size_t column = 10;
    constexpr std::size_t width = 8 * 3 - 1;
    std::string bytes;
    for (const std::string& line : linesOf(explanation)) {
        if (line.front() != ' ') {
            EXPECT_EQ(bytes.size(), std::stoul(line.substr(0, 8), nullptr, 16)) << line;
        }
        bytes += fromHex(line.substr(column, width));
    }
    return bytes;
}

// In the folder of the default profile as long as it lives.
struct ProfileFolder {
    ProfileFolder() { std::filesystem::current_path(KESTRIX_PROFILE_DIR); }
    ~ProfileFolder() { std::filesystem::current_path(before); }
    const std::filesystem::path before = std::filesystem::current_path();
};

class DisplayCommands : public ::testing::Test {
protected:
    std::string explained(const std::string& stream) const
    {
        std::string text;
        explainStream(byteSpan(stream), tables, [&](std::string_view piece) { text += piece; });
        return text;
    }

    // The still picture after a stream.
    Screen screenAfter(const std::string& stream, Size size, int origin)
    {
        VirtualDisplay display(tables, size, origin);
        DisplayTrace trace;
        display.run(byteSpan(stream), &trace);
        ignored.clear();
        for (const DisplayTrace::Ignored& command : trace.ignored) {
            ignored.push_back(command.offset);
        }
        EXPECT_EQ(ignored.size(), display.ignored().count);
        return display.stillScreen("12:34");
    }

    std::vector<std::size_t> ignored;  // offsets of what had no effect in the last one

    const ProfileFolder folder;
    const ProfileOptions profile{"default", "none-such"};
    const ProfileTables tables{profile};
};

// Streams of commands and parameters, whole and cut, and of any bytes.
std::string randomStream(std::mt19937& random)
{
    using namespace std::string_literals;
    static const std::string pieces[] = {"\f",
                                         "\x1B@",
                                         "\x1Bt",
                                         "\x1BR",
                                         "\x1BW",
                                         "\x1F$",
                                         "\x1F"
                                         "C\1",
                                         "\x1Fr\1",
                                         "\x1FX",
                                         "\x1F"
                                         "E",
                                         "\x1FU",
                                         "\x1Am",
                                         "\x1AW",
                                         "\x1A"
                                         "C\1",
                                         "\x1AM\1\1",
                                         "\x1AM\2\0\3\0\1\0\6\0\x1Bt\21"s,
                                         "\0"s,
                                         "\1",
                                         "\2",
                                         "\3",
                                         "\1\1\1\1\1\1",
                                         "0",
                                         "text",
                                         "\x82"};
    std::string stream;
    for (std::size_t count = random() % 90; count > 0; --count) {
        const std::size_t piece = random() % (std::size(pieces) + 2);
        stream += piece < std::size(pieces) ? pieces[piece]
                                            : std::string(1, static_cast<char>(random() % 256));
    }
    return stream;
}

// The pixels of a PNG picture, line by line: alpha, red, green, blue.
std::vector<std::uint32_t> pixelsOf(std::string_view png)
{
    const auto read = [](void* rest, unsigned char* bytes, unsigned length) {
        std::copy_n(static_cast<std::string_view*>(rest)->begin(), length, bytes);
        static_cast<std::string_view*>(rest)->remove_prefix(length);
        return CAIRO_STATUS_SUCCESS;
    };
    cairo_surface_t* const surface = cairo_image_surface_create_from_png_stream(read, &png);
    const auto* const first =
        reinterpret_cast<const std::uint32_t*>(cairo_image_surface_get_data(surface));
    const int count =
        cairo_image_surface_get_width(surface) * cairo_image_surface_get_height(surface);
    const std::vector<std::uint32_t> pixels(first, first + count);
    cairo_surface_destroy(surface);
    return pixels;
}

// A PNG picture has 6 pixels a dot, 10 dots around its cells, 1 between columns, 3 between lines.
// The middles of lit dots are bright, and nothing else.
void expectLitDots(const Screen& screen)
{
    const int width = 19 + 9 * screen.size.columns, height = 17 + 16 * screen.size.lines;
    const std::vector<std::uint32_t> pixels = pixelsOf(drawPng(screen));
    ASSERT_EQ(36 * width * height, std::ssize(pixels));
    for (int i = 0; i < width * height; ++i) {
        const int x = i % width - 10, y = i / width - 10;
        bool lit = false;
        if (x >= 0 && x < width - 20 && x % 9 < 8 && y >= 0 && y < height - 20 && y % 16 < 13) {
            const Cell& cell = screen.cell(x / 9, y / 16);
            const bool cursor = screen.cursor == Position{x / 9, y / 16} && y % 16 == 12;
            lit = isLit(glyph(cell.character), x % 9, y % 16) != (cell.reverse != cursor);
        }
        const auto middle =
            static_cast<std::size_t>(6 * (6 * (y + 10) + 3) * width + 6 * (x + 10) + 3);
        const auto green = static_cast<int>(pixels[middle] >> 8 & 0xFF);
        ASSERT_EQ(lit, green > 57 + 173 * screen.brightness / 100) << x << ' ' << y;
    }
}

TEST_F(DisplayCommands, CasesOfTheFile)
{
    for (const Case& row : readCases("streams.txt")) {
        SCOPED_TRACE("case " + row.name + ", streams.txt:" + std::to_string(row.number));
        Size size{6, 2};
        int origin = 1;
        std::string stream, explanation, rows, points;
        std::vector<std::pair<Milliseconds, std::string>> later;
        std::optional<Milliseconds> at;
        // Checks what has been read of the stream at hand.
        const auto check = [&] {
            std::string drawn;
            if (rows.empty()) {
                EXPECT_EQ(explanation, explained(stream));
                return;
            }
            Screen screen = screenAfter(stream, size, origin);
            if (at) {
                VirtualDisplay display(tables, size, origin);
                PieceReader reader;
                const auto come = [&](Milliseconds time, const std::string& bytes) {
                    display.advance(time);
                    reader.feed(byteSpan(bytes));
                    for (StreamItem item; reader.next(item);) {
                        display.take(item);
                    }
                };
                come(0, stream);
                for (const auto& [time, bytes] : later) {
                    come(time, bytes);
                }
                display.advance(*at);
                screen = display.screen("12:34");
            }
            for (const std::string& line :
                 linesOf(drawText(screen, Highlight::none, Frame::lines, origin))) {
                if (!line.starts_with("┌") && !line.starts_with("└")) {
                    drawn += line + "\n";
                }
            }
            for (const std::size_t offset : ignored) {
                drawn += (offset == ignored.front() ? "ignored: " : ", ") + std::to_string(offset) +
                         (offset == ignored.back() ? "\n" : "");
            }
            EXPECT_EQ(rows, drawn) << stream;
            std::istringstream point(points);
            for (unsigned x = 0, y = 0, colour = 0;
                 point >> x >> y >> std::hex >> colour >> std::dec;) {
                for (unsigned actual =
                         pixelsOf(drawPng(screen))
                             .at(y * 6U * (19U + 9U * static_cast<unsigned>(size.columns)) + x);
                     actual != colour; actual >>= 8, colour >>= 8) {
                    EXPECT_NEAR(colour & 0xFF, actual & 0xFF, 4) << x << ' ' << y;
                }
            }
        };
        for (const auto& [number, keyword, value] : row.lines) {
            if (keyword == "stream") {
                if (!stream.empty()) {
                    check();
                }
                stream = expandText(value);
                explanation = rows = points = "";
                later.clear();
                at.reset();
            } else if (keyword == "later") {
                const std::size_t blank = value.find(' ');
                later.emplace_back(std::stoll(value), expandText(value.substr(blank + 1)));
            } else if (keyword == "at") {
                if (!rows.empty()) {
                    check();
                }
                rows = "";
                at = std::stoll(value);
            } else if (keyword == "explain") {
                explanation += std::string(value.find("  ") == 8 ? 0 : 10, ' ') + value + "\n";
            } else if (keyword == "row") {
                rows += value + "\n";
            } else if (keyword == "pixels") {
                points += value + " ";
            } else {
                ASSERT_EQ("size", keyword);
                std::istringstream(value) >> size.columns >> size.lines >> origin;
            }
        }
        check();
    }
}

// catches: a byte lost, shown twice or out of order; a cut command read beyond its end; a picture
// with other dots than the display, or a cursor, a reverse cell or a marquee that it leaves out
TEST_F(DisplayCommands, AnyStreamIsExplainedAndDrawn)
{
    std::mt19937 random(20240229);
    for (int i = 0; i < 1500; ++i) {
        const std::string stream = randomStream(random);
        ASSERT_EQ(toHex(stream), toHex(explainedBytes(explained(stream))));
        const Size size{1 + static_cast<int>(random() % 12), 1 + static_cast<int>(random() % 4)};
        const Screen screen = screenAfter(stream, size, static_cast<int>(random() % 2));
        ASSERT_EQ(static_cast<std::size_t>(size.columns * size.lines), screen.cells.size());
        ASSERT_LE(size.lines + 2,
                  std::ssize(linesOf(drawText(screen, Highlight::sgr, Frame::ascii, 1))));
        if (i % 100 == 0) {
            expectLitDots(screen);
        }
        ASSERT_FALSE(HasFailure()) << toHex(stream);
    }
}

// catches: a command or a run that is read otherwise, lost, or counted twice when it comes in
// pieces; a character that waits
TEST_F(DisplayCommands, PiecesGiveWhatTheWholeGives)
{
    const auto drawn = [](const Screen& screen) {
        return drawText(screen, Highlight::none, Frame::ascii, 1);
    };
    std::mt19937 random(20241112);
    for (int i = 0; i < 1500; ++i) {
        const std::string stream = randomStream(random);
        SCOPED_TRACE(toHex(stream));
        VirtualDisplay whole(tables, {8, 2}, 1);
        whole.run(byteSpan(stream));
        VirtualDisplay display(tables, {8, 2}, 1);
        std::string text;
        Explanation explanation(tables, [&](std::string_view lines) { text += lines; });
        PieceReader reader;
        const auto take = [&] {
            for (StreamItem item; reader.next(item);) {
                display.take(item);
                explanation.take(item);
            }
        };
        const std::size_t longest = i % 3 == 0 ? 1 : 1 + random() % 9;
        for (std::size_t at = 0; at < stream.size();) {
            const std::string piece = stream.substr(at, 1 + random() % longest);
            reader.feed(byteSpan(piece));
            take();
            at += piece.size();
            ASSERT_EQ(at, reader.size());
            // A command that waits has no effect yet, as one that is cut.
            VirtualDisplay part(tables, {8, 2}, 1);
            part.run(byteSpan(std::string_view(stream).substr(0, at)));
            ASSERT_EQ(drawn(part.stillScreen("12:34")), drawn(display.stillScreen("12:34")));
        }
        reader.finish();
        take();
        explanation.flush();
        EXPECT_EQ(drawn(whole.stillScreen("12:34")), drawn(display.stillScreen("12:34")));
        EXPECT_EQ(whole.ignored().count, display.ignored().count);
        EXPECT_EQ(whole.ignored().first, display.ignored().first);
        ASSERT_EQ(explained(stream), text);
    }
}

// catches: a run without end that is kept in memory, a boundary that depends on the pieces
TEST_F(DisplayCommands, LongRunsAreExplainedInParts)
{
    const std::string stream = std::string(100'000, 'a') + std::string(70'000, '\1');
    EXPECT_EQ(toHex(stream), toHex(explainedBytes(explained(stream))));
    std::string text;
    Explanation explanation(tables, [&](std::string_view lines) { text += lines; });
    PieceReader reader;
    for (const char byte : stream) {
        reader.feed(byteSpan({&byte, 1}));
        for (StreamItem item; reader.next(item);) {
            explanation.take(item);
        }
        ASSERT_EQ(0U, reader.waiting());
    }
    explanation.flush();
    EXPECT_EQ(explained(stream), text);
    EXPECT_NE(text.find("text"), text.rfind("text"));
}

// catches: a long marquee that makes the picture huge, sizes that overflow or exhaust memory
TEST_F(DisplayCommands, LargestDisplayAndMarquee)
{
    const std::string text(0xFFFF, 'm');
    const std::string stream = fromHex("1A 4D 01 00 00 FF FF 00 FF FF") + text;
    Screen screen = screenAfter(stream, {255, 255}, 1);
    EXPECT_EQ(text.size(), screen.marquee.value().text.size());
    EXPECT_LT(100U, drawPng(screen).size());
    for (const bool places : {false, true}) {
        screen.marquee->places = places;
        EXPECT_LT(drawSvg(screen).size(), 300'000U);
    }
}

// catches: a combining mark drawn over the character before it, so that its line is a column short
TEST(Drawing, MarksTakeAColumn)
{
    Screen screen;
    screen.size = {2, 1};
    screen.cells = {{U'a'}, {U'\u0301'}};
    EXPECT_EQ("a \u0301", lineText(screen, 0));
}

// catches: characters decoded in the wrong table or set, text lost between commands
TEST_F(DisplayCommands, ExplanationGivesTheTextOfADocumentBack)
{
    for (const std::string text :
         {"Café €9, naïve", "ВСЕГО 12,50 ₩", "Ευχαριστώ ┌─┐ ąęž", "ｱﾘｶﾞﾄｳ ‾"}) {
        const std::string document = "<a><text>" + text +
                                     "</text><marquee uwait=\"1\" rwait=\"1\">" + text +
                                     "</marquee></a>";
        std::string quoted;
        for (const std::string& line :
             linesOf(explained(renderDocument(document, profile).bytes))) {
            if (const std::size_t quote = line.find('"'); quote != std::string::npos) {
                quoted += line.substr(quote + 1, line.rfind('"') - quote - 1);
            }
        }
        EXPECT_EQ(text + text, quoted);
    }
}

// catches: an offset taken for bytes, characters after the bytes read, blanks needed
TEST(HexText, ReadsWhatItWritesAndPlainPairs)
{
    std::mt19937 random(7);
    for (std::size_t length = 0; length < 80; ++length) {
        std::string bytes;
        while (bytes.size() < length) {
            bytes += static_cast<char>(random() % 256);
        }
        EXPECT_TRUE(sameBytes(bytes, bytesOfHexText(hexDump(bytes))));
        EXPECT_TRUE(sameBytes(bytes, bytesOfHexText(toHex(bytes))));
        EXPECT_EQ(length != 0, isHexText(hexDump(bytes)));
    }
    EXPECT_TRUE(sameBytes(fromHex("1B 74 00 41"), bytesOfHexText(" 1b740041\r\n")));
    for (const char* const text : {"1B 7", "1B 7 4", "text", "0x41", "", "  "}) {
        EXPECT_FALSE(isHexText(text)) << text;
    }
}

// catches: an offset or a character taken for bytes, a repeated line lost, one radix only; dumps of
// od are in tests/program
TEST(HexText, ReadsDumpsOfOtherPrograms)
{
    const std::string stream = "\fab" + std::string(45, ' ') + "1f";
    const char* const dumps[] = {
        // hexdump -C, indented and with CR LF
        "  00000000  0c 61 62 20 20 20 20 20  20 20 20 20 20 20 20 20  |.ab             |\r\n"
        "  00000010  20 20 20 20 20 20 20 20  20 20 20 20 20 20 20 20  |                |\r\n"
        "  *\r\n  00000030  31 66                                             |1f|\r\n"
        "  00000032\r\n",
        // xxd
        "00000000: 0c61 6220 2020 2020 2020 2020 2020 2020  .ab             \n"
        "00000010: 2020 2020 2020 2020 2020 2020 2020 2020                  \n"
        "00000020: 2020 2020 2020 2020 2020 2020 2020 2020                  \n"
        "00000030: 3166                                     1f\n",
    };
    for (const char* const dump : dumps) {
        EXPECT_TRUE(sameBytes(stream, bytesOfHexText(dump))) << dump;
    }
    // Octal, as only a decimal offset could be that far from a whole line.
    EXPECT_EQ(
        std::string(80, ' '),
        bytesOfHexText("0000000 20 20 20 20 20 20 20 20 20 20 20 20 20 20 20 20\n*\n0000120\n"));
    for (const char* const dump :
         {"00000000  1B 40\n00000003  0C\n", "00000000  1B 4\n", "0000000 401b 000c\n",
          "*\n00000010  0C\n", "00000000 0C\n*\nFFFFFFFFFFFFFFFF\n", "00000000  0C\n*\n",
          "00000000: 4845 4c4c  LLEH\n", "0000000  12  72  69\n", "0000000 20\n*\n0000100\n"}) {
        EXPECT_FALSE(isHexText(dump)) << dump;
    }
}

}  // namespace

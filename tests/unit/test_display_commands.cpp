// Command streams: explained, and carried out on the virtual display.
#include "Bytes.h"
#include "CaseFile.h"
#include "program/stream/Explanation.h"
#include "program/text/HexText.h"
#include "program/display/PngDrawing.h"
#include "program/stream/Rendering.h"
#include "program/commands/StreamInput.h"
#include "program/display/SvgDrawing.h"
#include "program/display/TerminalDrawing.h"
#include "program/display/VirtualDisplay.h"

#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Lines = std::vector<std::string>;

Lines linesOf(const std::string& text)
{
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::string joined(const Lines& lines)
{
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    return text;
}

// The bytes in the byte columns of an explanation, and a check of the offsets in front of them.
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

    Screen screenAfter(const std::string& stream, Size size, int origin) const
    {
        VirtualDisplay display(tables, size, origin);
        display.run(byteSpan(stream));
        return display.screen("12:34");
    }

    const ProfileFolder folder;
    const ProfileOptions profile{"default", "none-such"};
    const ProfileTables tables{profile};
};

// A whole command of each row, with parameters that it knows.
std::vector<std::string> wholeCommands()
{
    std::vector<std::string> commands;
    for (const DisplayCommand& row : kDisplayCommands) {
        std::string bytes(row.prefix.begin(),
                          row.prefix.begin() + static_cast<int>(row.prefixSize()));
        for (const Parameter parameter : row.parameters) {
            if (parameter == Parameter::digitZero)
                bytes += '0';
            else if (parameter == Parameter::text)
                bytes += fromHex("06 00 1B 74 11 41 42 82");
            else
                bytes += std::string(parameterSize(parameter), '\1');
        }
        commands.push_back(bytes);
    }
    return commands;
}

// Streams of whole and of cut commands, of marquees longer than the stream, and of any bytes.
std::string randomStream(std::mt19937& random)
{
    static const std::vector<std::string> commands = wholeCommands();
    const auto below = [&](std::size_t limit) { return random() % limit; };
    std::string stream;
    for (std::size_t pieces = below(40); pieces > 0; --pieces) {
        const std::string& command = commands[below(commands.size())];
        switch (below(4)) {
        case 0:
            stream += command.substr(0, below(command.size()));
            break;
        case 1:
            for (std::size_t i = below(12); i > 0; --i)
                stream += static_cast<char>(below(256));
            break;
        default:
            stream += command;
            if (command.size() > 2 && below(2) == 0)
                stream[stream.size() - 1 - below(command.size() - 2)] =
                    static_cast<char>(below(256));
        }
    }
    return stream;
}

TEST_F(DisplayCommands, CasesOfTheFile)
{
    for (const Case& row : readCases("streams.txt")) {
        SCOPED_TRACE("case " + row.name + ", streams.txt:" + std::to_string(row.number));
        Size size{6, 2};
        int origin = 1;
        std::string stream;
        Lines explanation;
        Lines rows;
        // Checks what has been read of the stream at hand.
        const auto check = [&] {
            EXPECT_NE(explanation.empty(), rows.empty()) << "one of both for each stream";
            if (!explanation.empty()) {
                EXPECT_EQ(joined(explanation), explained(stream));
            } else {
                Lines drawn =
                    linesOf(drawText(screenAfter(stream, size, origin), Highlight::none, origin));
                drawn.erase(drawn.begin());
                drawn.erase(drawn.begin() + size.lines);
                EXPECT_EQ(joined(rows), joined(drawn)) << stream;
            }
            explanation.clear();
            rows.clear();
        };
        bool begun = false;
        for (const auto& [number, keyword, value] : row.lines) {
            if (keyword == "stream") {
                if (begun)
                    check();
                begun = true;
                stream = expandText(value);
            } else if (keyword == "explain") {
                explanation.push_back(value.find("  ") == 8 ? value : std::string(10, ' ') + value);
            } else if (keyword == "row") {
                rows.push_back(value);
            } else {
                ASSERT_EQ("size", keyword);
                std::istringstream(value) >> size.columns >> size.lines >> origin;
            }
        }
        check();
    }
}

// catches: a row that another one hides, words that do not fit the parameters, names of no use
TEST_F(DisplayCommands, RowsOfTheTablesFitEachOther)
{
    std::vector<std::string> prefixes;
    for (const DisplayCommand& row : kDisplayCommands) {
        const std::string prefix(row.prefix.begin(),
                                 row.prefix.begin() + static_cast<int>(row.prefixSize()));
        for (const std::string& other : prefixes)
            EXPECT_FALSE(prefix.starts_with(other) || other.starts_with(prefix)) << row.words;
        prefixes.push_back(prefix);

        std::ptrdiff_t places = 0;
        for (std::size_t at = 0; (at = row.words.find("{}", at)) != std::string_view::npos; ++at)
            ++places;
        EXPECT_EQ(places, std::ranges::count_if(row.parameters,
                                                [](Parameter parameter) {
                                                    return parameter != Parameter::none &&
                                                           parameter != Parameter::digitZero;
                                                }))
            << row.words;
    }
    for (const ParameterValue& value : kParameterValues) {
        EXPECT_EQ(&value, findValue(value.parameter, value.value)) << value.words;
        EXPECT_TRUE(std::ranges::any_of(kDisplayCommands, [&](const DisplayCommand& row) {
            return std::ranges::count(row.parameters, value.parameter) == 1;
        })) << value.words;
    }
}

// catches: a cut command read beyond its end, taken for whole, or its bytes for text
TEST_F(DisplayCommands, CommandsCutAtEachByte)
{
    for (const std::string& command : wholeCommands()) {
        for (std::size_t length = 1; length <= command.size(); ++length) {
            const std::string stream = command.substr(0, length);
            StreamReader reader(byteSpan(stream));
            StreamItem item;
            ASSERT_TRUE(reader.next(item));
            EXPECT_EQ(length == command.size() ? StreamItem::Kind::command : StreamItem::Kind::cut,
                      item.kind)
                << toHex(stream);
            EXPECT_EQ(length, item.bytes.size()) << toHex(stream);
            EXPECT_EQ(stream, explainedBytes(explained(stream)));
            screenAfter(stream, {6, 2}, 1);
        }
    }
}

// catches: a byte lost, shown twice or out of order; a stream that a drawing cannot stand
TEST_F(DisplayCommands, AnyStreamIsExplainedAndDrawn)
{
    std::mt19937 random(20240229);
    for (int i = 0; i < 3000; ++i) {
        const std::string stream = randomStream(random);
        ASSERT_EQ(toHex(stream), toHex(explainedBytes(explained(stream))));
        const Size size{1 + static_cast<int>(random() % 12), 1 + static_cast<int>(random() % 4)};
        const Screen screen = screenAfter(stream, size, static_cast<int>(random() % 2));
        ASSERT_EQ(static_cast<std::size_t>(size.columns * size.lines), screen.cells.size());
        ASSERT_LE(size.lines + 2, std::ssize(linesOf(drawText(screen, Highlight::sgr, 1))));
        if (i % 30 == 0) {
            ASSERT_TRUE(drawPng(screen).starts_with("\x89PNG"));
            const std::string svg = drawSvg(screen);
            xmlDoc* const document =
                xmlReadMemory(svg.data(), static_cast<int>(svg.size()), nullptr, nullptr, 0);
            ASSERT_NE(nullptr, document) << toHex(stream) << "\n" << svg;
            xmlFreeDoc(document);
        }
    }
}

// catches: a long marquee that makes the picture huge, sizes that overflow or exhaust memory
TEST_F(DisplayCommands, LargestDisplayAndMarquee)
{
    for (const char* const format : {"01", "02"}) {
        const std::string stream =
            fromHex(std::string("1A 4D ") + format + " 00 00 FF FF 00 FF FF") +
            std::string(0xFFFF, 'm');
        const Screen screen = screenAfter(stream, {255, 255}, 1);
        EXPECT_EQ(0xFFFFU, screen.marquee.value().text.size());
        EXPECT_LT(drawSvg(screen).size(), 300'000U);
        EXPECT_LT(100U, drawPng(screen).size());
    }
}

// catches: characters decoded in the wrong table or set, text lost between commands
TEST_F(DisplayCommands, ExplanationGivesTheTextOfADocumentBack)
{
    const std::string texts[] = {"Café €9, naïve", "ВСЕГО 12,50 ₩", "Ευχαριστώ ┌─┐ ąęž",
                                 "ｱﾘｶﾞﾄｳ ‾"};
    std::string document = "<ovix-display>";
    std::string expected;
    for (const std::string& text : texts) {
        document += "<text x=\"1\" y=\"1\">" + text + "</text><marquee uwait=\"1\" rwait=\"1\">" +
                    text + "</marquee>";
        expected += text + "|" + text + "|";
    }
    const std::string stream = renderDocument(document + "</ovix-display>", profile).bytes;

    std::string text;
    for (const std::string& line : linesOf(explained(stream))) {
        const bool isText = line.find("  text \"") != std::string::npos;
        const bool isMarquee = line.find("  marquee, ") != std::string::npos;
        const bool endsText = line.find("cursor to") != std::string::npos || isMarquee;
        if (endsText && !text.empty() && !text.ends_with('|'))
            text += '|';
        const std::size_t quote = line.find('"') + 1;
        if (isText || isMarquee)
            text += line.substr(quote, line.rfind('"') - quote);
        if (isMarquee)
            text += '|';
    }
    EXPECT_EQ(expected, text);
    EXPECT_EQ(stream, explainedBytes(explained(stream)));
}

// catches: an offset taken for bytes, characters behind the bytes read, blanks needed
TEST(HexText, ReadsWhatItWritesAndPlainPairs)
{
    std::mt19937 random(7);
    for (std::size_t length = 0; length < 80; ++length) {
        std::string bytes;
        while (bytes.size() < length)
            bytes += static_cast<char>(random() % 256);
        EXPECT_TRUE(sameBytes(bytes, bytesOfHexText(hexDump(bytes))));
        EXPECT_TRUE(sameBytes(bytes, bytesOfHexText(toHex(bytes))));
        EXPECT_EQ(length != 0, isHexText(hexDump(bytes)));
    }
    EXPECT_TRUE(sameBytes(fromHex("1B 74 00 41"), bytesOfHexText(" 1b740041\r\n")));
    for (const char* const text : {"1B 7", "1B 7 4", "text", "0x41", "", "  "})
        EXPECT_FALSE(isHexText(text)) << text;
}

// catches: an offset or a character taken for bytes, a repeated line lost, one radix only
TEST(HexText, ReadsDumpsOfOtherPrograms)
{
    const std::string stream = "\fab" + std::string(48, ' ') + "1f";
    const char* const dumps[] = {
        // hexdump -C, indented and with CR LF
        "  00000000  0c 61 62 20 20 20 20 20  20 20 20 20 20 20 20 20  |.ab             |\r\n"
        "  00000010  20 20 20 20 20 20 20 20  20 20 20 20 20 20 20 20  |                |\r\n"
        "  *\r\n"
        "  00000030  20 20 20 31 66                                    |   1f|\r\n"
        "  00000035\r\n",
        // xxd
        "00000000: 0c61 6220 2020 2020 2020 2020 2020 2020  .ab             \n"
        "00000010: 2020 2020 2020 2020 2020 2020 2020 2020                  \n"
        "00000020: 2020 2020 2020 2020 2020 2020 2020 2020                  \n"
        "00000030: 2020 2031 66                                1f\n",
        // od -t x1, od -A d -t x1z, od -A x -t x1
        "0000000 0c 61 62 20 20 20 20 20 20 20 20 20 20 20 20 20\n"
        "0000020 20 20 20 20 20 20 20 20 20 20 20 20 20 20 20 20\n*\n"
        "0000060 20 20 20 31 66\n0000065\n",
        "0000000 0c 61 62 20 20 20 20 20 20 20 20 20 20 20 20 20  >.ab             <\n"
        "0000016 20 20 20 20 20 20 20 20 20 20 20 20 20 20 20 20  >                <\n*\n"
        "0000048 20 20 20 31 66                                   >   1f<\n0000053\n",
        "000000 0c 61 62 20 20 20 20 20 20 20 20 20 20 20 20 20\n"
        "000010 20 20 20 20 20 20 20 20 20 20 20 20 20 20 20 20\n*\n"
        "000030 20 20 20 31 66\n000035\n",
    };
    for (const char* const dump : dumps)
        EXPECT_TRUE(sameBytes(stream, bytesOfHexText(dump))) << dump;
    // Octal, as only a decimal offset could be that far from a whole line.
    EXPECT_EQ(
        std::string(80, ' '),
        bytesOfHexText("0000000 20 20 20 20 20 20 20 20 20 20 20 20 20 20 20 20\n*\n0000120\n"));
    for (const char* const dump :
         {"00000000  1B 40\n00000003  0C\n", "00000000  1B 4\n", "0000000 401b 000c\n",
          "*\n00000010  0C\n", "00000000 0C\n*\nFFFFFFFFFFFFFFFF\n", "00000000  0C\n*\n",
          "00000000: 4845 4c4c  LLEH\n", "0000000  12  72  69\n", "0000000 20\n*\n0000100\n"})
        EXPECT_FALSE(isHexText(dump)) << dump;
}

}  // namespace

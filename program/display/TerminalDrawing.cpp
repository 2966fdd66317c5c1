#include "program/display/TerminalDrawing.h"

#include "program/text/CharacterText.h"

#include <unicode/uchar.h>

namespace {

constexpr char kReverseOn[] = "\x1B[7m";
constexpr char kUnderlineOn[] = "\x1B[4m";
constexpr char kPlain[] = "\x1B[0m";

// A combining mark takes a column of its own here, so it is put on a blank.
void appendCell(std::string& text, const Cell& cell)
{
    if (U_GET_GC_MASK(static_cast<UChar32>(cell.character)) & U_GC_M_MASK) {
        text += ' ';
    }
    appendCharacter(text, cell.character);
}

std::string repeated(std::string_view piece, int count)
{
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

struct FrameParts {
    std::string topLeft;
    std::string topRight;
    std::string bottomLeft;
    std::string bottomRight;
    std::string edge;
    std::string side;
};

FrameParts partsOf(Frame frame)
{
    return frame == Frame::ascii ? FrameParts{"+", "+", "+", "+", "-", "|"}
                                 : FrameParts{"┌", "┐", "└", "┘", "─", "│"};
}

bool isCursor(const Screen& screen, int column, int line)
{
    return screen.cursor == Position{column, line};
}

std::string highlightedLine(const Screen& screen, int line)
{
    std::string text;
    for (int column = 0; column < screen.size.columns; ++column) {
        const Cell& cell = screen.cell(column, line);
        const bool cursor = isCursor(screen, column, line);
        if (cell.reverse) {
            text += kReverseOn;
        }
        if (cursor) {
            text += kUnderlineOn;
        }
        appendCell(text, cell);
        if (cell.reverse || cursor) {
            text += kPlain;
        }
    }
    return text;
}

// "  reverse 1-11, cursor 12"; "" for a line with neither.
std::string lineRemarks(const Screen& screen, int line, int origin)
{
    std::string text;
    const auto remark = [&](const std::string& words) {
        text += (text.empty() ? "  " : ", ") + words;
    };
    for (int column = 0; column < screen.size.columns; ++column) {
        const int first = column;
        while (column < screen.size.columns && screen.cell(column, line).reverse) {
            ++column;
        }
        if (column > first) {
            remark("reverse " + std::to_string(first + origin) +
                   (column - first > 1 ? "-" + std::to_string(column - 1 + origin) : ""));
        }
    }
    if (screen.cursor && screen.cursor->line == line) {
        remark("cursor " + std::to_string(screen.cursor->column + origin));
    }
    return text;
}

}  // namespace

std::string lineText(const Screen& screen, int line)
{
    std::string text;
    for (int column = 0; column < screen.size.columns; ++column) {
        appendCell(text, screen.cell(column, line));
    }
    return text;
}

std::string marqueeText(const Marquee& marquee)
{
    std::string text;
    for (const Cell& cell : marquee.text) {
        appendCell(text, cell);
    }
    return text;
}

std::string drawText(const Screen& moment, Highlight highlight, Frame frame, int origin)
{
    const Screen screen = moment.seen();
    const FrameParts parts = partsOf(frame);
    const std::string edge = repeated(parts.edge, screen.size.columns);
    std::string text = parts.topLeft + edge + parts.topRight + "\n";
    for (int line = 0; line < screen.size.lines; ++line) {
        const bool plain = highlight == Highlight::none;
        text += parts.side + (plain ? lineText(screen, line) : highlightedLine(screen, line)) +
                parts.side + (plain ? lineRemarks(screen, line, origin) : "") + "\n";
    }
    text += parts.bottomLeft + edge + parts.bottomRight + "\n";

    if (screen.brightness != 100) {
        text += "brightness " + std::to_string(screen.brightness) + " %\n";
    }
    if (screen.blink != 0) {
        text += "blinks every " + std::to_string(screen.blink) + " ms\n";
    }
    if (screen.clock) {
        text += "clock\n";
    }
    for (const auto& [number, area, mode, selected] : screen.windows) {
        text += "window " + std::to_string(number) + " at column " +
                std::to_string(area.at.column + origin) + ", line " +
                std::to_string(area.at.line + origin) + ", size " +
                std::to_string(area.size.columns) + " x " + std::to_string(area.size.lines) + ", " +
                std::string(mode) + (selected ? ", selected\n" : "\n");
    }
    if (const auto& marquee = screen.marquee) {
        text += "marquee in line " + std::to_string(marquee->area.at.line + origin) + ", " +
                (marquee->places ? "placing characters, " : "walking in from the right, ") +
                std::to_string(marquee->stepWait) + " ms a step, " +
                std::to_string(marquee->runWait) + " ms between runs, " +
                (marquee->runs == 0 ? "for ever" : std::to_string(marquee->runs) + " times") +
                ": \"" + marqueeText(*marquee) + "\"\n";
    }
    return text;
}

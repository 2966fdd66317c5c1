#include "program/display/SvgDrawing.h"

#include "program/display/Panel.h"
#include "program/display/TerminalDrawing.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <string_view>

namespace {

// At most so many characters of a marquee are drawn, so that the picture stays small.
constexpr std::size_t kMaxMarquee = 400;

std::string number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.5f", value);
    std::string_view digits = text;
    digits = digits.substr(0, digits.find_last_not_of('0') + 1);
    if (digits.ends_with('.')) {
        digits.remove_suffix(1);
    }
    return std::string(digits);
}

std::string colour(panel::Colour colour)
{
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", colour.red & 0xFF, colour.green & 0xFF,
                  colour.blue & 0xFF);
    return text;
}

// ' name="value"', with the leading blank.
std::string attribute(std::string_view name, const std::string& value)
{
    return " " + std::string(name) + "=\"" + value + "\"";
}

std::string attribute(std::string_view name, double value)
{
    return attribute(name, number(value));
}

std::string escaped(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':  // XML allows no "]]>" in a text
            result += "&gt;";
            break;
        default:
            result += c;
        }
    }
    return result;
}

std::string gradient(std::string_view id, panel::Colour from, panel::Colour to)
{
    return "<linearGradient" + attribute("id", std::string(id)) + " x2=\"0\" y2=\"1\"><stop" +
           attribute("stop-color", colour(from)) + "/><stop offset=\"1\"" +
           attribute("stop-color", colour(to)) + "/></linearGradient>\n";
}

std::string rectangle(double inset, Size size, double corner, std::string_view rest)
{
    return "<rect" + attribute("x", inset) + attribute("y", inset) +
           attribute("width", panel::width(size) - 2 * inset) +
           attribute("height", panel::height(size) - 2 * inset) + attribute("rx", corner) +
           std::string(rest) + "/>\n";
}

// An SVG path of a cell's lit dots: strokes of length 0, whose round ends are the dots.
std::string dotPath(const DotMatrix& dots)
{
    std::string path;
    for (int row = 0; row < kGlyphRows; ++row) {
        int from = -1;
        for (int column = 0; column < kGlyphColumns; ++column) {
            if (!isLit(dots, column, row)) {
                continue;
            }
            path += from < 0 ? "M" + std::to_string(column) + " " + std::to_string(row)
                             : "m" + std::to_string(column - from) + " 0";
            path += "h0";
            from = column;
        }
    }
    return path;
}

// The dot patterns of a picture. Each is defined once, and shown by reference.
class Patterns {
public:
    // An element that shows a pattern with its cell's top left corner at x, y; "" if no dot is lit.
    // `attributes` and `content` are added to the element as they are.
    std::string use(const DotMatrix& dots, int x, int y, const std::string& attributes = "",
                    const std::string& content = "")
    {
        if (dots == DotMatrix{}) {
            return {};
        }
        const auto [entry, added] = m_numbers.try_emplace(dots, m_numbers.size());
        const std::string id = "d" + std::to_string(entry->second);
        if (added) {
            m_definitions += "<path" + attribute("id", id) + attribute("d", dotPath(dots)) + "/>\n";
        }
        return "<use" + attribute("href", "#" + id) + attribute("x", x) + attribute("y", y) +
               attributes + (content.empty() ? "/>" : ">" + content + "</use>") + "\n";
    }

    const std::string& definitions() const { return m_definitions; }

private:
    std::map<DotMatrix, std::size_t> m_numbers;
    std::string m_definitions;
};

// All dots of all cells, unlit. One line of cells is defined, and repeated for each line.
std::string unlitDots(Size size)
{
    DotMatrix all;
    all.fill(0xFF);
    std::string text = "<defs><path id=\"c\"" + attribute("d", dotPath(all)) + "/><g id=\"l\">";
    for (int column = 0; column < size.columns; ++column) {
        text += "<use href=\"#c\"" + attribute("x", column * panel::kColumnPitch) + "/>";
    }
    text += "</g></defs>\n<g" + attribute("stroke", colour(panel::kUnlit)) + ">";
    for (int line = 0; line < size.lines; ++line) {
        text += "<use href=\"#l\"" + attribute("x", panel::left(0)) +
                attribute("y", panel::top(line)) + "/>";
    }
    return text + "</g>\n";
}

// A discrete animation: a list of times, and the value that an attribute gets at each.
class Animation {
public:
    // `length` is that of one run; 0 runs: for ever. `begun` is how long ago it began. All times
    // are in milliseconds.
    Animation(std::string attributes, Milliseconds length, int runs, Milliseconds begun)
        : m_attributes(std::move(attributes)),
          m_length(static_cast<double>(length)),
          m_runs(runs),
          m_begun(static_cast<double>(begun))
    {
    }

    // Sets the value from this time on. Times must ascend, from 0; those past the run are dropped.
    void at(Milliseconds time, const std::string& value)
    {
        const double part = static_cast<double>(time) / m_length;
        if (part >= 1 && !m_values.empty()) {
            return;
        }
        m_values += (m_values.empty() ? "" : ";") + value;
        m_times += (m_times.empty() ? "" : ";") + number(part);
    }

    std::string element(std::string_view name) const
    {
        return "<" + std::string(name) + m_attributes + attribute("values", m_values) +
               attribute("keyTimes", m_times) + " calcMode=\"discrete\"" +
               attribute("dur", number(m_length / 1000) + "s") +
               attribute("repeatCount", m_runs == 0 ? "indefinite" : std::to_string(m_runs)) +
               (m_begun == 0 ? "" : attribute("begin", number(-m_begun / 1000) + "s")) + "/>";
    }

private:
    std::string m_attributes;
    std::string m_values;
    std::string m_times;
    double m_length;
    int m_runs;
    double m_begun;
};

// Format 1: the text moves as a whole. A viewer without animation shows its start.
std::string walkingText(const Marquee& marquee, Milliseconds begun, Patterns& patterns)
{
    Animation walk(" attributeName=\"transform\" type=\"translate\"", marquee.runLength(),
                   marquee.runs, begun);
    for (std::size_t step = 0; step < marquee.steps(); ++step) {
        walk.at(static_cast<Milliseconds>(step) * marquee.stepLength(),
                std::to_string(marquee.column(0, step).value_or(0) * panel::kColumnPitch));
    }
    std::string text = "<g>" + walk.element("animateTransform") + "\n";
    for (std::size_t i = 0; i < marquee.text.size(); ++i) {
        text += patterns.use(panel::litDots(marquee.text[i], false),
                             static_cast<int>(i) * panel::kColumnPitch, 0);
    }
    return text + "</g>\n";
}

// Format 2: each character is shown and hidden by itself. A viewer without animation shows the
// first line.
std::string placedText(const Marquee& marquee, Milliseconds begun, Patterns& patterns)
{
    std::string text;
    for (std::size_t i = 0; i < marquee.text.size(); ++i) {
        Animation place(" attributeName=\"visibility\"", marquee.runLength(), marquee.runs, begun);
        std::optional<bool> before;
        for (std::size_t step = 0; step < marquee.steps(); ++step) {
            const bool shown = marquee.column(i, step).has_value();
            if (shown != before) {
                place.at(static_cast<Milliseconds>(step) * marquee.stepLength(),
                         shown ? "visible" : "hidden");
            }
            before = shown;
        }
        const bool first = static_cast<int>(i) < marquee.area.size.columns;
        text += patterns.use(panel::litDots(marquee.text[i], false),
                             marquee.column(i, i).value_or(0) * panel::kColumnPitch, 0,
                             first ? "" : " visibility=\"hidden\"", place.element("animate"));
    }
    return text;
}

// The marquee's line as a nested <svg>, which clips what moves out of its first `columns`.
std::string marqueeLine(Marquee marquee, int columns, Milliseconds begun, Patterns& patterns)
{
    marquee.text.resize(std::min(marquee.text.size(), kMaxMarquee));
    const Position at = marquee.area.at;
    // A cell's position is the centre of its first dot, so the line begins half a dot before it.
    return "<svg" + attribute("x", panel::left(at.column) - 0.5) +
           attribute("y", panel::top(at.line) - 0.5) +
           attribute("width", columns * panel::kColumnPitch - panel::kColumnGap) +
           attribute("height", kGlyphRows) + "><g transform=\"translate(.5 .5)\">\n" +
           (marquee.places ? placedText(marquee, begun, patterns)
                           : walkingText(marquee, begun, patterns)) +
           "</g></svg>\n";
}

std::string litDots(const Screen& screen, Patterns& patterns)
{
    std::string text;
    int marqueeColumns = 0;  // that the clock does not lie over
    for (int line = 0; line < screen.size.lines; ++line) {
        for (int column = 0; column < screen.size.columns; ++column) {
            const Position place{column, line};
            const bool moves = screen.marquee && screen.marquee->area.contains(place) &&
                               !(screen.clock && clockArea(screen.size).contains(place));
            marqueeColumns += moves ? 1 : 0;
            text += patterns.use(
                panel::litDots(moves ? Cell{} : screen.cell(column, line), screen.cursor == place),
                panel::left(column), panel::top(line));
        }
    }
    if (marqueeColumns != 0) {
        text += marqueeLine(*screen.marquee, marqueeColumns, screen.marqueeTime, patterns);
    }
    if (screen.blink != 0) {
        Animation blink(" attributeName=\"opacity\"", Milliseconds{2} * screen.blink, 0,
                        screen.blinkTime);
        blink.at(0, number(panel::litOpacity(screen.brightness)));
        blink.at(screen.blink, "0");
        text += blink.element("animate") + "\n";
    }
    return text;
}

std::string description(const Screen& screen)
{
    std::string text;
    for (int line = 0; line < screen.size.lines; ++line) {
        const std::string shown = lineText(screen, line);
        const std::size_t end = shown.find_last_not_of(' ');
        if (end != std::string::npos) {
            text += (text.empty() ? "" : "\n") + shown.substr(0, end + 1);
        }
    }
    if (screen.marquee) {
        text += "\nMarquee: " + marqueeText(*screen.marquee);
    }
    return text;
}

}  // namespace

std::string drawSvg(const Screen& screen)
{
    constexpr int kPixels = 4;  // of a dot, if the picture is shown in its own size
    const Size size = screen.size;
    const int width = panel::width(size);
    const int height = panel::height(size);
    const std::string box = "0 0 " + std::to_string(width) + " " + std::to_string(height);

    Patterns patterns;
    const std::string lit = litDots(screen, patterns);

    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\"" +
                      attribute("width", width * kPixels) + attribute("height", height * kPixels) +
                      attribute("viewBox", box) + " role=\"img\" aria-labelledby=\"t s\">\n";
    svg += "<title id=\"t\">Customer display, " + std::to_string(size.columns) + " x " +
           std::to_string(size.lines) + "</title>\n";
    svg += "<desc id=\"s\">" + escaped(description(screen)) + "</desc>\n";
    svg += "<defs>\n" + gradient("b", panel::kBezelTop, panel::kBezelBottom) +
           gradient("g", panel::kGlassTop, panel::kGlassBottom);
    svg += "<filter id=\"f\" filterUnits=\"userSpaceOnUse\" x=\"0\" y=\"0\"" +
           attribute("width", width) + attribute("height", height) +
           " color-interpolation-filters=\"sRGB\"><feGaussianBlur" +
           attribute("stdDeviation", panel::kGlowRadius) +
           "/><feComponentTransfer><feFuncA type=\"linear\"" +
           attribute("slope", panel::kGlowStrength) +
           "/></feComponentTransfer><feMerge><feMergeNode/><feMergeNode in=\"SourceGraphic\"/>"
           "</feMerge></filter>\n";
    svg += patterns.definitions() + "</defs>\n";
    svg += rectangle(0, size, panel::kBezelCorner, " fill=\"url(#b)\"");
    svg += rectangle(panel::kBezel, size, panel::kGlassCorner, " fill=\"url(#g)\"");
    svg += "<g transform=\"translate(.5 .5)\" stroke-linecap=\"round\"" +
           attribute("stroke-width", panel::kDotSize) + ">\n";
    svg += unlitDots(size);
    svg += "<g filter=\"url(#f)\"" + attribute("stroke", colour(panel::kLit)) +
           attribute("opacity", panel::litOpacity(screen.brightness)) + ">\n" + lit + "</g>\n";
    return svg + "</g>\n</svg>\n";
}

#include "program/display/Screen.h"

#include <algorithm>

namespace {

// In milliseconds; a shorter wait between steps counts as this one.
constexpr int kShortestStep = 20;

}  // namespace

std::size_t Marquee::steps() const
{
    // A text that walks leaves at the left edge, too.
    return text.size() + (places ? 0 : static_cast<std::size_t>(area.size.columns));
}

Milliseconds Marquee::stepLength() const
{
    return std::max(stepWait, kShortestStep);
}

Milliseconds Marquee::runLength() const
{
    return static_cast<Milliseconds>(steps()) * stepLength() + runWait;
}

std::optional<std::size_t> Marquee::stepAt(Milliseconds time) const
{
    if (runs != 0 && time / runLength() >= runs) {
        return std::nullopt;
    }
    const auto step = static_cast<std::size_t>(time % runLength() / stepLength());
    return std::min(step, steps() - 1);  // that of the last step lasts through the wait
}

std::optional<Milliseconds> Marquee::untilNextStep(Milliseconds time) const
{
    const std::optional<std::size_t> step = stepAt(time);
    if (!step) {
        return std::nullopt;
    }
    const Milliseconds end =
        *step + 1 < steps() ? static_cast<Milliseconds>(*step + 1) * stepLength() : runLength();
    return end - time % runLength();
}

std::optional<int> Marquee::column(std::size_t character, std::optional<std::size_t> step) const
{
    const auto columns = static_cast<std::size_t>(area.size.columns);
    if (!step) {
        return static_cast<int>(character);
    }
    if (!places) {
        return static_cast<int>(columns + character) - static_cast<int>(*step) - 1;
    }
    const bool shown = character <= *step && character / columns == *step / columns;
    return shown ? std::optional(static_cast<int>(character % columns)) : std::nullopt;
}

Screen Screen::seen() const
{
    Screen screen = *this;
    if (dark) {
        std::ranges::fill(screen.cells, Cell{});
        screen.cursor.reset();
    }
    return screen;
}

#include "program/display/VirtualDisplay.h"

#include <algorithm>

namespace {

constexpr char32_t kUndecoded = 0xFFFD;
constexpr unsigned kWholeDisplay = 0;

// The number that a parameter's value means by kParameterValues; nothing if the value is not there.
std::optional<int> namedValue(const StreamItem& command, std::size_t index)
{
    const ParameterValue* const row =
        findValue(command.command->parameters[index],
                  static_cast<std::uint8_t>(command.parameter(index).value_or(0)));
    return row != nullptr ? std::optional(row->number) : std::nullopt;
}

// Stores what the first parameter of a command means. False if its value means nothing.
template <class Field>
bool store(Field& field, const StreamItem& command)
{
    const std::optional<int> value = namedValue(command, 0);
    if (value) {
        field = static_cast<Field>(*value);
    }
    return value.has_value();
}

// The number in a parameter of a whole command.
int number(const StreamItem& command, std::size_t index)
{
    return static_cast<int>(command.parameter(index).value_or(0));
}

std::string_view modeWords(int mode)
{
    const auto isMode = [mode](const ParameterValue& row) {
        return row.parameter == Parameter::scrollMode && row.number == mode;
    };
    return std::ranges::find_if(kParameterValues, isMode)->words;
}

}  // namespace

VirtualDisplay::VirtualDisplay(const ProfileTables& tables, Size size, int origin)
    : m_tables(tables),
      m_size(size),
      m_origin(origin),
      m_cells(static_cast<std::size_t>(size.columns * size.lines)),
      m_touched(static_cast<std::size_t>(size.lines))
{
    powerOn();
}

void VirtualDisplay::powerOn()
{
    clear({{}, m_size});
    m_windows = {{kWholeDisplay, {{{}, m_size}, Mode::overwrite, {}}}};
    m_selected = kWholeDisplay;
    m_codes = m_tables.powerOn();
    m_reverse = false;
    m_brightness = 100;
    m_blink = 0;
    m_cursorShown = false;
    m_clock = false;
    m_marquee.reset();
}

void VirtualDisplay::run(ByteSpan bytes, DisplayTrace* trace)
{
    m_trace = trace;
    m_settled = 0;
    StreamReader reader(bytes);
    for (StreamItem item; reader.next(item);) {
        take(item);
    }
    settle(bytes.size());
    if (trace != nullptr) {
        trace->selected = m_selected;
        trace->hasOwnSet = m_codes.set == m_tables.powerOn().set;
    }
    m_trace = nullptr;
}

void VirtualDisplay::take(const StreamItem& item)
{
    bool understood = false;
    settle(item.offset);
    m_at = item.offset;
    const std::size_t end = item.offset + item.bytes.size();
    const bool isCommand =
        item.kind == StreamItem::Kind::command || item.kind == StreamItem::Kind::cut;
    if (m_trace != nullptr && isCommand && m_settled < m_trace->ends.size() &&
        end > m_trace->ends[m_settled]) {
        m_trace->shared.push_back({item.offset, end});
    }
    if (item.kind == StreamItem::Kind::text) {
        // One text may come from several elements.
        for (const Cell& cell : decode(item.bytes, item.offset)) {
            settle(cell.source);
            m_at = cell.source;
            show(cell);
        }
        understood = true;
    } else if (item.kind == StreamItem::Kind::command) {
        understood = carryOut(item);
    }
    const bool selects =
        item.kind == StreamItem::Kind::command &&
        (item.command->action == Action::selectWindow || item.command->action == Action::reset);
    if (m_trace != nullptr && understood && selects) {
        m_trace->selections.push_back(item.offset);
    }
    if (!understood && !item.continues) {
        m_ignored.first = m_ignored.count == 0 ? item.offset : m_ignored.first;
        ++m_ignored.count;
        if (m_trace != nullptr) {
            m_trace->ignored.push_back({item.offset, item.command, selected().area, m_selected});
        }
    }
}

// Returns false if the command has no effect.
bool VirtualDisplay::carryOut(const StreamItem& command)
{
    switch (command.command->action) {
    case Action::clear:
        clear(selected().area);
        selected().cursor = {};
        return true;
    case Action::reset:
        powerOn();
        return true;
    case Action::codeTable:
    case Action::characterSet:
        return applySwitch(command);
    case Action::position:
        return moveCursor(number(command, 0) - m_origin, number(command, 1) - m_origin);
    case Action::corner: {
        const std::optional<int> corner = namedValue(command, 0);
        const Size size = selected().area.size;
        return corner &&
               moveCursor(*corner % 2 * (size.columns - 1), *corner / 2 * (size.lines - 1));
    }
    case Action::cursor:
        return store(m_cursorShown, command);
    case Action::reverse:
        return store(m_reverse, command);
    case Action::brightness:
        return store(m_brightness, command);
    case Action::blink:
        m_blink = number(command, 0) * kBlinkStep;
        m_blinkStart = m_now;
        return true;
    case Action::clock:
        m_clock = true;
        forCellsBeneathClock([this](Cell& cell) { lose(cell); });
        judgeMarqueeBeneathClock(DisplayTrace::Cause::overwritten);
        return true;
    case Action::defineWindow:
        return define(command);
    case Action::selectWindow: {
        const unsigned window = *command.parameter(0);
        const bool defined = m_windows.contains(window);
        m_selected = defined ? window : m_selected;
        return defined;
    }
    case Action::destroyWindow:
        return destroy(*command.parameter(0));
    case Action::marquee:
        return startMarquee(command);
    }
    return false;
}

bool VirtualDisplay::applySwitch(const StreamItem& item)
{
    const auto parameter = static_cast<std::uint8_t>(*item.parameter(0));
    (item.command->action == Action::codeTable ? m_codes.table : m_codes.set) = parameter;
    return true;
}

std::vector<Cell> VirtualDisplay::decode(ByteSpan text, std::size_t offset)
{
    std::vector<Cell> cells;
    StreamReader reader(text, StreamReader::Commands::switches);
    for (StreamItem item; reader.next(item);) {
        if (item.kind == StreamItem::Kind::command) {
            applySwitch(item);
        } else if (item.kind == StreamItem::Kind::text) {
            for (std::size_t i = 0; i < item.bytes.size(); ++i) {
                cells.push_back({m_tables.character(m_codes, item.bytes[i]).value_or(kUndecoded),
                                 m_reverse, offset + item.offset + i});
            }
        }
    }
    return cells;
}

void VirtualDisplay::show(const Cell& shown)
{
    Window& window = selected();
    if (window.cursor.column == window.area.size.columns) {
        scroll(window);
    }
    const Position place{window.area.at.column + window.cursor.column,
                         window.area.at.line + window.cursor.line};
    if (m_marquee && m_marquee->area.contains(place)) {
        loseMarquee();
    }
    Cell& cell = *cells(place);
    lose(cell);
    cell = shown;
    if (m_trace != nullptr) {
        m_trace->shown.push_back({shown.source, shown.character, place, m_selected});
    }
    advance(window);
}

void VirtualDisplay::lose(Cell& cell, DisplayTrace::Cause cause)
{
    if (m_trace != nullptr && cell.source != Cell::kNoSource) {
        m_trace->losses.push_back({cell.source, m_at, cause});
        cell.source = Cell::kNoSource;
    }
}

template <class Function>
void VirtualDisplay::forCellsBeneathClock(Function function)
{
    if (m_clock) {
        std::for_each(m_cells.end() - clockColumns(), m_cells.end(), function);
    }
}

void VirtualDisplay::judgeMarqueeBeneathClock(DisplayTrace::Cause cause)
{
    if (m_marqueeJudged || !m_clock || !m_marquee || m_marquee->area.at.line != m_size.lines - 1) {
        return;
    }
    m_marqueeJudged = true;
    const auto [at, size] = m_marquee->area;
    for (std::size_t i = 0; i < m_marquee->text.size(); ++i) {
        // Where a character is seen: one that walks, at the left end of the line last of all.
        const int column =
            m_marquee->places
                ? at.column + static_cast<int>(i % static_cast<std::size_t>(size.columns))
                : at.column;
        if (column >= m_size.columns - clockColumns()) {
            lose(m_marquee->text[i], cause);
        }
    }
}

void VirtualDisplay::settle(std::size_t offset)
{
    if (m_trace == nullptr) {
        return;
    }
    for (; m_settled < m_trace->ends.size() && m_trace->ends[m_settled] <= offset; ++m_settled) {
        const std::size_t begin = m_settled == 0 ? 0 : m_trace->ends[m_settled - 1];
        const std::size_t end = m_trace->ends[m_settled];
        if (begin == end || !(m_clock || m_marquee)) {
            continue;
        }
        const auto hide = [&](Cell& cell) {
            if (cell.source >= begin && cell.source < end) {
                lose(cell, DisplayTrace::Cause::hidden);
            }
        };
        forCellsBeneathClock(hide);
        if (m_marquee) {
            std::for_each_n(cells(m_marquee->area.at), m_marquee->area.size.columns, hide);
        }
        judgeMarqueeBeneathClock(DisplayTrace::Cause::hidden);
    }
}

void VirtualDisplay::loseMarquee()
{
    for (Cell& cell : m_marquee->text) {
        lose(cell);
    }
    m_marquee.reset();
}

// Moves the cursor past the character just shown. At the end of a line it wraps to the start of the
// next line, and from the last line to the first. If the window is to scroll there instead, it
// stays past the end of the line, and show() scrolls when the next character comes.
void VirtualDisplay::advance(Window& window) const
{
    const Size size = window.area.size;
    Position& cursor = window.cursor;
    const bool lastLine = cursor.line == size.lines - 1;
    ++cursor.column;
    const bool scrollDue =
        window.mode == Mode::scrollLeft || (window.mode == Mode::scrollUp && lastLine);
    if (cursor.column < size.columns || scrollDue) {
        return;
    }
    cursor = {0, lastLine ? 0 : cursor.line + 1};
}

// Makes room for the next character; the cursor is past the end of its line.
void VirtualDisplay::scroll(Window& window)
{
    const auto [at, size] = window.area;
    const auto row = [&](int line) { return cells({at.column, at.line + line}); };
    if (window.mode == Mode::scrollLeft) {
        const auto line = row(window.cursor.line);
        lose(*line, DisplayTrace::Cause::scrolled);
        *std::shift_left(line, line + size.columns, 1) = {};
        --window.cursor.column;
        return;
    }
    std::for_each_n(row(0), size.columns,
                    [this](Cell& cell) { lose(cell, DisplayTrace::Cause::scrolled); });
    for (int line = 1; line < size.lines; ++line) {
        std::copy_n(row(line), size.columns, row(line - 1));
    }
    std::fill_n(row(size.lines - 1), size.columns, Cell{});
    window.cursor.column = 0;
}

bool VirtualDisplay::moveCursor(int column, int line)
{
    const Size size = selected().area.size;
    if (!Area{{}, size}.contains({column, line})) {
        return false;
    }
    selected().cursor = {column, line};
    return true;
}

bool VirtualDisplay::define(const StreamItem& command)
{
    const auto window = *command.parameter(0);
    const Area area{{number(command, 1) - m_origin, number(command, 2) - m_origin},
                    {number(command, 3), number(command, 4)}};
    const std::optional<int> mode = namedValue(command, 5);
    const bool empty = area.size.columns == 0 || area.size.lines == 0;
    if (window == kWholeDisplay || !mode || empty || !Area{{}, m_size}.holds(area)) {
        return false;
    }
    m_windows[window] = {area, static_cast<Mode>(*mode), {}};
    return true;
}

bool VirtualDisplay::destroy(unsigned number)
{
    const auto window = m_windows.find(number);
    if (number == kWholeDisplay || window == m_windows.end()) {
        return false;
    }
    clear(window->second.area);
    m_windows.erase(window);
    if (m_selected == number) {
        m_selected = kWholeDisplay;
    }
    return true;
}

bool VirtualDisplay::startMarquee(const StreamItem& command)
{
    const std::optional<int> format = namedValue(command, 0);
    const std::vector<Cell> text = decode(
        command.text(), command.offset + command.bytes.size() -
                            command.text().size());  // its switches stay even if no marquee starts
    if (!format || text.empty()) {
        return false;
    }
    const auto& [area, mode, cursor] = selected();
    const Area line{{area.at.column, area.at.line + cursor.line}, {area.size.columns, 1}};
    if (m_marquee) {
        loseMarquee();
    }
    std::for_each_n(cells(line.at), line.size.columns, [this](Cell& cell) { lose(cell); });
    clear(line);
    m_marquee = Marquee{
        line, *format == 1, number(command, 1), number(command, 2), number(command, 3), text};
    m_marqueeStart = m_now;
    m_marqueeJudged = false;
    for (const Cell& cell : m_trace != nullptr ? text : std::vector<Cell>()) {
        m_trace->shown.push_back({cell.source, cell.character, line.at, m_selected});
    }
    return true;
}

void VirtualDisplay::clear(const Area& area)
{
    for (int line = area.at.line; line < area.at.line + area.size.lines; ++line) {
        if (!m_touched[static_cast<std::size_t>(line)]) {
            continue;
        }
        std::fill_n(cells({area.at.column, line}), area.size.columns, Cell{});
        if (area.size.columns == m_size.columns) {
            m_touched[static_cast<std::size_t>(line)] = false;
        }
    }
    if (m_marquee && area.overlaps(m_marquee->area)) {
        m_marquee.reset();
    }
    if (area.contains({m_size.columns - 1, m_size.lines - 1})) {
        m_clock = false;
    }
}

Screen VirtualDisplay::screen(std::string_view clock) const
{
    const Milliseconds marqueeTime = m_now - m_marqueeStart;
    Screen screen = screenAt(m_marquee ? m_marquee->stepAt(marqueeTime) : std::nullopt, clock);
    screen.marqueeTime = m_marquee ? marqueeTime : 0;
    screen.blinkTime = m_blink != 0 ? m_now - m_blinkStart : 0;
    screen.dark = m_blink != 0 && screen.blinkTime / m_blink % 2 == 1;
    return screen;
}

Screen VirtualDisplay::stillScreen(std::string_view clock) const
{
    return screenAt(std::nullopt, clock);
}

std::optional<Milliseconds> VirtualDisplay::nextChange() const
{
    std::optional<Milliseconds> next =
        m_marquee ? m_marquee->untilNextStep(m_now - m_marqueeStart) : std::nullopt;
    if (m_blink != 0) {
        const Milliseconds toggle = m_blink - (m_now - m_blinkStart) % m_blink;
        next = std::min(next.value_or(toggle), toggle);
    }
    if (m_clock) {
        constexpr Milliseconds second = 1000;
        next = std::min(next.value_or(second), second);
    }
    return next;
}

Screen VirtualDisplay::screenAt(std::optional<std::size_t> marqueeStep,
                                std::string_view clock) const
{
    Screen screen;
    screen.size = m_size;
    screen.cells = m_cells;
    screen.brightness = m_brightness;
    screen.blink = m_blink;
    screen.marquee = m_marquee;
    screen.clock = m_clock;
    if (m_marquee) {
        const auto& [at, size] = m_marquee->area;
        const auto line = screen.cells.begin() + at.line * m_size.columns + at.column;
        for (std::size_t i = 0; i < m_marquee->text.size(); ++i) {
            const int column = m_marquee->column(i, marqueeStep).value_or(size.columns);
            if (column >= 0 && column < size.columns) {
                line[column] = m_marquee->text[i];
            }
        }
    }
    if (m_clock) {
        const std::size_t shown = std::min(clock.size(), static_cast<std::size_t>(clockColumns()));
        std::transform(clock.end() - static_cast<std::ptrdiff_t>(shown), clock.end(),
                       screen.cells.end() - static_cast<std::ptrdiff_t>(shown), [](char c) {
                           return Cell{static_cast<char32_t>(c), false};
                       });
    }
    for (const auto& [number, window] : m_windows) {
        if (number != kWholeDisplay) {
            screen.windows.push_back({number, window.area, modeWords(static_cast<int>(window.mode)),
                                      number == m_selected});
        }
    }
    if (m_cursorShown) {
        const Window& window = m_windows.at(m_selected);
        // While a scroll is due the cursor stays on the last character.
        const int column = std::min(window.cursor.column, window.area.size.columns - 1);
        screen.cursor = {window.area.at.column + column, window.area.at.line + window.cursor.line};
    }
    return screen;
}

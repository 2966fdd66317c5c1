// kestrix-disp emulate: a display that a till writes to.
#include "program/commands/Commands.h"
#include "program/commands/Files.h"
#include "program/commands/PictureOptions.h"
#include "program/commands/StreamInput.h"
#include "program/display/PngDrawing.h"
#include "program/display/SvgDrawing.h"
#include "program/emulate/LinePace.h"
#include "program/emulate/PseudoTerminal.h"
#include "program/emulate/Window.h"
#include "program/port/Descriptor.h"
#include "program/port/Signals.h"
#include "program/stream/Explanation.h"
#include "program/text/CharacterText.h"
#include "program/text/Counted.h"
#include "program/text/Lines.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <deque>
#include <exception>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::duration_cast;
using std::chrono::microseconds;
using std::chrono::milliseconds;

struct Options {
    PictureOptions picture;
    ProfileOptions profile;
    std::string link;
    int speed = 0;  // bits a second; 0: as fast as they come
    std::string parity = "none";
    int stopBits = 1;
    std::optional<double> untilIdle;  // seconds
    std::string record;
    std::string screen;
    std::string svg;
    std::string png;
};

constexpr milliseconds kFrame{40};     // between two pictures in the window, at least
constexpr milliseconds kPaceStep{10};  // between two reads of a line with a speed, at least
constexpr int kFastest = 4'000'000;    // bits a second
constexpr std::size_t kPiece = 4096;   // to read at once; the system gives no more
constexpr std::size_t kMostWaiting = 64 * 1024;  // of the output; till it is less, nothing is read
constexpr std::size_t kMostLines = 1000;         // of the explanation that the window keeps

class Emulator {
public:
    // `record` gets what comes, if it is not null.
    Emulator(const Options& options, const ProfileTables& tables, NewFile* record)
        : m_options(options),
          m_record(record),
          m_display(tables, options.picture.size, options.picture.origin),
          m_explanation(tables, [this](std::string_view lines) { explain(lines); })
    {
        if (options.speed != 0) {
            const int bits = 1 + 8 + (options.parity == "none" ? 0 : 1) + options.stopBits;
            m_pace.emplace(options.speed, bits);
        }
        if (!options.link.empty()) {
            m_terminal.link(options.link);
        }
    }

    // Runs until somebody or --until-idle ends it.
    void run()
    {
        if (ownsTerminal()) {
            m_window.emplace();
        } else {
            m_output = m_terminal.name() + "\n";
        }
        while (!m_ended) {
            m_display.advance(elapsed() - m_displayTime);
            m_displayTime = elapsed();
            if (m_window && m_output.empty() && m_changed && elapsed() >= m_nextFrame) {
                m_output = m_window->redraw(picture());
                m_nextFrame = elapsed() + kFrame.count();
                m_changed = false;
            }
            wait();
        }
        drain();
        m_reader.finish();
        takeItems();
        m_explanation.flush();
        if (m_record != nullptr) {
            m_record->close();
        }
        m_terminal.unlink();
        if (m_window) {
            m_window.reset();
            m_output.clear();
            m_outputFailure = nullptr;  // the terminal is gone, as after SIGHUP
        }
    }

    // What has not been written of the explanation.
    const std::string& output() const { return m_output; }
    // Why no more of it could be written; null if it could.
    std::exception_ptr outputFailure() const { return m_outputFailure; }
    const VirtualDisplay& display() const { return m_display; }

    std::string counters() const
    {
        return counted(m_reader.size(), "byte") + ", " + counted(m_commands, "command") + ", " +
               std::to_string(m_display.ignored().count - m_cut) + " ignored, " +
               std::to_string(m_cut) + " cut";
    }

private:
    // In milliseconds since the start.
    Milliseconds elapsed() const
    {
        return duration_cast<milliseconds>(Clock::now() - m_start).count();
    }
    microseconds elapsedExactly() const
    {
        return duration_cast<microseconds>(Clock::now() - m_start);
    }

    // Waits until there is something to do, and does it.
    void wait()
    {
        constexpr short kNothing = 0;
        const bool reads = m_output.size() < kMostWaiting;
        const bool paced = m_pace && m_pace->busy();
        pollfd sources[] = {
            {m_signals.descriptor(), POLLIN, 0},
            {m_window ? STDIN_FILENO : -1, POLLIN, 0},
            {m_output.empty() ? -1 : outputDescriptor(), POLLOUT, 0},
            {m_terminal.watchDescriptor(), POLLIN, 0},
            {reads && !paced ? m_terminal.descriptor() : -1, POLLIN, 0},
        };
        if (poll(sources, std::size(sources), timeout(reads && paced)) < 0 && errno != EINTR) {
            throw std::system_error(errno, std::generic_category(), "cannot wait");
        }
        const auto [signals, keys, output, watch, till] = sources;
        if (signals.revents != kNothing) {
            takeSignals();
        }
        if (keys.revents != kNothing) {
            m_ended = m_ended || Window::asksToEnd();
        }
        if (output.revents != kNothing) {
            writeOutput();
        }
        m_display.advance(elapsed() - m_displayTime);
        m_displayTime = elapsed();
        if (till.revents != kNothing || (reads && paced)) {
            readTill();
        }
        if (watch.revents != kNothing) {
            m_terminal.watch();
        }
        if (m_explanationDue && elapsed() >= *m_explanationDue && !m_window) {
            m_explanation.flush();
            m_explanationDue.reset();
        }
        if (reads && mayBeIdle() && elapsed() >= idleEnd()) {
            m_ended = true;
        }
        m_changed = m_changed || (m_window && animates());
    }

    // In milliseconds, for poll(); -1: as long as it takes.
    int timeout(bool paced) const
    {
        std::optional<Milliseconds> end;  // since the start
        const auto until = [&](Milliseconds time) { end = std::min(end.value_or(time), time); };
        if (paced) {
            const microseconds due = m_pace->nextDue() + microseconds(999);
            until(
                std::max(duration_cast<milliseconds>(due).count(), elapsed() + kPaceStep.count()));
        }
        if (m_explanationDue && !m_window) {
            until(*m_explanationDue);
        }
        if (mayBeIdle()) {
            until(idleEnd());
        }
        if (m_window && m_output.empty()) {
            if (m_changed) {
                until(m_nextFrame);
            } else if (m_nextChange) {
                until(std::max(*m_nextChange, m_nextFrame));
            }
        }
        constexpr Milliseconds kLongest = 60'000;
        return end ? static_cast<int>(std::clamp(*end - elapsed(), Milliseconds{0}, kLongest)) : -1;
    }

    // Whether --until-idle counts: there has been a byte, and no more waits for the line, or for
    // the output to take what has come.
    bool mayBeIdle() const
    {
        return m_options.untilIdle && m_lastByte && !(m_pace && m_pace->busy()) &&
               m_output.size() < kMostWaiting;
    }
    Milliseconds idleEnd() const
    {
        return *m_lastByte + static_cast<Milliseconds>(*m_options.untilIdle * 1000);
    }

    // Whether time has changed what the window shows.
    bool animates() const { return m_nextChange && elapsed() >= *m_nextChange; }

    void takeSignals()
    {
        for (int signal = 0; (signal = m_signals.take()) != 0;) {
            if (signal != SIGWINCH) {
                m_ended = true;
            } else if (m_window) {
                m_window->forget();
                m_changed = true;
            }
        }
    }

    int outputDescriptor() const
    {
        return m_outputTerminal.number() >= 0 ? m_outputTerminal.number() : STDOUT_FILENO;
    }

    // Writes a part that does not have to wait: a pipe that is ready takes as much as PIPE_BUF.
    void writeOutput()
    {
        const std::size_t size = std::min<std::size_t>(m_output.size(), PIPE_BUF);
        const ssize_t count = ::write(outputDescriptor(), m_output.data(), size);
        if (count < 0 && errno != EINTR && errno != EAGAIN) {
            m_outputFailure = std::make_exception_ptr(std::system_error(
                errno, std::generic_category(), "cannot write the standard output"));
            m_output.clear();
            m_ended = true;
            return;
        }
        m_output.erase(0, static_cast<std::size_t>(std::max(count, ssize_t{0})));
    }

    void readTill()
    {
        std::size_t most = kPiece;
        if (m_pace) {
            m_pace->begin(elapsedExactly());
            most = std::min(most, m_pace->due(elapsedExactly()));
            if (most == 0) {
                return;
            }
        }
        const std::string bytes = m_terminal.read(most);
        if (m_pace) {
            m_pace->take(bytes.size());
            if (bytes.empty()) {
                m_pace->end();
            }
        }
        take(bytes);
        tellTerminal();
    }

    // Takes at once what a till has written already.
    void drain()
    {
        constexpr int kMostReads = 64;  // what the system keeps is less; a till may go on writing
        for (int i = 0; i < kMostReads; ++i) {
            const std::string bytes = m_terminal.read(kPiece);
            if (bytes.empty()) {
                break;
            }
            take(bytes);
        }
        tellTerminal();
    }

    void take(const std::string& bytes)
    {
        if (bytes.empty()) {
            return;
        }
        if (m_record != nullptr) {
            m_record->write(bytes);
        }
        m_lastByte = elapsed();
        m_explanationDue = elapsed() + Explanation::kRunWait;
        m_changed = true;
        m_reader.feed({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
        takeItems();
    }

    void takeItems()
    {
        for (StreamItem item; m_reader.next(item);) {
            m_display.take(item);
            m_explanation.take(item);
            m_commands += item.kind == StreamItem::Kind::command ? 1 : 0;
            m_cut += item.kind == StreamItem::Kind::cut ? 1 : 0;
        }
    }

    // Tells what the till does to its own bytes.
    void tellTerminal()
    {
        if (m_terminal.takeFlush()) {
            note("the till has flushed its port: what it had written and was not read yet is "
                 "thrown away");
        }
        const bool changes = m_terminal.changesBytes();
        if (changes && !m_changesBytes) {
            note(
                "the till has switched on output processing (opost): the system changes its bytes, "
                "as at a serial port");
        }
        m_changesBytes = changes;
    }

    void note(const std::string& words)
    {
        if (m_window) {
            explain("-- " + words + "\n");
        } else {
            std::cerr << "kestrix-disp: " << words << "\n";
        }
    }

    void explain(std::string_view lines)
    {
        if (!m_window) {
            m_output += m_outputFailure ? "" : lines;
            return;
        }
        for (std::string& line : linesOf(lines)) {
            m_lines.push_back(std::move(line));
        }
        if (m_lines.size() > kMostLines) {
            m_lines.erase(m_lines.begin(), m_lines.end() - kMostLines);
        }
    }

    // What the window shows now. Notes when time will change it.
    std::vector<std::string> picture()
    {
        const PictureOptions& picture = m_options.picture;
        const Screen screen = m_display.screen(picture.clockAfter(elapsed()));
        m_nextChange.reset();
        if (const auto next = m_display.nextChange()) {
            m_nextChange = elapsed() + *next;
        }
        EmulatorView view;
        view.title = m_terminal.name() +
                     (m_options.link.empty() ? "" : ", linked from " + printable(m_options.link)) +
                     " - q ends";
        view.display = linesOf(drawText(screen, Highlight::sgr, picture.frame(), picture.origin));
        const auto frameEnd = view.display.begin() + screen.size.lines + 2;
        view.settings.assign(frameEnd, view.display.end());
        view.display.erase(frameEnd, view.display.end());
        view.commands.assign(m_lines.begin(), m_lines.end());
        for (std::string& line : linesOf(m_explanation.waiting())) {
            view.commands.push_back(std::move(line));
        }
        view.counters = counters();
        if (m_reader.waiting() != 0) {
            view.counters += "; " + counted(m_reader.waiting(), "byte") + " to be completed";
        }
        return arranged(view, screen.size.columns, windowSize());
    }

    const Options& m_options;
    const Clock::time_point m_start = Clock::now();
    NewFile* const m_record;
    Signals m_signals{SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGWINCH};
    PseudoTerminal m_terminal;
    std::optional<LinePace> m_pace;
    std::optional<Window> m_window;

    PieceReader m_reader;
    VirtualDisplay m_display;
    Explanation m_explanation;
    std::size_t m_commands = 0;
    std::size_t m_cut = 0;
    bool m_changesBytes = false;
    std::deque<std::string> m_lines;  // of the explanation, for the window

    // The standard output, if it is a terminal. One that is ready may have room for a single byte,
    // and nobody reads the till while a write waits. O_NONBLOCK is for this opening of it alone.
    const Descriptor m_outputTerminal{
        isatty(STDOUT_FILENO) != 0
            ? open("/proc/self/fd/1", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)
            : -1};
    std::string m_output;  // what the standard output has not taken yet
    std::exception_ptr m_outputFailure;
    bool m_ended = false;
    bool m_changed = true;  // since the last picture
    // Times in milliseconds since the start.
    Milliseconds m_displayTime = 0;
    Milliseconds m_nextFrame = 0;
    std::optional<Milliseconds> m_nextChange;  // of what is shown, by the time alone
    std::optional<Milliseconds> m_lastByte;
    std::optional<Milliseconds> m_explanationDue;
};

std::vector<std::string> outputsOf(const Options& options)
{
    std::vector<std::string> outputs{options.record, options.screen, options.svg, options.png};
    std::erase(outputs, "");
    return outputs;
}

int emulate(const Options& options)
{
    requireSeparate(profileFiles(options.profile), outputsOf(options));
    const ProfileTables tables = readTables(options.profile);
    const PictureOptions& picture = options.picture;
    Screen screen;
    std::string rest;
    std::string counters;
    VirtualDisplay::Ignored ignored;
    std::exception_ptr failure;     // keeps nobody from the pictures
    std::optional<NewFile> record;  // opened while no signal is held: a pipe waits for its reader
    if (!options.record.empty()) {
        record.emplace(options.record);
    }
    {
        Emulator emulator(options, tables, record ? &*record : nullptr);
        emulator.run();
        screen = emulator.display().stillScreen(picture.clockAfter(0));
        ignored = emulator.display().ignored();
        rest = emulator.output();
        failure = emulator.outputFailure();
        counters = emulator.counters();
    }
    if (!rest.empty()) {
        try {
            writeFile("-", rest);
        } catch (const std::system_error&) {
            failure = std::current_exception();
        }
    }
    tellIgnored(ignored);
    std::cerr << "kestrix-disp: " << counters << "\n";
    if (!options.screen.empty()) {
        writeFile(options.screen,
                  drawText(screen, Highlight::none, picture.frame(), picture.origin));
    }
    if (!options.svg.empty()) {
        writeFile(options.svg, drawSvg(screen));
    }
    if (!options.png.empty()) {
        writeFile(options.png, drawPng(screen));
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
    return kDone;
}

}  // namespace

Command emulateCommand(CLI::App& program)
{
    const auto options = std::make_shared<Options>();
    CLI::App* const arguments = program.add_subcommand(
        "emulate", "Is a display at a pseudo-terminal, which a till opens like a serial port");
    arguments
        ->add_option(
            "--link", options->link,
            "Make a symbolic link to the pseudo-terminal as long as it is there; it replaces "
            "nothing but a link to one that is gone")
        ->check([](const std::string& path) { return path.empty() ? "a link has a path" : ""; })
        ->type_name("PATH");
    arguments
        ->add_option("--speed", options->speed,
                     "Take bytes no faster than a line with so many bits a second")
        ->check(CLI::Range(1, kFastest).description(""))
        ->type_name("N");
    arguments
        ->add_option("--parity", options->parity,
                     "none, odd or even: with a parity bit a byte takes longer at --speed")
        ->check(CLI::IsMember({"none", "odd", "even"}).description(""))
        ->type_name("PARITY")
        ->capture_default_str();
    arguments->add_option("--stop-bits", options->stopBits, "1 or 2, at --speed")
        ->check(CLI::Range(1, 2).description(""))
        ->type_name("N")
        ->capture_default_str();
    arguments
        ->add_option("--until-idle", options->untilIdle,
                     "End when nothing has come for so long, after the first byte")
        ->check(checkSeconds)
        ->type_name("SECONDS");
    arguments
        ->add_option("--record", options->record, "Write what comes to a file, which must be new")
        ->check([](const std::string& file) { return file == "-" ? "a record has a file" : ""; })
        ->type_name("FILE");
    arguments
        ->add_option("--screen", options->screen,
                     "At the end write what the display shows, as preview does")
        ->type_name("FILE");
    arguments->add_option("--svg", options->svg, "At the end write an SVG picture")
        ->type_name("FILE");
    arguments->add_option("--png", options->png, "At the end write a PNG picture")
        ->type_name("FILE");
    options->picture.addTo(*arguments);
    options->profile.addTo(*arguments);
    return {arguments, [options] { return emulate(*options); }};
}

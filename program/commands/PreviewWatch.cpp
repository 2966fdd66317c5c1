#include "program/commands/PreviewWatch.h"

#include "program/commands/Commands.h"
#include "program/commands/Files.h"
#include "program/commands/LintOptions.h"
#include "program/commands/StreamInput.h"
#include "program/emulate/Window.h"
#include "program/port/FileWatch.h"
#include "program/port/Signals.h"
#include "program/text/CharacterText.h"
#include "program/text/Counted.h"
#include "program/text/Lines.h"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kFrame{40};  // between two pictures, at least

// The last version of the document that was whole, on a display, and what is wrong with the latest
// one.
class WatchedDocument {
public:
    explicit WatchedDocument(const WatchedPreview& options)
        : m_options(options), m_tables(options.profile)
    {
    }

    // Returns whether the display shows the version that is read now.
    bool read()
    {
        const PictureOptions& picture = m_options.picture;
        const char* const kept =
            m_display ? "the picture is that of the version before: " : "there is no picture yet: ";
        try {
            const LintedDocument linted = lintDocument(readFile(m_options.file), m_options.profile,
                                                       {picture.size, picture.origin});
            const bool whole = linted.run.end == DocumentEnd::wellFormed;
            m_messages = whole ? "" : std::string(kept) + "this one is no whole document\n";
            for (const LintFinding& finding : linted.findings) {
                m_messages += lintLine(m_options.file, finding);
            }
            if (whole) {
                m_display.emplace(m_tables, picture.size, picture.origin);
                m_display->run(linted.run.bytes);
            }
            return whole;
        } catch (const std::runtime_error& error) {
            m_messages = kept + printable(error.what()) + "\n";
            return false;
        }
    }

    // Nothing if no version has been whole.
    std::optional<VirtualDisplay>& display() { return m_display; }
    const std::string& messages() const { return m_messages; }

private:
    const WatchedPreview& m_options;
    const ProfileTables m_tables;
    std::optional<VirtualDisplay> m_display;
    std::string m_messages;
};

// A text in lines of so many columns, broken at blanks where there are any.
std::vector<std::string> wrapped(std::string_view text, int columns)
{
    std::vector<std::string> lines;
    for (const std::string& line : linesOf(text)) {
        std::string_view rest = line;
        do {
            std::string part = clipped(rest, columns);
            const std::size_t blank = part.rfind(' ');
            if (part.size() < rest.size() && blank != std::string::npos) {
                part.resize(blank + 1);
            }
            rest.remove_prefix(part.size());
            lines.push_back(std::move(part));
        } while (!rest.empty());
    }
    return lines;
}

// What a window shows: a frame, which may be empty, and a text below it. What does not fit is told.
std::vector<std::string> arranged(std::vector<std::string> frame, int columns, std::string text,
                                  WindowSize window)
{
    const std::ptrdiff_t rows = std::ssize(frame) + 1;
    if (columns > window.columns || rows > window.rows) {
        text = "this window is too small: it has " + std::to_string(window.columns) + " x " +
               std::to_string(window.rows) + " characters, the display needs " +
               std::to_string(columns) + " x " + std::to_string(rows) + "\n" + text;
        frame.clear();
    }
    std::vector<std::string> below = wrapped(text, window.columns);
    const std::size_t room = static_cast<std::size_t>(window.rows) - frame.size();
    if (below.size() > room) {
        const std::size_t hidden = below.size() - (room - 1);
        below.resize(room - 1);
        below.push_back(
            clipped("... and " + counted(hidden, "more line") + ": make this window larger",
                    window.columns));
    }
    frame.insert(frame.end(), below.begin(), below.end());
    return frame;
}

class WatchWindow {
public:
    explicit WatchWindow(const WatchedPreview& options)
        : m_options(options), m_document(options), m_watch({options.file})
    {
        read();
    }

    void run()
    {
        for (;;) {
            writeFile("-", m_window.redraw(picture()));
            switch (m_watch.wait(m_signals, STDIN_FILENO, m_next)) {
            case FileWatch::Event::changed:
                read();
                break;
            case FileWatch::Event::input:
                if (Window::asksToEnd()) {
                    return;
                }
                break;
            case FileWatch::Event::signal:
                if (m_signals.take() != SIGWINCH) {
                    return;
                }
                m_window.forget();
                break;
            case FileWatch::Event::timeout:
                break;
            }
        }
    }

private:
    void read()
    {
        if (m_document.read()) {
            m_start = Clock::now();
            m_time = 0;
        }
    }

    // Also sets when it changes by itself.
    std::vector<std::string> picture()
    {
        const PictureOptions& options = m_options.picture;
        std::vector<std::string> frame;
        std::string text;
        int columns = 0;
        m_next.reset();
        if (std::optional<VirtualDisplay>& display = m_document.display()) {
            const Milliseconds now =
                std::chrono::duration_cast<milliseconds>(Clock::now() - m_start).count();
            display->advance(now - m_time);
            m_time = now;
            const Screen screen = display->screen(options.clockAfter(now));
            if (const auto change = display->nextChange()) {
                m_next = std::max(kFrame, milliseconds(*change));
            }
            frame = linesOf(drawText(screen, Highlight::sgr, options.frame(), options.origin));
            columns = screen.size.columns + 2;
            while (std::ssize(frame) > screen.size.lines + 2) {  // settings, the marquee's text
                text.insert(0, frame.back() + "\n");
                frame.pop_back();
            }
        }
        text += m_document.messages() + printable(m_options.file) + " is watched; q ends\n";
        return arranged(std::move(frame), columns, std::move(text), windowSize());
    }

    const WatchedPreview& m_options;
    Signals m_signals{SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGWINCH};
    WatchedDocument m_document;
    FileWatch m_watch;
    Window m_window;
    // Since the display got its document.
    Clock::time_point m_start;
    Milliseconds m_time = 0;             // that it has been told
    std::optional<milliseconds> m_next;  // until it changes
};

[[noreturn]] void printAtChanges(const WatchedPreview& options)
{
    const Signals signals({});
    WatchedDocument document(options);
    FileWatch watch({options.file});
    for (;;) {
        const bool isNew = document.read();
        std::cerr << (isNew ? "" : "kestrix-disp: ") << document.messages();
        if (isNew) {
            const PictureOptions& picture = options.picture;
            const Screen screen = document.display()->stillScreen(picture.clockAfter(0));
            writeFile("-", drawText(screen, options.sgr ? Highlight::sgr : Highlight::none,
                                    picture.frame(), picture.origin));
        }
        while (watch.wait(signals) != FileWatch::Event::changed) {
        }
    }
}

}  // namespace

int watchPreview(const WatchedPreview& options)
{
    requireWatchable(options.file);  // a wrong name would be waited for
    if (!ownsTerminal()) {
        printAtChanges(options);
    }
    WatchWindow(options).run();
    return kDone;
}

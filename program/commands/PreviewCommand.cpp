// kestrix-disp preview: what a display shows after a document or a command stream.
#include "program/commands/Commands.h"
#include "program/commands/Files.h"
#include "program/commands/LivePicture.h"
#include "program/commands/PictureOptions.h"
#include "program/commands/PreviewWatch.h"
#include "program/commands/StreamInput.h"
#include "program/display/PngDrawing.h"
#include "program/display/SvgDrawing.h"
#include "program/display/TerminalDrawing.h"
#include "program/display/VirtualDisplay.h"
#include "program/emulate/Window.h"

#include <CLI/CLI.hpp>

#include <chrono>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct Options {
    StreamInput input;
    PictureOptions picture;
    std::optional<double> at;  // seconds
    bool sgr = false;
    bool watch = false;
    std::string svg;
    std::string png;
};

std::vector<std::string> outputsOf(const Options& options)
{
    std::vector<std::string> outputs{options.svg, options.png};
    std::erase(outputs, "");
    return outputs.empty() ? std::vector<std::string>{"-"} : outputs;
}

// Carries out raw bytes as they come, and draws the display each time that it changes if `live`.
void showAsItComes(const Options& options, VirtualDisplay& display, bool live)
{
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds kFrame{40};  // between two pictures, at least
    LivePicture picture(options.picture);
    Clock::time_point next;
    PieceReader reader;
    const auto show = [&] {
        for (StreamItem item; reader.next(item);) {
            display.take(item);
        }
    };
    followFile(options.input.file, [&](std::string_view piece) {
        reader.feed(byteSpan(piece));
        show();
        if (live && Clock::now() >= next) {
            picture.draw(display.stillScreen(options.picture.clockAfter(0)));
            next = Clock::now() + kFrame;
            return -1;
        }
        return live ? static_cast<int>(kFrame.count()) : -1;
    });
    picture.erase();
    reader.finish();
    show();
}

int preview(const Options& options)
{
    if (options.watch) {
        return watchPreview(
            {options.input.file, options.input.profile, options.picture, options.sgr});
    }
    std::vector<std::string> inputs = profileFiles(options.input.profile);
    inputs.push_back(options.input.file);
    requireSeparate(inputs, outputsOf(options));
    const bool toPerson =
        options.svg.empty() && options.png.empty() && writesToPerson() && !isDumbTerminal();
    // What is raw is followed while it comes.
    const CommandBytes stream = options.input.raw ? CommandBytes() : options.input.readStream();
    const ProfileTables tables = readTables(options.input.profile);
    VirtualDisplay display(tables, options.picture.size, options.picture.origin);
    if (options.input.raw) {
        showAsItComes(options, display, toPerson);
    }
    display.run(byteSpan(stream.bytes));
    tellIgnored(display.ignored());
    const Milliseconds at = std::llround(options.at.value_or(0) * 1000);
    display.advance(at);
    const std::string clock = options.picture.clockAfter(at);
    const Screen screen = options.at ? display.screen(clock) : display.stillScreen(clock);
    if (!options.svg.empty()) {
        writeFile(options.svg, drawSvg(screen));
    }
    if (!options.png.empty()) {
        writeFile(options.png, drawPng(screen));
    }
    if (options.svg.empty() && options.png.empty()) {
        const bool sgr = options.sgr || toPerson;
        writeFile("-", drawText(screen, sgr ? Highlight::sgr : Highlight::none,
                                options.picture.frame(), options.picture.origin));
    }
    return stream.whole ? kDone : kWrongInput;
}

}  // namespace

Command previewCommand(CLI::App& program)
{
    const auto options = std::make_shared<Options>();
    CLI::App* const arguments = program.add_subcommand(
        "preview", "Shows what a document or command stream leaves on a display: in the terminal, "
                   "or as a picture");
    options->input.addTo(*arguments);
    options->picture.addTo(*arguments);
    arguments
        ->add_option("--at", options->at,
                     "Show the display so many seconds after the last byte, with marquee and blink "
                     "as they are then; without it the start of a marquee's text, and lit")
        ->check(checkSeconds)
        ->type_name("SECONDS");
    arguments->add_flag(
        "--sgr", options->sgr,
        "Mark reverse and cursor by control sequences even if the output is no terminal");
    arguments
        ->add_option(
            "--svg", options->svg,
            "Write an SVG picture, with marquee and blink moving; \"-\" is the standard output")
        ->type_name("FILE");
    arguments
        ->add_option("--png", options->png, "Write a PNG picture; \"-\" is the standard output")
        ->type_name("FILE");
    CLI::Option* const watch = arguments->add_flag(
        "--watch", options->watch,
        "FILE is a document: show it again at each change of it, with what lint finds, until q or "
        "Ctrl-C");
    for (const char* const other : {"--hex", "--raw", "--at", "--svg", "--png"}) {
        watch->excludes(arguments->get_option(other));
    }
    arguments->callback([options] {
        if (options->watch && options->input.file == "-") {
            throw CLI::ValidationError("--watch", "the standard input cannot be watched");
        }
    });
    return {arguments, [options] { return preview(*options); }};
}

// kestrix-disp preview: what a display shows after a document or a command stream.
#include "program/commands/Commands.h"
#include "program/commands/Files.h"
#include "program/commands/LintOptions.h"
#include "program/commands/StreamInput.h"
#include "program/display/PngDrawing.h"
#include "program/display/SvgDrawing.h"
#include "program/display/TerminalDrawing.h"
#include "program/display/VirtualDisplay.h"

#include <CLI/CLI.hpp>

#include <ctime>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <langinfo.h>
#include <locale.h>

namespace {

struct Options {
    StreamInput input;
    Size size;
    int origin = 1;
    std::string time;
    bool sgr = false;
    bool ascii = false;
    std::string svg;
    std::string png;
};

// Whether the user's locale has UTF-8. One that is not installed counts as the locale C.
bool localeHasUtf8()
{
    const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr) {
        return false;
    }
    const bool utf8 = std::string_view(nl_langinfo_l(CODESET, locale)) == "UTF-8";
    freelocale(locale);
    return utf8;
}

std::string localTime()
{
    const std::time_t now = std::time(nullptr);
    std::tm fields{};
    char text[16];
    return (localtime_r(&now, &fields) != nullptr) &&
                   std::strftime(text, sizeof text, "%H:%M", &fields) != 0
               ? text
               : "00:00";
}

// "" for a time of the form HH:MM, else a message.
std::string checkTime(const std::string& time)
{
    const auto number = [&](std::size_t at) { return (time[at] - '0') * 10 + time[at + 1] - '0'; };
    const bool valid = time.size() == 5 && time[2] == ':' &&
                       time.find_first_not_of("0123456789:") == std::string::npos &&
                       time.rfind(':') == 2 && time.find(':') == 2 && number(0) < 24 &&
                       number(3) < 60;
    return valid ? "" : "a time is HH:MM, not " + time;
}

std::vector<std::string> outputsOf(const Options& options)
{
    std::vector<std::string> outputs{options.svg, options.png};
    std::erase(outputs, "");
    return outputs.empty() ? std::vector<std::string>{"-"} : outputs;
}

int preview(const Options& options)
{
    std::vector<std::string> inputs = profileFiles(options.input.profile);
    inputs.push_back(options.input.file);
    requireSeparate(inputs, outputsOf(options));
    const CommandBytes stream = options.input.readStream();
    const ProfileTables tables = options.input.readTables();
    VirtualDisplay display(tables, options.size, options.origin);
    display.run(byteSpan(stream.bytes));
    if (const std::size_t count = display.ignored().size(); count != 0) {
        std::cerr << "kestrix-disp: without effect on this display: " << count
                  << (count == 1 ? " command" : " commands") << ", the first at offset " << std::hex
                  << display.ignored().front() << " (hex); explain says what it is\n";
    }

    const Screen screen = display.screen(options.time.empty() ? localTime() : options.time);
    if (!options.svg.empty()) {
        writeFile(options.svg, drawSvg(screen));
    }
    if (!options.png.empty()) {
        writeFile(options.png, drawPng(screen));
    }
    if (options.svg.empty() && options.png.empty()) {
        const bool sgr = options.sgr || writesToPerson();
        const bool ascii = options.ascii || !localeHasUtf8();
        writeFile("-", drawText(screen, sgr ? Highlight::sgr : Highlight::none,
                                ascii ? Frame::ascii : Frame::lines, options.origin));
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
    addDisplayOptions(*arguments, options->size, options->origin);
    arguments
        ->add_option("--clock", options->time,
                     "Time that the clock shows; the local time if not given")
        ->check(checkTime)
        ->type_name("HH:MM");
    arguments->add_flag(
        "--sgr", options->sgr,
        "Mark reverse and cursor by control sequences even if the output is no terminal");
    arguments->add_flag("--ascii", options->ascii,
                        "Draw the frame in ASCII, as in a locale without UTF-8");
    arguments
        ->add_option(
            "--svg", options->svg,
            "Write an SVG picture, with marquee and blink moving; \"-\" is the standard output")
        ->type_name("FILE");
    arguments
        ->add_option("--png", options->png, "Write a PNG picture; \"-\" is the standard output")
        ->type_name("FILE");
    return {arguments, [options] { return preview(*options); }};
}

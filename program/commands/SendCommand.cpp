// kestrix-disp send: documents or command streams, through a serial port to the display.
#include "program/commands/Commands.h"
#include "program/commands/Files.h"
#include "program/commands/LintOptions.h"
#include "program/commands/StreamInput.h"
#include "program/port/FileWatch.h"
#include "program/port/PortList.h"
#include "program/port/SerialPort.h"
#include "program/text/CharacterText.h"
#include "program/text/Counted.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

struct Options {
    std::vector<std::string> files;
    std::string port;
    int speed = 9600;
    std::string parity = "none";
    int dataBits = 8;
    int stopBits = 1;
    std::string flow = "none";
    // Longer than a display takes for any command, or for its test after power-on; short enough for
    // somebody who waits.
    int timeout = 10;
    LintOptions lint;
    bool stream = false;
    bool watch = false;
    bool list = false;
};

int list()
{
    std::string text;
    for (const ListedPort& port : listPorts()) {
        text += port.path + (port.words.empty() ? "" : "  " + port.words) + "\n";
    }
    if (text.empty()) {
        std::cerr << "kestrix-disp: this machine has no serial port; is the adapter plugged in?\n";
    }
    writeFile("-", text);
    return kDone;
}

// What is sent for a file; nothing if the file is wrong, which is told.
std::optional<std::string> bytesOf(const std::string& file, const Options& options)
{
    try {
        if (options.stream) {
            std::string bytes = readFile(file);
            if (isDocument(bytes)) {
                std::cerr << "kestrix-disp: " << printable(file)
                          << " looks like a document and is sent as it is; without --stream it is "
                             "rendered\n";
            }
            return bytes;
        }
        RenderedDocument document = renderTold(file, options.lint);
        if (document.whole && document.allowed) {
            return std::move(document.bytes);
        }
        std::cerr << "kestrix-disp: " << printable(file)
                  << (document.allowed ? " is no whole document; --stream sends bytes as they are\n"
                                       : " has an error or warning, and --strict allows none\n");
    } catch (const std::runtime_error& error) {
        std::cerr << "kestrix-disp: " << printable(error.what()) << "\n";
    }
    return std::nullopt;
}

// The bytes of all files; nothing if one is wrong, which is told.
std::optional<std::string> bytesOfAll(const Options& options)
{
    std::string all;
    bool wrong = false;
    for (const std::string& file : options.files) {
        const std::optional<std::string> bytes = bytesOf(file, options);
        wrong = wrong || !bytes;
        all += bytes.value_or("");
    }
    if (wrong) {
        std::cerr << "kestrix-disp: nothing is sent\n";
        return std::nullopt;
    }
    return all;
}

LineSettings lineOf(const Options& options)
{
    using Parity = LineSettings::Parity;
    using Flow = LineSettings::Flow;
    return {options.speed,
            options.parity == "odd"    ? Parity::odd
            : options.parity == "even" ? Parity::even
                                       : Parity::none,
            options.dataBits, options.stopBits,
            options.flow == "rtscts"    ? Flow::rtscts
            : options.flow == "xonxoff" ? Flow::xonxoff
                                        : Flow::none};
}

int sendOnce(const Options& options)
{
    const std::optional<std::string> bytes = bytesOfAll(options);
    if (!bytes) {
        return kWrongInput;
    }
    const Signals signals(kEndSignals);
    SerialPort port(options.port, lineOf(options));
    port.send(*bytes, std::chrono::seconds(options.timeout), signals);
    return kDone;
}

int sendAtChanges(const Options& options)
{
    for (const std::string& file : options.files) {
        requireWatchable(file);  // a wrong name would be waited for
    }
    const Signals signals(kEndSignals);
    SerialPort port(options.port, lineOf(options));
    FileWatch watch(options.files);
    do {
        if (const std::optional<std::string> bytes = bytesOfAll(options)) {
            port.send(*bytes, std::chrono::seconds(options.timeout), signals);
            std::cerr << "kestrix-disp: " << counted(bytes->size(), "byte") << " sent\n";
        }
    } while (watch.wait(signals) != FileWatch::Event::signal);
    signals.take();
    return kDone;
}

int send(const Options& options)
{
    if (options.list) {
        return list();
    }
    return options.watch ? sendAtChanges(options) : sendOnce(options);
}

std::string checkSpeed(const std::string& text)
{
    int speed = 0;
    return CLI::detail::lexical_cast(text, speed) && isSpeed(speed)
               ? ""
               : "ports have no speed " + printable(text) + ", but " + speedList();
}

// An option whose value is one of a few, without the text that CLI11 would add to the help.
template <class Value>
void addChoice(CLI::App& arguments, const std::string& name, Value& value,
               const std::vector<Value>& choices, const std::string& type, const std::string& words)
{
    arguments.add_option(name, value, words)
        ->check(CLI::IsMember(choices).description(""))
        ->type_name(type)
        ->capture_default_str();
}

void addLineOptions(CLI::App& arguments, Options& options)
{
    constexpr int kLongest = 24 * 60 * 60;
    arguments.add_option("--speed", options.speed, "Bits a second")
        ->check(checkSpeed)
        ->type_name("N")
        ->capture_default_str();
    addChoice<std::string>(arguments, "--parity", options.parity, {"none", "odd", "even"}, "PARITY",
                           "none, odd or even");
    addChoice(arguments, "--data-bits", options.dataBits, {7, 8}, "N", "7 or 8");
    addChoice(arguments, "--stop-bits", options.stopBits, {1, 2}, "N", "1 or 2");
    addChoice<std::string>(
        arguments, "--flow", options.flow, {"none", "rtscts", "xonxoff"}, "FLOW",
        "How the display stops the bytes when it cannot keep up: none, rtscts or xonxoff");
    arguments
        .add_option("--timeout", options.timeout,
                    "Seconds in which at least one byte must leave, else it ends")
        ->check(CLI::Range(1, kLongest).description(""))
        ->type_name("SECONDS")
        ->capture_default_str();
}

}  // namespace

Command sendCommand(CLI::App& program)
{
    const auto options = std::make_shared<Options>();
    CLI::App* const arguments = program.add_subcommand(
        "send", "Sends documents through a serial port to the display: all of them, or nothing if "
                "one is wrong");
    CLI::Option* const files =
        arguments->add_option("FILE", options->files, "Documents; \"-\" is the standard input")
            ->type_name("");
    CLI::Option* const port =
        arguments->add_option("--port", options->port, "The serial port, such as /dev/ttyUSB0")
            ->type_name("PORT");
    addLineOptions(*arguments, *options);
    arguments->add_flag("--stream", options->stream,
                        "Each FILE is raw bytes, which are sent as they are");
    CLI::Option* const watch = arguments->add_flag(
        "--watch", options->watch, "Send all again at each change of a FILE, until Ctrl-C");
    options->lint.addTo(*arguments, "Send nothing if lint finds an error or warning");
    arguments->add_flag("--quiet", options->lint.quiet, "Do not say what lint finds");
    CLI::Option* const list = arguments->add_flag(
        "--list", options->list, "Lists the serial ports of this machine, and does nothing else");
    arguments->callback([=] {
        for (const CLI::Option* const needed : {files, port}) {
            if (list->count() == 0 && needed->count() == 0) {
                throw CLI::RequiredError(needed->get_name());
            }
        }
        if (watch->count() != 0 && std::ranges::count(options->files, "-") != 0) {
            throw CLI::ValidationError("--watch", "the standard input cannot be watched");
        }
    });
    return {arguments, [options] { return send(*options); }};
}

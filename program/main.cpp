// kestrix-disp: the command line program of the library.
#include "program/commands/Commands.h"
#include "program/commands/Files.h"
#include "program/text/CharacterText.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <iostream>
#include <new>
#include <sstream>
#include <vector>

namespace {

constexpr Command (*kCommands[])(CLI::App&) = {
    renderCommand, explainCommand,    previewCommand, whichCommand, checkCommand,
    lintCommand,   newProfileCommand, emulateCommand, sendCommand,
};

bool noneParsed(const std::vector<Command>& commands)
{
    return std::ranges::none_of(commands,
                                [](const Command& command) { return command.arguments->parsed(); });
}

int run(int argc, char** argv)
{
    CLI::App program("Display documents and command streams of Kestrix displays.", "kestrix-disp");
    program.require_subcommand(1);
    program.set_version_flag("--version", "kestrix-disp " KESTRIX_VERSION);
    program.failure_message([](const CLI::App*, const CLI::Error& error) {
        return "kestrix-disp: " + printable(error.what()) +
               "\nRun with --help for more information.\n";
    });
    std::vector<Command> commands;
    for (const auto makeCommand : kCommands) {
        commands.push_back(makeCommand(program));
    }
    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (const auto unknown = program.remaining(); !unknown.empty() && noneParsed(commands)) {
            std::cerr << "kestrix-disp: there is no command \"" << printable(unknown.front())
                      << "\"; --help lists the commands\n";
            return kUsage;
        }
        std::ostringstream help;
        const int status = program.exit(error, help, std::cerr);
        writeFile("-", help.str());
        return status == 0 ? kDone : kUsage;  // 0: help was asked for
    }
    for (const Command& command : commands) {
        if (command.arguments->parsed()) {
            return command.run();
        }
    }
    return kUsage;
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::bad_alloc&) {
        std::cerr << "kestrix-disp: memory is exhausted\n";
        return kWrongInput;
    } catch (const std::exception& error) {
        std::cerr << "kestrix-disp: " << printable(error.what()) << "\n";
        return kWrongInput;
    }
}

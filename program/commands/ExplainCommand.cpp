// kestrix-disp explain: a command stream in words.
#include "program/commands/Commands.h"
#include "program/commands/Files.h"
#include "program/commands/StreamInput.h"
#include "program/stream/Explanation.h"

#include <CLI/CLI.hpp>

#include <memory>

Command explainCommand(CLI::App& program)
{
    const auto input = std::make_shared<StreamInput>();
    CLI::App* const arguments = program.add_subcommand(
        "explain", "Says what a command stream does, one line for each command and text");
    input->addTo(*arguments);
    return {arguments, [input] {
                const CommandBytes stream = input->readStream();
                explainStream(byteSpan(stream.bytes), input->readTables(),
                              [](std::string_view text) { writeFile("-", text); });
                return stream.whole ? kDone : kWrongInput;
            }};
}

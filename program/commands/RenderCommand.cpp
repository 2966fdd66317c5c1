// kestrix-disp render: a document's display commands, raw or as a hex dump.
#include "program/commands/Commands.h"
#include "program/commands/Files.h"
#include "program/commands/LintOptions.h"
#include "program/text/HexText.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <string>
#include <vector>

namespace {

struct Options {
    std::string document;
    std::string output = "-";
    LintOptions lint;
    bool hex = false;
    bool raw = false;
};

int render(const Options& options)
{
    std::vector<std::string> inputs = profileFiles(options.lint.profile);
    inputs.push_back(options.document);
    requireSeparate(inputs, {options.output});
    const RenderedDocument document = renderTold(options.document, options.lint);
    if (!document.allowed) {
        std::cerr << "kestrix-disp: nothing is written, as --strict allows no error or warning\n";
        return kWrongInput;
    }
    const bool toPerson = options.output == "-" && writesToPerson();
    const bool hex = options.hex || (toPerson && !options.raw);
    writeFile(options.output, hex ? hexDump(document.bytes) : document.bytes);
    return document.whole ? kDone : kWrongInput;
}

}  // namespace

Command renderCommand(CLI::App& program)
{
    const auto options = std::make_shared<Options>();
    CLI::App* const arguments = program.add_subcommand(
        "render", "Writes the display commands of a document: raw bytes to a pipe, file or port, "
                  "a hex dump to the terminal that you work at");
    arguments->add_option("FILE", options->document, "The document; \"-\" is the standard input")
        ->required()
        ->type_name("");
    options->lint.addTo(*arguments, "Write nothing if lint finds anything but notes");
    arguments->add_flag("--quiet", options->lint.quiet,
                        "Do not say what lint finds; notes are never told");
    CLI::Option* const hex = arguments->add_flag("--hex", options->hex, "Write a hex dump");
    arguments->add_flag("--raw", options->raw, "Write raw bytes")->excludes(hex);
    arguments->add_option("-o,--output", options->output, "Where to write")->type_name("FILE");
    return {arguments, [options] { return render(*options); }};
}

#include "program/commands/LintOptions.h"

#include "program/commands/Files.h"
#include "program/commands/StreamInput.h"
#include "program/stream/Rendering.h"
#include "program/text/CharacterText.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>

namespace {

constexpr int kMaxSize = 255;  // a position in a command is one byte

// A range check without the text that CLI11 would add to the help.
CLI::Validator within(int least, int most)
{
    return CLI::Range(least, most).description("");
}

}  // namespace

void addDisplayOptions(CLI::App& arguments, Size& size, int& origin)
{
    arguments.add_option("--columns", size.columns, "Characters in a line, 1 to 255")
        ->check(within(1, kMaxSize))
        ->type_name("N")
        ->capture_default_str();
    arguments.add_option("--rows", size.lines, "Lines of the display, 1 to 255")
        ->check(within(1, kMaxSize))
        ->type_name("N")
        ->capture_default_str();
    arguments.add_option("--origin", origin, "Number of the first column and line, 0 or 1")
        ->check(within(0, 1))
        ->type_name("N")
        ->capture_default_str();
}

void LintOptions::addTo(CLI::App& arguments, const std::string& strictWords)
{
    profile.addTo(arguments);
    addDisplayOptions(arguments, display.size, display.origin);
    arguments.add_flag("--strict", strict, strictWords);
}

bool LintOptions::fails(const std::vector<LintFinding>& findings) const
{
    return std::ranges::any_of(findings, [this](const LintFinding& finding) {
        return rowOf(finding.rule).level >= (strict ? Level::warning : Level::error);
    });
}

std::string lintLine(const std::string& file, const LintFinding& finding)
{
    const RuleRow& row = rowOf(finding.rule);
    return printable(file) + (finding.line == 0 ? "" : ":" + std::to_string(finding.line)) + ": " +
           std::string(nameOf(row.level)) + ": " + finding.message + " [" + std::string(row.name) +
           "]\n";
}

RenderedDocument renderTold(const std::string& file, const LintOptions& options)
{
    const std::string document = readFile(file);
    LintedDocument linted;
    if (options.quiet && !options.strict) {
        KestrixDispEngine engine;
        linted.run = carryOut(engine, document, options.profile);
    } else {
        linted = lintDocument(document, options.profile, options.display);
    }
    for (const LintFinding& finding : linted.findings) {
        if (!options.quiet && rowOf(finding.rule).level != Level::note) {
            std::cerr << lintLine(file, finding);
        }
    }
    const bool whole = linted.run.end == DocumentEnd::wellFormed;
    const bool allowed = !options.strict || !options.fails(linted.findings);
    if (!whole && allowed) {
        tellIfNoDocument(document);
    }
    return {std::string(linted.run.bytes.begin(), linted.run.bytes.end()), whole, allowed};
}

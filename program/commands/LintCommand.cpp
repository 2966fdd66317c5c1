// kestrix-disp lint: what documents lose, line by line.
#include "program/commands/Commands.h"
#include "program/commands/Files.h"
#include "program/commands/LintOptions.h"
#include "program/text/CharacterText.h"
#include "program/text/Counted.h"

#include <CLI/CLI.hpp>
#include <unicode/unistr.h>

#include <cstdio>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace {

struct Options {
    LintOptions lint;
    std::vector<std::string> files;
    std::string format = "text";
    bool rules = false;
};

// A string of JSON (RFC 8259). What is no UTF-8 becomes U+FFFD.
std::string json(std::string_view text)
{
    std::string valid;
    icu::UnicodeString::fromUTF8({text.data(), static_cast<std::int32_t>(text.size())})
        .toUTF8String(valid);
    std::string result = "\"";
    for (const char c : valid) {
        if (c == '"' || c == '\\') {
            result += '\\';
            result += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x",
                          unsigned{static_cast<unsigned char>(c)});
            result += escaped;
        } else {
            result += c;
        }
    }
    return result + "\"";
}

std::string jsonLine(const std::string& file, const LintFinding& finding)
{
    const RuleRow& row = rowOf(finding.rule);
    return "{\"file\": " + json(file) + ", \"line\": " + std::to_string(finding.line) +
           ", \"rule\": " + json(row.name) + ", \"level\": " + json(nameOf(row.level)) +
           ", \"message\": " + json(finding.message) + "}\n";
}

std::string ruleTable()
{
    std::ostringstream text;
    for (const RuleRow& row : kRules) {
        text << std::left << std::setw(18) << row.name << " " << std::setw(7) << nameOf(row.level)
             << "  " << row.words << "\n";
    }
    return text.str();
}

std::vector<LintFinding> findingsOf(const std::string& file, const LintOptions& options)
{
    std::string document;
    try {
        document = readFile(file);
    } catch (const std::runtime_error& error) {
        return {{0, Rule::file, printable(error.what())}};
    }
    return lintDocument(document, options.profile, options.display).findings;
}

int lint(const Options& options)
{
    if (options.rules) {
        writeFile("-", ruleTable());
        return kDone;
    }
    std::string text;
    std::map<Level, std::size_t> count;
    bool failed = false;
    for (const std::string& file : options.files) {
        const std::vector<LintFinding> findings = findingsOf(file, options.lint);
        failed = options.lint.fails(findings) || failed;
        for (const LintFinding& finding : findings) {
            ++count[rowOf(finding.rule).level];
            text += options.format == "json" ? jsonLine(file, finding) : lintLine(file, finding);
        }
    }
    if (!options.lint.quiet) {
        if (options.format == "text" && writesToPerson()) {
            text += counted(options.files.size(), "file") + ", " +
                    counted(count[Level::error], "error") + ", " +
                    counted(count[Level::warning], "warning") + ", " +
                    counted(count[Level::note], "note") + "\n";
        }
        writeFile("-", text);
    }
    return failed ? kWrongInput : kDone;
}

}  // namespace

Command lintCommand(CLI::App& program)
{
    const auto options = std::make_shared<Options>();
    CLI::App* const arguments = program.add_subcommand(
        "lint", "Says what documents lose: what the library does not understand and what the "
                "display does not show, line by line");
    CLI::Option* const files =
        arguments->add_option("FILE", options->files, "Documents; \"-\" is the standard input")
            ->type_name("");
    options->lint.addTo(*arguments, "Warnings count as errors");
    arguments->add_flag("--quiet", options->lint.quiet, "Write nothing: the exit status tells");
    arguments->add_option("--format", options->format, "text, or json: an object a line")
        ->check(CLI::IsMember({"text", "json"}).description(""))
        ->type_name("FORMAT")
        ->capture_default_str();
    CLI::Option* const rules =
        arguments->add_flag("--rules", options->rules, "Lists the rules, and does nothing else");
    arguments->callback([files, rules] {
        if (files->count() == 0 && rules->count() == 0) {
            throw CLI::RequiredError("FILE");
        }
    });
    return {arguments, [options] { return lint(*options); }};
}

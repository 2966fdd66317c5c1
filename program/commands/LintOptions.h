// The options of the commands that judge documents.
#pragma once

#include "program/lint/DocumentLint.h"

#include <string>
#include <vector>

namespace CLI {
class App;
}

struct LintOptions {
    ProfileOptions profile;
    LintDisplay display;
    bool strict = false;  // warnings count as errors
    bool quiet = false;

    // Adds all but --quiet; `strictWords` says what --strict does.
    void addTo(CLI::App& arguments, const std::string& strictWords);

    // Whether one of the findings counts as an error; a note never does.
    bool fails(const std::vector<LintFinding>& findings) const;
};

// "FILE:7: error: text [rule]", and a line feed.
std::string lintLine(const std::string& file, const LintFinding& finding);

// What is written or sent of a document.
struct RenderedDocument {
    std::string bytes;
    bool whole = true;    // false: of the part before its damage
    bool allowed = true;  // false: --strict forbids to use the bytes
};

// Renders a file, and says on the standard error what lint finds. Throws std::runtime_error.
RenderedDocument renderTold(const std::string& file, const LintOptions& options);

// Adds --columns, --rows and --origin.
void addDisplayOptions(CLI::App& arguments, Size& size, int& origin);

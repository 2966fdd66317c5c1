// Finds what a display document loses: on its way through the library, and on the display.
#pragma once

#include "engine/DocumentRun.h"
#include "program/display/Screen.h"
#include "program/lint/Rules.h"
#include "program/profile/ProfileOptions.h"
#include "program/profile/ProfileTables.h"

#include <string>
#include <vector>

struct LintFinding {
    unsigned long line = 0;  // 0: of the file as a whole
    Rule rule = Rule::file;
    std::string message;
};

struct LintDisplay {
    Size size;
    int origin = 1;  // the number of the first column and line
};

struct LintedDocument {
    DocumentRun run;
    std::vector<LintFinding> findings;  // by line
};

// Carries out the document and judges it. Throws std::runtime_error if the profile cannot be
// opened, and std::bad_alloc.
LintedDocument lintDocument(const std::string& document, const ProfileOptions& profile,
                            const LintDisplay& display);

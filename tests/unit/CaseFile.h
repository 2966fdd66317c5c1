// Reader of the files in tests/cases: rows of a test that need no C++ to read.
//
//     # catches: the fault that the row is there for
//     case      name, used once; where there is none, the fault is the name
//     document  <clear/>         one keyword and its value a line
//     out       0C
//
// A line that begins with "# catches:" begins a case; any other line that begins with "#" is a
// comment.
#pragma once

#include <string>
#include <string_view>
#include <vector>

struct CaseLine {
    int number;
    std::string keyword;
    std::string value;
};

struct Case {
    int number;  // of its first line
    std::string name;
    std::vector<CaseLine> lines;
};

// Reads a file of tests/cases. Throws std::runtime_error if it holds no case, or, with the line, if
// it does not have the form above.
std::vector<Case> readCases(const std::string& fileName);

// Expands the text of a case: "{E4 00}" becomes these bytes, "{A*300}" 300 times A. Throws
// std::invalid_argument if it is of another form.
std::string expandText(std::string_view text);

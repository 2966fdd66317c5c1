// Reader of the files in tests/cases: rows of a test that need no C++ to read.
//
//     # catches: the fault that the row is there for
//     case      name, used once; where there is none, the fault is the name
//     document  <clear/>         one keyword and its value a line
//     out       0C
//
// A line that begins with "#" is a comment, but the one that begins with "# catches:" begins a
// case.
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

// Reads a file of tests/cases. Throws std::runtime_error with the line where it is not of the form
// above, and where it holds no case.
std::vector<Case> readCases(const std::string& fileName);

// Text of a case with what a line cannot hold: "{E4 00}" is these bytes, "{A*300}" 300 times A.
// Throws std::invalid_argument.
std::string expandText(std::string_view text);

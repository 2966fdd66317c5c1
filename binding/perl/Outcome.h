// What can go wrong in a call, as plain data, and how it is told to the script.
#pragma once

#include "binding/perl/PerlInterface.h"

enum class Problem {
    none,
    argumentCount,
    wrongType,
    outOfRange,
    nullReference,
    outOfMemory,
    unexpected,
};

struct Outcome {
    Problem problem = Problem::none;
    int argument = 0;            // counted from 1; 0 if the problem is not one argument's
    const char* type = nullptr;  // of that argument
};

// The kind of failure, with which every message begins.
const char* kindOf(Problem problem);

// Dies with exactly the message, which ends in a line feed. Takes the scalar over.
[[noreturn]] void dieWith(pTHX_ SV* message);

// Dies with the message for outcome, which is not Problem::none.
//
// function    its name without package
// parameters  their names, separated by commas
[[noreturn]] void raise(pTHX_ const char* function, const char* parameters, const Outcome& outcome);

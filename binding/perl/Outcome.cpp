#include "binding/perl/Outcome.h"

const char* kindOf(Problem problem)
{
    switch (problem) {
    case Problem::wrongType:
        return "TypeError";
    case Problem::outOfRange:
        return "OverflowError";
    case Problem::nullReference:
        return "ValueError";
    case Problem::outOfMemory:
        return "MemoryError";
    case Problem::none:
    case Problem::argumentCount:
    case Problem::unexpected:
        break;
    }
    return "RuntimeError";
}

void dieWith(pTHX_ SV* message)
{
    // A __DIE__ handler finds it in both places.
    sv_setsv(ERRSV, message);
    croak_sv(sv_2mortal(message));
}

void raise(pTHX_ const char* function, const char* parameters, const Outcome& outcome)
{
    const char* const kind = kindOf(outcome.problem);
    SV* message = nullptr;
    if (outcome.problem == Problem::argumentCount) {
        message = Perl_newSVpvf(aTHX_ "%s Usage: %s(%s);\n", kind, function, parameters);
    } else if (outcome.argument > 0) {
        message = Perl_newSVpvf(
            aTHX_ "%s %sin method '%s', argument %d of type '%s'\n", kind,
            outcome.problem == Problem::nullReference ? "invalid null reference " : "", function,
            outcome.argument, outcome.type);
    } else {
        message = Perl_newSVpvf(aTHX_ "%s in method '%s'\n", kind, function);
    }
    dieWith(aTHX_ message);
}

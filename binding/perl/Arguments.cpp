#include "binding/perl/Arguments.h"

Problem Argument<const char*>::convert(pTHX_ SV* sv, Value& value)
{
    Bytes bytes;
    if (toBytes(aTHX_ sv, bytes) == Problem::none) {
        value = bytes.start;
        return Problem::none;
    }
    return toPointer(aTHX_ sv, value);
}

Problem EngineArgument::convert(pTHX_ SV* sv, Value& value)
{
    SV* const inner = innerPointer(aTHX_ sv);
    if (inner == nullptr || !SvROK(inner)) {
        return Problem::wrongType;
    }
    // A copy: its conversion may run code that changes the reference, or unties the hash.
    value.inner = sv_2mortal(newRV_inc(SvRV(inner)));
    return toPointer(aTHX_ value.inner, value.engine);
}

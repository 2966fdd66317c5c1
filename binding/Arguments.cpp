#include "Arguments.h"

Problem Argument<const char*>::convert(pTHX_ SV* sv, Value& value)
{
    Bytes bytes;
    if (toBytes(aTHX_ sv, bytes) == Problem::none) {
        value = bytes.start;
        return Problem::none;
    }
    const Problem problem = toPointer(aTHX_ sv, value);
    return value == nullptr ? Problem::wrongType : problem;
}

Problem EngineArgument::convert(pTHX_ SV* sv, Value& value)
{
    value.inner = innerPointer(aTHX_ sv);
    return value.inner == nullptr ? Problem::wrongType : toPointer(aTHX_ value.inner, value.engine);
}

// Perl values to numbers and strings. An object is what its operators give; a reference without
// such operators is neither number nor string.
//
// The scalar's get-magic has run. What is converted is unchanged unless the result is none.
#pragma once

#include "binding/perl/Outcome.h"

// A whole number, whatever holds it: an integer, a floating point number, a string that is a number
// as a whole. Integer is short or unsigned long.
//
// returns  none; wrongType: not a number, or not a whole one; outOfRange: a number that Integer
//          cannot hold, infinity included
template <class Integer>
Problem toInteger(pTHX_ SV* sv, Integer& value);

// The bytes of a string as Perl holds them, whatever its UTF-8 flag, followed by a NUL.
struct Bytes {
    const char* start = nullptr;
    STRLEN length = 0;
};

// Any defined scalar has a string. The bytes are a copy that lives to the end of the statement.
//
// returns  none or wrongType
Problem toBytes(pTHX_ SV* sv, Bytes& value);

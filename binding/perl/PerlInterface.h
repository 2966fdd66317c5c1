// Perl's headers, included here only. This header must come after all others: Perl defines macros
// with ordinary names, and standard headers do not compile after them.
//
// croak, and any Perl code that Perl runs for us (FETCH of a tied scalar, an overloaded operator),
// may leave by longjmp. No object with a destructor may be alive then: what is kept across a call
// into Perl is plain data.
#pragma once

#include "engine/KestrixDispEngine.h"
#include "engine/ParserRegistry.h"

#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#define PERL_NO_GET_CONTEXT
#include <EXTERN.h>
#include <perl.h>

#include <XSUB.h>

using HandleMap = std::map<const std::string, short>;

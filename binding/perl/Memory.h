// Memory that scripts make for the converter's functions: wrapped pointers that own what they point
// to, in the classes KestrixDispEngine::Bytes (derived from the wrapped unsigned char *) and
// KestrixDispEngine::Number (from the wrapped unsigned long *).
#pragma once

#include "binding/perl/PerlInterface.h"

// Makes the functions of both classes.
void installMemory(pTHX);

// The variables of the module: magic scalars over the engine's class-wide members.
#pragma once

#include "binding/perl/PerlInterface.h"

// Makes them in the package.
void installVariables(pTHX_ const char* package);

// The variables of the module: magic scalars over the engine's class-wide members.
#ifndef KESTRIX_BINDING_VARIABLES_H
#define KESTRIX_BINDING_VARIABLES_H

#include "binding/perl/PerlInterface.h"

// Makes them in the package.
void installVariables(pTHX_ const char* package);

#endif

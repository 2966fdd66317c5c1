#include "binding/perl/Function.h"

void install(pTHX_ const char* package, const Function& row)
{
    SV* const name = sv_2mortal(Perl_newSVpvf(aTHX_ "%s::%s", package, row.name));
    CV* const cv = newXS(SvPVX_const(name), row.wrapper, "KestrixDispEngineWrap");
    CvXSUBANY(cv).any_ptr = const_cast<Function*>(&row);
}

// From the engine's results to mortal or immortal Perl scalars.
#pragma once

#include "binding/perl/Pointers.h"

inline SV* toPerl(pTHX_ short value)
{
    return sv_2mortal(newSViv(value));
}

inline SV* toPerl(pTHX_ unsigned long value)
{
    return sv_2mortal(newSVuv(value));
}

inline SV* toPerl(pTHX_ bool value)
{
    return boolSV(value);
}

// Bytes: the scalar does not have the UTF-8 flag.
inline SV* toPerl(pTHX_ const std::string& value)
{
    return newSVpvn_flags(value.data(), value.size(), SVs_TEMP);
}

inline SV* toPerl(pTHX_ ParserMap* map)
{
    return wrap(aTHX_ map);
}

inline SV* toPerl(pTHX_ HandleMap* map)
{
    return wrap(aTHX_ map);
}

inline SV* toPerl(pTHX_ std::unique_ptr<KestrixDispEngine> engine)
{
    return wrapOwned(aTHX_ engine.release());
}

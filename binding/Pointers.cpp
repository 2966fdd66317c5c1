#include "Pointers.h"

#include "Values.h"

namespace {

HV* owners(pTHX)
{
    return get_hv("KestrixDispEngine::KestrixDispEngine::OWNER", GV_ADD | GV_ADDMULTI);
}

}  // namespace

Problem toAddress(pTHX_ SV* sv, const char* package, void*& address)
{
    if (!SvOK(sv)) {
        address = nullptr;
        return Problem::none;
    }
    if (!sv_isobject(sv) || !sv_derived_from(sv, package)) {
        return Problem::wrongType;
    }
    SV* const holder = SvRV(sv);
    unsigned long number = 0;
    if (SvTYPE(holder) > SVt_PVMG ||  // an array, a hash, code, ...
        toInteger(aTHX_ holder, number) != Problem::none) {
        return Problem::wrongType;
    }
    keepToEndOfStatement(aTHX_ holder);
    address = reinterpret_cast<void*>(number);
    return Problem::none;
}

SV* innerPointer(pTHX_ SV* sv)
{
    if (!sv_isobject(sv) || SvTYPE(SvRV(sv)) != SVt_PVHV) {
        return sv;
    }
    const MAGIC* const tie = mg_find(SvRV(sv), PERL_MAGIC_tied);
    return tie != nullptr && sv_derived_from(sv, kEngineClass) ? tie->mg_obj : nullptr;
}

SV* wrapOwned(pTHX_ KestrixDispEngine* engine)
{
    SV* const inner = wrap(aTHX_ engine);
    HV* const hash = newHV();
    SV* const object = sv_2mortal(newRV_noinc(reinterpret_cast<SV*>(hash)));
    hv_magic(hash, reinterpret_cast<GV*>(inner), PERL_MAGIC_tied);
    sv_bless(object, gv_stashpv(kEngineClass, GV_ADD));
    (void)hv_store_ent(owners(aTHX), inner, newSViv(1), 0);
    return object;
}

void disown(pTHX_ SV* inner)
{
    // Setting a read-only scalar would croak; what it holds is the address of no living engine.
    if (!SvREADONLY(SvRV(inner))) {
        sv_setiv(SvRV(inner), 0);
    }
    (void)hv_delete_ent(owners(aTHX), inner, G_DISCARD, 0);
}

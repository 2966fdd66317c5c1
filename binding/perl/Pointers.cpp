#include "binding/perl/Pointers.h"

#include "binding/perl/Values.h"

namespace {

HV* owners(pTHX)
{
    return get_hv("KestrixDispEngine::KestrixDispEngine::OWNER", GV_ADD | GV_ADDMULTI);
}

// On the values of OWNER's entries: the engine's address. The key, the inner pointer, has it no
// more when a script has changed it, and does not keep the pointer alive.
const MGVTBL kEntryMagic = {nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};

bool isEntryOf(const KestrixDispEngine* engine, const SV* value)
{
    const MAGIC* const magic =
        SvTYPE(value) >= SVt_PVMG ? mg_findext(value, PERL_MAGIC_ext, &kEntryMagic) : nullptr;
    return magic != nullptr && static_cast<const void*>(magic->mg_ptr) == engine;
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
    keepToEndOfStatement(aTHX_ holder);  // before its number is asked for, which may run code
    unsigned long number = 0;
    if (SvTYPE(holder) > SVt_PVMG ||  // an array, a hash, code, ...
        toInteger(aTHX_ holder, number) != Problem::none) {
        return Problem::wrongType;
    }
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
    SV* const entry = newSViv(1);
    sv_magicext(entry, nullptr, PERL_MAGIC_ext, &kEntryMagic, reinterpret_cast<const char*>(engine),
                0);
    (void)hv_store_ent(owners(aTHX), inner, entry, 0);
    return object;
}

void disown(pTHX_ const KestrixDispEngine* engine, SV* inner)
{
    // Setting a read-only scalar would croak; what it holds is the address of no living engine.
    if (!SvREADONLY(SvRV(inner))) {
        sv_setiv(SvRV(inner), 0);
    }
    HV* const entries = owners(aTHX);
    (void)hv_delete_ent(entries, inner, G_DISCARD, 0);
    // inner may be a copy. The owner's entry would have the next engine at this address destroyed
    // together with the object of this one.
    (void)hv_iterinit(entries);
    while (HE* const entry = hv_iternext(entries)) {
        if (isEntryOf(engine, HeVAL(entry))) {
            (void)hv_delete_ent(entries, hv_iterkeysv(entry), G_DISCARD, 0);
        }
    }
}

#include "binding/perl/Variables.h"

#include "binding/perl/Values.h"

namespace {

using Engine = KestrixDispEngine;

struct Variable {
    const char* name;
    void (*get)(pTHX_ SV* sv);
    void (*set)(pTHX_ SV* sv);  // null: read-only
};

void store(pTHX_ SV* sv, IV value)
{
    sv_setiv(sv, value);
}

template <std::size_t size>
void store(pTHX_ SV* sv, const char (&value)[size])
{
    sv_setpvn(sv, value, size - 1);
    SvUTF8_off(sv);  // set by an assignment that failed
}

template <const auto& member>
void get(pTHX_ SV* sv)
{
    store(aTHX_ sv, member);
}

void setHandle(pTHX_ SV* sv)
{
    const Problem problem = toInteger(aTHX_ sv, Engine::ucHandle);
    if (problem != Problem::none) {
        Perl_sv_setpvf(aTHX_ ERRSV,
                       "%s in variable 'KestrixDispEngine::ucHandle' of type 'short'\n",
                       kindOf(problem));
    }
}

constexpr Variable kVariables[] = {
    {"KestrixDispEngine_TAG_TEXT", get<Engine::TAG_TEXT>, nullptr},
    {"KestrixDispEngine_TAG_OVIXD", get<Engine::TAG_OVIXD>, nullptr},
    {"KestrixDispEngine_TAG_WINDOW", get<Engine::TAG_WINDOW>, nullptr},
    {"KestrixDispEngine_TAG_RESET", get<Engine::TAG_RESET>, nullptr},
    {"KestrixDispEngine_TAG_CURSOR", get<Engine::TAG_CURSOR>, nullptr},
    {"KestrixDispEngine_TAG_CLEAR", get<Engine::TAG_CLEAR>, nullptr},
    {"KestrixDispEngine_TAG_BLINK", get<Engine::TAG_BLINK>, nullptr},
    {"KestrixDispEngine_TAG_BRIGHTNESS", get<Engine::TAG_BRIGHTNESS>, nullptr},
    {"KestrixDispEngine_TAG_MARQUEE", get<Engine::TAG_MARQUEE>, nullptr},
    {"KestrixDispEngine_TAG_CLOCK", get<Engine::TAG_CLOCK>, nullptr},
    {"KestrixDispEngine_TAG_COMMAND", get<Engine::TAG_COMMAND>, nullptr},
    {"KestrixDispEngine_LANG_DEFAULT", get<Engine::LANG_DEFAULT>, nullptr},
    {"KestrixDispEngine_LANG_BUF_LEN", get<Engine::LANG_BUF_LEN>, nullptr},
    {"KestrixDispEngine_TAG_BUF_LEN", get<Engine::TAG_BUF_LEN>, nullptr},
    {"KestrixDispEngine_ucHandle", get<Engine::ucHandle>, setHandle},
};

const Variable& rowOf(const MAGIC* magic)
{
    return *reinterpret_cast<const Variable*>(magic->mg_ptr);
}

int onRead(pTHX_ SV* sv, MAGIC* magic)
{
    rowOf(magic).get(aTHX_ sv);
    return 0;
}

int onAssign(pTHX_ SV* sv, MAGIC* magic)
{
    const Variable& row = rowOf(magic);
    if (row.set != nullptr) {
        // "local" assigns undef first, which is no value of the script's.
        if (PL_localizing != 1) {
            row.set(aTHX_ sv);
        }
    } else if (PL_localizing == 0) {
        dieWith(aTHX_ newSVpvs("Value is read-only.\n"));
    }
    return 0;
}

const MGVTBL kMagic = {onRead, onAssign, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};

}  // namespace

void installVariables(pTHX_ const char* package)
{
    for (const Variable& row : kVariables) {
        SV* const name = sv_2mortal(Perl_newSVpvf(aTHX_ "%s::%s", package, row.name));
        SV* const sv = get_sv(SvPVX_const(name), GV_ADD | GV_ADDMULTI);
        // Length 0: the row's address itself, which cloned interpreters share.
        sv_magicext(sv, nullptr, PERL_MAGIC_ext, &kMagic, reinterpret_cast<const char*>(&row), 0);
    }
}

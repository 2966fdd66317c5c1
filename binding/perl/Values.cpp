#include "binding/perl/Values.h"

namespace {

// What the conversion operator of a referenced object gives; null without one.
SV* overloaded(pTHX_ SV* sv, int operation)
{
    if (!SvAMAGIC(sv)) {
        return nullptr;
    }
    // Perl uses each of these for the others where they are missing. Perl dies if there is none.
    constexpr std::string_view conversions[] = {"(\"\"", "(0+", "(bool"};
    for (const std::string_view name : conversions) {
        if (gv_fetchmeth_pvn(SvSTASH(SvRV(sv)), name.data(), name.size(), 0, 0) != nullptr) {
            SV* const result = AMG_CALLunary(sv, operation);
            return result == nullptr || SvROK(result) ? nullptr : result;
        }
    }
    return nullptr;
}

template <class Integer, class Wide>
Problem narrow(Wide number, Integer& value)
{
    if (!std::in_range<Integer>(number)) {
        return Problem::outOfRange;
    }
    value = static_cast<Integer>(number);
    return Problem::none;
}

template <class Integer>
Problem fromFloating(NV number, Integer& value)
{
    if (std::trunc(number) != number) {  // a fraction, or NaN
        return Problem::wrongType;
    }
    // The first number above the range is a power of two, so it is exact; the largest one in it
    // need not be.
    const NV above = std::ldexp(NV{1}, std::numeric_limits<Integer>::digits);
    const NV lowest = std::is_signed_v<Integer> ? -above : NV{0};
    if (number < lowest || number >= above) {
        return Problem::outOfRange;
    }
    value = static_cast<Integer>(number);
    return Problem::none;
}

template <class Integer>
Problem fromText(pTHX_ const char* text, STRLEN length, Integer& value)
{
    UV magnitude = 0;
    const int form = grok_number(text, length, &magnitude);
    if (form == 0 || (form & IS_NUMBER_NAN) != 0) {
        return Problem::wrongType;
    }
    if ((form & IS_NUMBER_INFINITY) != 0) {
        return Problem::outOfRange;
    }
    if ((form & (IS_NUMBER_IN_UV | IS_NUMBER_NOT_INT | IS_NUMBER_NEG)) == IS_NUMBER_IN_UV) {
        return narrow(magnitude, value);
    }
    return fromFloating(my_atof(text), value);
}

}  // namespace

template <class Integer>
Problem toInteger(pTHX_ SV* sv, Integer& value)
{
    if (SvROK(sv)) {
        sv = overloaded(aTHX_ sv, numer_amg);
        if (sv == nullptr) {
            return Problem::wrongType;
        }
    }
    if (SvIOK(sv)) {
        return SvIsUV(sv) ? narrow(SvUVX(sv), value) : narrow(SvIVX(sv), value);
    }
    if (SvNOK(sv)) {
        return fromFloating(SvNVX(sv), value);
    }
    return SvPOK(sv) ? fromText(aTHX_ SvPVX_const(sv), SvCUR(sv), value) : Problem::wrongType;
}

template Problem toInteger(pTHX_ SV* sv, short& value);
template Problem toInteger(pTHX_ SV* sv, unsigned long& value);

Problem toBytes(pTHX_ SV* sv, Bytes& value)
{
    if (SvROK(sv)) {
        sv = overloaded(aTHX_ sv, string_amg);
    }
    if (sv == nullptr || !SvOK(sv)) {
        return Problem::wrongType;
    }
    // A copy: the conversion of the next argument may run code that changes this scalar.
    const char* const start = SvPV_nomg_const(sv, value.length);
    value.start = SvPVX_const(newSVpvn_flags(start, value.length, SVs_TEMP));
    return Problem::none;
}

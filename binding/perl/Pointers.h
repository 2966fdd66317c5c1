// Wrapped pointers: a reference to a scalar that holds the address, blessed into the package that
// names the pointer's type. Undef is the null pointer. An engine is a hash, blessed into the class
// and tied to such a reference, its inner pointer.
#pragma once

#include "binding/perl/Outcome.h"

inline constexpr char kEngineClass[] = "KestrixDispEngine::KestrixDispEngine";

// The types that are wrapped: their package, and their name in messages.
template <class T>
struct Wrapped;

template <>
struct Wrapped<KestrixDispEngine> {
    static constexpr const char* kPackage = kEngineClass;
};

template <>
struct Wrapped<char> {
    static constexpr const char* kPackage = "_p_char";
};

template <>
struct Wrapped<unsigned char> {
    static constexpr const char* kPackage = "_p_unsigned_char";
};

template <>
struct Wrapped<unsigned long> {
    static constexpr const char* kPackage = "_p_unsigned_long";
};

template <>
struct Wrapped<ParserMap> {
    static constexpr const char* kPackage = "_p_std__mapT_char_const_p_TagParser_p_compare_t";
    static constexpr const char* kType = "std::map< char const *,TagParser *,compare >";
    static constexpr const char* kReferenceType = "std::map< char const *,TagParser *,compare > &";
};

template <>
struct Wrapped<HandleMap> {
    static constexpr const char* kPackage = "_p_std__mapT_std__string_const_short_t";
    static constexpr const char* kType = "std::map< std::string const,short >";
};

// For what code that runs during the conversion of arguments may drop the last reference to.
inline void keepToEndOfStatement(pTHX_ SV* sv)
{
    if (!SvIMMORTAL(sv)) {
        sv_2mortal(SvREFCNT_inc_simple_NN(sv));
    }
}

// The address in a wrapped pointer of the package or one derived from it; null for undef. wrongType
// for anything else.
Problem toAddress(pTHX_ SV* sv, const char* package, void*& address);

template <class T>
Problem toPointer(pTHX_ SV* sv, T*& pointer)
{
    void* address = nullptr;
    const Problem problem = toAddress(aTHX_ sv, Wrapped<std::remove_const_t<T>>::kPackage, address);
    pointer = static_cast<T*>(address);
    return problem;
}

// The inner pointer of an engine hash; sv itself if it is no blessed hash; null for a hash that is
// not of the class or not tied.
SV* innerPointer(pTHX_ SV* sv);

// A new wrapped pointer, mortal.
template <class T>
SV* wrap(pTHX_ T* pointer)
{
    return sv_setref_pv(sv_newmortal(), Wrapped<T>::kPackage, pointer);
}

// A new engine hash, mortal. Perl owns the engine: its inner pointer is entered in OWNER.
SV* wrapOwned(pTHX_ KestrixDispEngine* engine);

// Ends that: every entry for the engine goes, and inner, which may be a copy of the pointer in
// OWNER, becomes null.
void disown(pTHX_ const KestrixDispEngine* engine, SV* inner);

// From Perl arguments to the engine's types: one Argument for each.
//
//   type     its name in messages
//   Value    what is kept of it until all arguments are converted: plain data
//   convert  from the scalar, whose get-magic has run; may run Perl code
//   check    whether it is valid: after its conversion, and again right before the call, for Perl
//            code may have run meanwhile
//   pass     the value as the operation takes it
#pragma once

#include "binding/perl/Pointers.h"
#include "binding/perl/Values.h"

template <class T>
struct Argument;

template <class T>
struct PlainArgument {
    using Value = T;
    static Problem check(Value) { return Problem::none; }
    static T pass(pTHX_ Value value) { return value; }
};

template <class Integer>
struct IntegerArgument : PlainArgument<Integer> {
    static Problem convert(pTHX_ SV* sv, Integer& value) { return toInteger(aTHX_ sv, value); }
};

template <>
struct Argument<short> : IntegerArgument<short> {
    static constexpr const char* kType = "short";
};

template <>
struct Argument<unsigned long> : IntegerArgument<unsigned long> {
    static constexpr const char* kType = "unsigned long";
};

// A wrapped pointer, which may be null.
template <class Pointer>
struct PointerArgument : PlainArgument<Pointer> {
    static Problem convert(pTHX_ SV* sv, Pointer& value) { return toPointer(aTHX_ sv, value); }
};

template <>
struct Argument<unsigned char*> : PointerArgument<unsigned char*> {
    static constexpr const char* kType = "unsigned char *";
};

template <>
struct Argument<const unsigned char*> : PointerArgument<const unsigned char*> {
    static constexpr const char* kType = "unsigned char *";
};

template <>
struct Argument<unsigned long*> : PointerArgument<unsigned long*> {
    static constexpr const char* kType = "unsigned long *";
};

template <>
struct Argument<std::string> {
    static constexpr const char* kType = "std::string";
    using Value = Bytes;
    static Problem convert(pTHX_ SV* sv, Value& value) { return toBytes(aTHX_ sv, value); }
    static Problem check(Value) { return Problem::none; }
    static std::string pass(pTHX_ Value value) { return {value.start, value.length}; }
};

// A Perl string up to its first NUL, or a wrapped pointer, which may be null.
template <>
struct Argument<const char*> : PlainArgument<const char*> {
    static constexpr const char* kType = "char *";
    static Problem convert(pTHX_ SV* sv, Value& value);
};

// An engine that is alive, whoever owns it.
struct EngineArgument {
    static constexpr const char* kType = "KestrixDispEngine *";
    struct Value {
        KestrixDispEngine* engine = nullptr;
        SV* inner = nullptr;
    };
    static Problem convert(pTHX_ SV* sv, Value& value);
    static Problem check(const Value& value)
    {
        return isLive(value.engine) ? Problem::none : Problem::wrongType;
    }
};

template <>
struct Argument<KestrixDispEngine&> : EngineArgument {
    static KestrixDispEngine& pass(pTHX_ const Value& value) { return *value.engine; }
};

// The same, and it is taken from Perl.
template <>
struct Argument<std::unique_ptr<KestrixDispEngine>> : EngineArgument {
    static std::unique_ptr<KestrixDispEngine> pass(pTHX_ const Value& value)
    {
        disown(aTHX_ value.engine, value.inner);
        return std::unique_ptr<KestrixDispEngine>(value.engine);
    }
};

// A map in an engine that is alive.
template <class Map>
struct MapArgument {
    using Value = const Map*;
    static Problem convert(pTHX_ SV* sv, Value& value)
    {
        const Problem problem = toPointer(aTHX_ sv, value);
        return problem == Problem::none && value == nullptr ? Problem::nullReference : problem;
    }
    static Problem check(Value value) { return isLive(value) ? Problem::none : Problem::wrongType; }
    static const Map& pass(pTHX_ Value value) { return *value; }
};

template <>
struct Argument<const ParserMap&> : MapArgument<ParserMap> {
    static constexpr const char* kType = Wrapped<ParserMap>::kReferenceType;
};

template <>
struct Argument<ParserMap> : MapArgument<ParserMap> {
    static constexpr const char* kType = Wrapped<ParserMap>::kType;
};

template <>
struct Argument<HandleMap> : MapArgument<HandleMap> {
    static constexpr const char* kType = Wrapped<HandleMap>::kType;
};

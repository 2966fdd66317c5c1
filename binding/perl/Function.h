// One wrapper for every function that scripts can call, and the rows of the function tables.
#pragma once

#include "binding/perl/Arguments.h"
#include "binding/perl/Results.h"

struct Function {
    const char* name;        // without package
    const char* parameters;  // as the usage text has them
    XSUBADDR_t wrapper;      // Wrapper<operation>::call; its arguments are the operation's
};

// Registers a row that lives as long as the library. The name goes into the package.
void install(pTHX_ const char* package, const Function& row);

template <auto operation>
struct Wrapper;

template <class Result, class... Parameters, Result (*operation)(Parameters...)>
struct Wrapper<operation> {
    static void call(pTHX_ CV* cv)
    {
        dXSARGS;
        SV* result = &PL_sv_undef;
        Outcome outcome{Problem::argumentCount};
        if (items == static_cast<I32>(sizeof...(Parameters))) {
            outcome = convertAndRun(aTHX_ ax, result, std::index_sequence_for<Parameters...>());
        }
        // No C++ object is alive here.
        if (outcome.problem != Problem::none) {
            const auto& row = *static_cast<const Function*>(CvXSUBANY(cv).any_ptr);
            raise(aTHX_ row.name, row.parameters, outcome);
        }
        XSprePUSH;
        XPUSHs(result);
        PUTBACK;
    }

private:
    using Values = std::tuple<typename Argument<Parameters>::Value...>;
    static_assert(std::is_trivially_destructible_v<Values>, "Perl jumps over it");

    template <std::size_t... index>
    static Outcome convertAndRun(pTHX_ [[maybe_unused]] I32 ax, SV*& result,
                                 std::index_sequence<index...>)
    {
        // The stack keeps no references, and the conversion of one argument may run code that drops
        // the last one to it or to another.
        (keepToEndOfStatement(aTHX_ ST(index)), ...);
        Values values{};
        Outcome outcome;
        // In order, up to the first problem.
        if ((convert<Parameters>(aTHX_ ax, index, std::get<index>(values), outcome) && ...) &&
            (check<Parameters>(index, std::get<index>(values), outcome) && ...)) {
            outcome.problem = run(aTHX_ result, std::get<index>(values)...);
        }
        return outcome;
    }

    template <class Parameter, class Value>
    static bool convert(pTHX_ I32 ax, std::size_t index, Value& value, Outcome& outcome)
    {
        // ST and not a pointer: the stack moves when Perl code runs.
        SV* sv = ST(index);
        if (SvGMAGICAL(sv)) {
            mg_get(sv);
            sv = sv_2mortal(newSVsv_nomg(sv));  // so that nothing runs the magic again
        }
        return accept<Parameter>(Argument<Parameter>::convert(aTHX_ sv, value), index, outcome) &&
               check<Parameter>(index, value, outcome);
    }

    template <class Parameter, class Value>
    static bool check(std::size_t index, const Value& value, Outcome& outcome)
    {
        return accept<Parameter>(Argument<Parameter>::check(value), index, outcome);
    }

    template <class Parameter>
    static bool accept(Problem problem, std::size_t index, Outcome& outcome)
    {
        if (problem != Problem::none) {
            outcome = {problem, static_cast<int>(index) + 1, Argument<Parameter>::kType};
        }
        return problem == Problem::none;
    }

    // C++ objects live in here and nowhere else. Making a scalar of the result runs no Perl code,
    // and fails only by ending the process.
    static Problem run(pTHX_ SV*& result,
                       const typename Argument<Parameters>::Value&... values) noexcept
    {
        try {
            if constexpr (std::is_void_v<Result>) {
                operation(Argument<Parameters>::pass(aTHX_ values)...);
            } else {
                result = toPerl(aTHX_ operation(Argument<Parameters>::pass(aTHX_ values)...));
            }
            return Problem::none;
        } catch (const std::bad_alloc&) {
            return Problem::outOfMemory;
        } catch (...) {
            return Problem::unexpected;
        }
    }
};

#pragma once

#include "genapi/formula_code.h"
#include "genapi/number.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace GenTL::internal::genapi
{

/// What a formula calculates with.
enum class NumberKind
{
    Integer, ///< int64; `/` truncates; a floating value that enters is rounded half away from zero
    Float,   ///< double; bit operators and shifts round to int64 and back
};

/// A formula, compiled once to a list in postfix order and evaluated as often as wanted.
///
/// Never changes, so any thread may use it. Only the branch that `?:` takes is evaluated, and the right side
/// of `&&` and `||` only if it decides. Integers wrap at 64 bits in `+`, `-` and `*`.
class Expression
{
public:
    /// Gives the values of a formula's names while it is evaluated.
    class Symbols
    {
    public:
        Symbols() = default;
        virtual ~Symbols() = default;
        Symbols(const Symbols &) = delete;
        Symbols &operator=(const Symbols &) = delete;

        virtual Number ValueOf(std::string_view name) = 0;
    };

    /// @throws FormulaError the text is no formula, or beyond the limits of ParseFormula
    Expression(std::string_view text, NumberKind kind);

    /// Asks for a name each time that the formula meets it. What `symbols` throws passes through.
    /// @throws FormulaError integers: division by 0, a power or a floating value beyond int64; in both kinds:
    /// a shift by less than 0 or more than 63 bits
    Number Evaluate(Symbols &symbols) const;

private:
    FormulaCode m_code;
    NumberKind m_kind;
};

} // namespace GenTL::internal::genapi

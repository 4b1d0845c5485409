#pragma once

#include "genapi/number.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace GenTL::internal::genapi
{

/// What a step of a compiled formula does with the stack of values.
enum class Op : uint8_t
{
    Literal, ///< pushes the literal with the index `operand`
    Symbol,  ///< pushes the value of the name with the index `operand`
    Jump,
    JumpIfFalse, ///< takes the condition
    AndJump,     ///< takes the value; false: pushes 0 and jumps
    OrJump,      ///< takes the value; true: pushes 1 and jumps
    Truth,       ///< makes the value 0 or 1
    // Two values become one.
    BitOr,
    BitXor,
    BitAnd,
    Equal,
    Unequal,
    Less,
    LessEqual,
    Greater,
    GreaterEqual,
    ShiftLeft,
    ShiftRight,
    Add,
    Subtract,
    Multiply,
    Divide,
    Remainder,
    Power,
    Round,
    // One value becomes another.
    Negate,
    BitNot,
    Sgn,
    Abs,
    Sqrt,
    Trunc,
    Floor,
    Ceil,
    Exp,
    Ln,
    Lg,
    Sin,
    Cos,
    Tan,
    Asin,
    Acos,
    Atan,
};

/// A formula as a list of steps. Jumps go forward only, so it ends.
struct FormulaCode
{
    struct Step
    {
        Op op;
        /// The target of a jump, or an index.
        uint32_t operand;
    };

    std::vector<Step> steps;
    std::vector<Number> literals;
    std::vector<std::string> names;
};

} // namespace GenTL::internal::genapi

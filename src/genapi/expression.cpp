#include "genapi/expression.h"

#include "genapi/formula_error.h"
#include "genapi/formula_parser.h"

#include <cmath>
#include <type_traits>

namespace GenTL::internal::genapi
{
namespace
{

int64_t ToInteger(Number number)
{
    const auto integer = number.Integer();
    if (!integer)
    {
        throw FormulaError(number.Text() + " does not fit an integer");
    }
    return *integer;
}

/// A number as a value of the formula's kind.
template <typename T>
T As(Number number)
{
    if constexpr (std::is_same_v<T, int64_t>)
    {
        return ToInteger(number);
    }
    else
    {
        return number.Float();
    }
}

int64_t Wrapped(uint64_t value)
{
    return static_cast<int64_t>(value);
}

void CheckDivisor(int64_t divisor)
{
    if (divisor == 0)
    {
        throw FormulaError("division by 0");
    }
}

int64_t PowerOf(int64_t base, int64_t exponent)
{
    int64_t power = 1;
    bool overflow = exponent < 0;
    // A base of 0, 1 or -1 never overflows: its odd and even powers are all that there is.
    const bool isTrivial = base >= -1 && base <= 1;
    const int64_t factors = isTrivial && exponent > 2 ? 2 - exponent % 2 : exponent;
    for (int64_t i = 0; i < factors && !overflow; ++i)
    {
        overflow = __builtin_mul_overflow(power, base, &power);
    }
    if (overflow)
    {
        throw FormulaError("a power is negative or too large for an integer");
    }
    return power;
}

uint64_t ShiftCount(int64_t count)
{
    if (count < 0 || count > 63)
    {
        throw FormulaError("a shift by less than 0 or more than 63 bits");
    }
    return static_cast<uint64_t>(count);
}

double RoundToDigits(double value, double digits)
{
    const double scale = std::pow(10.0, std::round(digits));
    const double scaled = value * scale;
    // Beyond the digits of a double there is nothing to round.
    return scale == 0 || !std::isfinite(scaled) ? value : std::round(scaled) / scale;
}

int64_t BitOperation(Op op, int64_t left, int64_t right)
{
    switch (op)
    {
    case Op::BitOr:
        return left | right;
    case Op::BitXor:
        return left ^ right;
    case Op::BitAnd:
        return left & right;
    case Op::ShiftLeft:
        return Wrapped(static_cast<uint64_t>(left) << ShiftCount(right));
    default:
        return left >> ShiftCount(right);
    }
}

int64_t Arithmetic(Op op, int64_t left, int64_t right)
{
    const auto a = static_cast<uint64_t>(left);
    const auto b = static_cast<uint64_t>(right);
    switch (op)
    {
    case Op::Add:
        return Wrapped(a + b);
    case Op::Subtract:
        return Wrapped(a - b);
    case Op::Multiply:
        return Wrapped(a * b);
    case Op::Divide:
        CheckDivisor(right);
        // The least int64 by -1 would trap.
        return right == -1 ? Wrapped(0 - a) : left / right;
    case Op::Remainder:
        CheckDivisor(right);
        return right == -1 ? 0 : left % right;
    case Op::Power:
        return PowerOf(left, right);
    default:
        return right >= 0 ? left
                          : ToInteger(RoundToDigits(static_cast<double>(left), static_cast<double>(right)));
    }
}

double Arithmetic(Op op, double left, double right)
{
    switch (op)
    {
    case Op::Add:
        return left + right;
    case Op::Subtract:
        return left - right;
    case Op::Multiply:
        return left * right;
    case Op::Divide:
        return left / right;
    case Op::Remainder:
        return std::fmod(left, right);
    case Op::Power:
        return std::pow(left, right);
    default:
        return RoundToDigits(left, right);
    }
}

template <typename T>
T Combine(Op op, T left, T right)
{
    switch (op)
    {
    case Op::Equal:
        return static_cast<T>(left == right);
    case Op::Unequal:
        return static_cast<T>(left != right);
    case Op::Less:
        return static_cast<T>(left < right);
    case Op::LessEqual:
        return static_cast<T>(left <= right);
    case Op::Greater:
        return static_cast<T>(left > right);
    case Op::GreaterEqual:
        return static_cast<T>(left >= right);
    case Op::BitOr:
    case Op::BitXor:
    case Op::BitAnd:
    case Op::ShiftLeft:
    case Op::ShiftRight:
        return static_cast<T>(BitOperation(op, ToInteger(left), ToInteger(right)));
    default:
        return Arithmetic(op, left, right);
    }
}

double FloatFunction(Op op, double value)
{
    switch (op)
    {
    case Op::Sqrt:
        return std::sqrt(value);
    case Op::Trunc:
        return std::trunc(value);
    case Op::Floor:
        return std::floor(value);
    case Op::Ceil:
        return std::ceil(value);
    case Op::Exp:
        return std::exp(value);
    case Op::Ln:
        return std::log(value);
    case Op::Lg:
        return std::log10(value);
    case Op::Sin:
        return std::sin(value);
    case Op::Cos:
        return std::cos(value);
    case Op::Tan:
        return std::tan(value);
    case Op::Asin:
        return std::asin(value);
    case Op::Acos:
        return std::acos(value);
    default:
        return std::atan(value);
    }
}

template <typename T>
T Change(Op op, T value)
{
    switch (op)
    {
    case Op::Truth:
        return static_cast<T>(value != 0);
    case Op::BitNot:
        return static_cast<T>(~ToInteger(value));
    case Op::Sgn:
        return static_cast<T>((value > 0) - (value < 0));
    case Op::Negate:
        return Arithmetic(Op::Multiply, value, T{-1});
    case Op::Abs:
        return value < 0 ? Arithmetic(Op::Multiply, value, T{-1}) : value;
    case Op::Trunc:
    case Op::Floor:
    case Op::Ceil:
        if constexpr (std::is_same_v<T, int64_t>)
        {
            return value;
        }
        [[fallthrough]];
    default:
        return As<T>(FloatFunction(op, static_cast<double>(value)));
    }
}

/// One evaluation of a formula.
template <typename T>
class Run
{
public:
    Run(const FormulaCode &code, Expression::Symbols &symbols) : m_code(code), m_symbols(symbols) {}

    T Result()
    {
        for (size_t next = 0; next < m_code.steps.size();)
        {
            next = Execute(m_code.steps[next], next + 1);
        }
        return m_stack.back();
    }

private:
    /// Returns the position of the step to be executed next.
    size_t Execute(const FormulaCode::Step &step, size_t next)
    {
        switch (step.op)
        {
        case Op::Literal:
            m_stack.push_back(As<T>(m_code.literals[step.operand]));
            return next;
        case Op::Symbol:
            m_stack.push_back(As<T>(m_symbols.ValueOf(m_code.names[step.operand])));
            return next;
        case Op::Jump:
            return step.operand;
        case Op::JumpIfFalse:
            return Pop() != 0 ? next : step.operand;
        case Op::AndJump:
        case Op::OrJump:
            return Decide(step, next);
        default:
            Calculate(step.op);
            return next;
        }
    }

    size_t Decide(const FormulaCode::Step &step, size_t next)
    {
        const bool value = Pop() != 0;
        if (value != (step.op == Op::OrJump))
        {
            return next;
        }
        m_stack.push_back(static_cast<T>(value));
        return step.operand;
    }

    void Calculate(Op op)
    {
        const auto last = Pop();
        const bool hasTwo = op >= Op::BitOr && op <= Op::Round;
        m_stack.push_back(hasTwo ? Combine(op, Pop(), last) : Change(op, last));
    }

    T Pop()
    {
        const auto value = m_stack.back();
        m_stack.pop_back();
        return value;
    }

    const FormulaCode &m_code;
    Expression::Symbols &m_symbols;
    std::vector<T> m_stack;
};

} // namespace

Expression::Expression(std::string_view text, NumberKind kind) : m_code(ParseFormula(text)), m_kind(kind) {}

Number Expression::Evaluate(Symbols &symbols) const
{
    return m_kind == NumberKind::Integer ? Number(Run<int64_t>(m_code, symbols).Result())
                                         : Number(Run<double>(m_code, symbols).Result());
}

} // namespace GenTL::internal::genapi

#include "genapi/formula_parser.h"

#include "genapi/formula_error.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <numbers>
#include <optional>
#include <unordered_map>

namespace GenTL::internal::genapi
{
namespace
{

constexpr size_t maximumFormulaLength = size_t{64} * 1024;
constexpr int maximumNesting = 200;

struct BinaryOperator
{
    std::string_view text;
    int strength;
    Op op;
};

// The parser takes the first match, so a longer operator stands before its own beginning: "<=" before "<".
constexpr std::array binaryOperators = std::to_array<BinaryOperator>({
    {"||", 1, Op::OrJump},
    {"&&", 2, Op::AndJump},
    {"|", 3, Op::BitOr},
    {"^", 4, Op::BitXor},
    {"&", 5, Op::BitAnd},
    {"=", 6, Op::Equal},
    {"<>", 6, Op::Unequal},
    {"<=", 7, Op::LessEqual},
    {">=", 7, Op::GreaterEqual},
    {"<<", 8, Op::ShiftLeft},
    {">>", 8, Op::ShiftRight},
    {"<", 7, Op::Less},
    {">", 7, Op::Greater},
    {"+", 9, Op::Add},
    {"-", 9, Op::Subtract},
    {"*", 10, Op::Multiply},
    {"/", 10, Op::Divide},
    {"%", 10, Op::Remainder},
});

struct Function
{
    std::string_view name;
    Op op;
};

constexpr std::array functions = std::to_array<Function>({
    {"SGN", Op::Sgn},
    {"NEG", Op::Negate},
    {"ABS", Op::Abs},
    {"SQRT", Op::Sqrt},
    {"TRUNC", Op::Trunc},
    {"FLOOR", Op::Floor},
    {"CEIL", Op::Ceil},
    {"ROUND", Op::Round},
    {"EXP", Op::Exp},
    {"LN", Op::Ln},
    {"LG", Op::Lg},
    {"SIN", Op::Sin},
    {"COS", Op::Cos},
    {"TAN", Op::Tan},
    {"ASIN", Op::Asin},
    {"ACOS", Op::Acos},
    {"ATAN", Op::Atan},
});

bool IsLetter(char c)
{
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

/// The length of the number at the start of a text, 0 if there is none.
size_t NumberLength(std::string_view text)
{
    if (IsHexadecimal(text))
    {
        const auto *const end = std::ranges::find_if_not(
            text.substr(2), [](char c) { return std::isxdigit(static_cast<unsigned char>(c)) != 0; });
        return static_cast<size_t>(end - text.begin());
    }
    double ignored = 0;
    const auto *const end = std::from_chars(text.data(), text.data() + text.size(), ignored).ptr;
    return static_cast<size_t>(end - text.data());
}

/// One level of nesting.
class Nested
{
public:
    explicit Nested(int &nesting) : m_nesting(nesting)
    {
        if (++m_nesting > maximumNesting)
        {
            --m_nesting;
            throw FormulaError(fmt::format("it is nested more than {} deep", maximumNesting));
        }
    }
    ~Nested() { --m_nesting; }
    Nested(const Nested &) = delete;
    Nested &operator=(const Nested &) = delete;

private:
    int &m_nesting;
};

/// Appends steps to the code of a formula.
class CodeWriter
{
public:
    /// Returns the position of the step.
    size_t Add(Op op, size_t operand = 0)
    {
        m_code.steps.push_back({op, static_cast<uint32_t>(operand)});
        return m_code.steps.size() - 1;
    }
    void AddLiteral(Number value)
    {
        m_code.literals.push_back(value);
        Add(Op::Literal, m_code.literals.size() - 1);
    }
    void AddSymbol(std::string_view name)
    {
        const auto [entry, isNew] = m_names.try_emplace(name, m_code.names.size());
        if (isNew)
        {
            m_code.names.emplace_back(name);
        }
        Add(Op::Symbol, entry->second);
    }
    /// Makes a jump lead behind the last step.
    void JumpToHere(size_t jump) { m_code.steps[jump].operand = static_cast<uint32_t>(m_code.steps.size()); }

    FormulaCode Code() && { return std::move(m_code); }

private:
    FormulaCode m_code;
    std::unordered_map<std::string_view, size_t> m_names;
};

/// Compiles one formula: one method for each level of the grammar, and those that read the text.
class FormulaParser
{
public:
    explicit FormulaParser(std::string_view text) : m_text(text) {}

    FormulaCode Parse()
    {
        ParseConditional();
        if (!Rest().empty())
        {
            Fail();
        }
        return std::move(m_writer).Code();
    }

private:
    void ParseConditional();
    void ParseBinary(int least);
    void ParseUnary();
    void ParsePower();
    void ParsePrimary();
    void ParseCall(std::string_view name);
    void ParseNumber();

    std::string_view Rest();
    bool Accept(std::string_view token);
    void Expect(std::string_view token);
    [[noreturn]] void Fail();

    std::string_view m_text;
    size_t m_position = 0;
    int m_nesting = 0;
    CodeWriter m_writer;
};

void FormulaParser::ParseConditional()
{
    std::vector<size_t> ends;
    ParseBinary(0);
    while (Accept("?"))
    {
        const auto otherwise = m_writer.Add(Op::JumpIfFalse);
        {
            const Nested nested(m_nesting);
            ParseConditional();
        }
        Expect(":");
        ends.push_back(m_writer.Add(Op::Jump));
        m_writer.JumpToHere(otherwise);
        ParseBinary(0);
    }
    std::ranges::for_each(ends, [this](size_t jump) { m_writer.JumpToHere(jump); });
}

void FormulaParser::ParseBinary(int least)
{
    ParseUnary();
    for (;;)
    {
        const auto rest = Rest();
        const auto *const found = std::ranges::find_if(binaryOperators, [&](const auto &entry)
                                                       { return rest.starts_with(entry.text); });
        if (found == binaryOperators.end() || found->strength < least)
        {
            return;
        }
        Expect(found->text);
        if (found->op == Op::AndJump || found->op == Op::OrJump)
        {
            const auto jump = m_writer.Add(found->op);
            ParseBinary(found->strength + 1);
            m_writer.Add(Op::Truth);
            m_writer.JumpToHere(jump);
        }
        else
        {
            ParseBinary(found->strength + 1);
            m_writer.Add(found->op);
        }
    }
}

void FormulaParser::ParseUnary()
{
    for (const auto &[text, op] : {std::pair{"-", Op::Negate}, std::pair{"~", Op::BitNot}})
    {
        if (Accept(text))
        {
            const Nested nested(m_nesting);
            ParseUnary();
            m_writer.Add(op);
            return;
        }
    }
    if (Accept("+"))
    {
        const Nested nested(m_nesting);
        ParseUnary();
        return;
    }
    ParsePower();
}

void FormulaParser::ParsePower()
{
    ParsePrimary();
    if (Accept("**"))
    {
        const Nested nested(m_nesting);
        ParseUnary();
        m_writer.Add(Op::Power);
    }
}

void FormulaParser::ParsePrimary()
{
    const auto rest = Rest();
    if (Accept("("))
    {
        const Nested nested(m_nesting);
        ParseConditional();
        Expect(")");
    }
    else if (!rest.empty() && IsLetter(rest.front()))
    {
        const auto *const end =
            std::ranges::find_if(rest, [](char c) { return !IsLetter(c) && !IsDigit(c) && c != '.'; });
        const auto name = rest.substr(0, static_cast<size_t>(end - rest.begin()));
        m_position += name.size();
        if (Accept("("))
        {
            ParseCall(name);
        }
        else
        {
            m_writer.AddSymbol(name);
        }
    }
    else
    {
        ParseNumber();
    }
}

void FormulaParser::ParseCall(std::string_view name)
{
    if (name == "E" || name == "PI")
    {
        Expect(")");
        m_writer.AddLiteral(name == "E" ? std::numbers::e : std::numbers::pi);
        return;
    }
    const auto *const function = std::ranges::find(functions, name, &Function::name);
    if (function == functions.end())
    {
        throw FormulaError(fmt::format("there is no function {}", name));
    }
    const Nested nested(m_nesting);
    ParseConditional();
    if (function->op == Op::Round)
    {
        if (Accept(","))
        {
            ParseConditional();
        }
        else
        {
            m_writer.AddLiteral(int64_t{0});
        }
    }
    Expect(")");
    m_writer.Add(function->op);
}

void FormulaParser::ParseNumber()
{
    const auto rest = Rest();
    const auto number = rest.substr(0, NumberLength(rest));
    const bool isInteger = number.find_first_of(".eE") == std::string_view::npos || IsHexadecimal(number);
    const auto value =
        isInteger ? std::optional<Number>(ParseInteger(number)) : std::optional<Number>(ParseFloat(number));
    if (!value || (number.size() < rest.size() && IsLetter(rest[number.size()])))
    {
        Fail();
    }
    m_position += number.size();
    m_writer.AddLiteral(*value);
}

/// The text from the next token on.
std::string_view FormulaParser::Rest()
{
    constexpr std::string_view space = " \t\r\n";
    m_position = std::min(m_text.find_first_not_of(space, m_position), m_text.size());
    return m_text.substr(m_position);
}

bool FormulaParser::Accept(std::string_view token)
{
    if (!Rest().starts_with(token))
    {
        return false;
    }
    m_position += token.size();
    return true;
}

void FormulaParser::Expect(std::string_view token)
{
    if (!Accept(token))
    {
        Fail();
    }
}

void FormulaParser::Fail()
{
    const auto rest = Rest();
    throw FormulaError(rest.empty()
                           ? "it ends too early"
                           : fmt::format("unexpected '{}' at character {}", rest.front(), m_position + 1));
}

} // namespace

FormulaCode ParseFormula(std::string_view text)
{
    if (text.size() > maximumFormulaLength)
    {
        throw FormulaError(fmt::format("it has more than {} characters", maximumFormulaLength));
    }
    return FormulaParser(text).Parse();
}

} // namespace GenTL::internal::genapi

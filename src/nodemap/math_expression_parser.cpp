#include "nodemap/math_expression_parser.h"

#include "utils/gentl_exception.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace GenTL::internal::nodemap
{
namespace
{

struct Symbol
{
    std::string_view Text;
    TokenType Type;
};

constexpr std::array<Symbol, 9> pairs{{
    {"<<", TokenType::ShiftLeft},
    {">>", TokenType::ShiftRight},
    {"<=", TokenType::LessEqual},
    {">=", TokenType::GreaterEqual},
    {"<>", TokenType::NotEqual},
    {"==", TokenType::Equal},
    {"&&", TokenType::AndAnd},
    {"||", TokenType::OrOr},
    {"**", TokenType::Power},
}};

constexpr std::array<Symbol, 17> singles{{
    {"+", TokenType::Plus},
    {"-", TokenType::Minus},
    {"*", TokenType::Multiply},
    {"/", TokenType::Divide},
    {"%", TokenType::Modulo},
    {"&", TokenType::BitAnd},
    {"|", TokenType::BitOr},
    {"^", TokenType::BitXor},
    {"~", TokenType::BitNot},
    {"!", TokenType::Not},
    {"=", TokenType::Equal},
    {"<", TokenType::Less},
    {">", TokenType::Greater},
    {"?", TokenType::Question},
    {":", TokenType::Colon},
    {"(", TokenType::LeftParen},
    {")", TokenType::RightParen},
}};

template <size_t count>
const Symbol *FindSymbol(std::string_view text, const std::array<Symbol, count> &symbols)
{
    const auto *symbol =
        std::find_if(symbols.begin(), symbols.end(),
                     [text](const Symbol &candidate) { return text.starts_with(candidate.Text); });
    return symbol != symbols.end() ? symbol : nullptr;
}

// Unlike those of <cctype>, these tests do not depend on the locale of the consumer's process.
bool IsSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsHexDigit(char c)
{
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool IsNameStart(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool IsNamePart(char c)
{
    return IsNameStart(c) || IsDigit(c);
}

template <typename Test>
std::string_view TakeWhile(std::string_view &text, Test test)
{
    const auto end = std::find_if_not(text.begin(), text.end(), test);
    const auto taken = text.substr(0, static_cast<size_t>(end - text.begin()));
    text.remove_prefix(taken.size());
    return taken;
}

uint64_t DigitsToNumber(std::string_view digits, uint64_t base)
{
    uint64_t number = 0;
    for (const char digit : digits)
    {
        // The digit 'A' is 0x41 and 'a' is 0x61: the low four bits of both are 1.
        const auto value = IsDigit(digit) ? digit - '0' : (digit & 0xF) + 9;
        number = number * base + static_cast<uint64_t>(value);
    }
    return number;
}

Token TakeNumber(std::string_view &text)
{
    const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    if (hexadecimal)
    {
        text.remove_prefix(2);
    }
    const auto digits = TakeWhile(text, hexadecimal ? IsHexDigit : IsDigit);
    return {TokenType::Number, static_cast<int64_t>(DigitsToNumber(digits, hexadecimal ? 16 : 10)), {}};
}

Token TakeToken(std::string_view &text)
{
    if (IsDigit(text.front()))
    {
        return TakeNumber(text);
    }
    if (IsNameStart(text.front()))
    {
        const auto name = TakeWhile(text, IsNamePart);
        return {TokenType::Identifier, 0, std::string(name)};
    }
    // A pair takes precedence over a single character.
    const auto *symbol = FindSymbol(text, pairs);
    symbol = symbol != nullptr ? symbol : FindSymbol(text, singles);
    if (symbol == nullptr)
    {
        throw std::runtime_error(std::string("Unexpected char: ") + text.front());
    }
    text.remove_prefix(symbol->Text.size());
    return {symbol->Type, 0, {}};
}

/// Whether a value is false. Only zero and the infinities are: an infinity does not exceed its own rounding
/// error.
bool CountsAsZero(double x)
{
    return std::abs(x) <= std::abs(x) * std::numeric_limits<double>::epsilon();
}

bool NearlyEqual(double a, double b)
{
    return std::abs(a - b) <= std::max(std::abs(a), std::abs(b)) * std::numeric_limits<double>::epsilon();
}

double Truth(bool value)
{
    return value ? 1.0 : 0.0;
}

int64_t ShiftLeft(int64_t value, int64_t count)
{
    return static_cast<int64_t>(static_cast<uint64_t>(value) << (static_cast<uint64_t>(count) & 63U));
}

int64_t ShiftRight(int64_t value, int64_t count)
{
    return value >> (static_cast<uint64_t>(count) & 63U);
}

/// Applies an operation on integers to two doubles, truncated.
template <auto operation>
double OnIntegers(double a, double b)
{
    return static_cast<double>(operation(TruncateToInteger(a), TruncateToInteger(b)));
}

[[noreturn]] void Fail(const std::string &message)
{
    throw GenTLException(message, GC_ERR_ERROR);
}

// Levels of recursion, far beyond any honest formula. A hostile one must not exhaust the stack of the
// consumer's process. A pair of parentheses takes three levels.
constexpr int maximumNesting = 1500;

} // namespace

int64_t TruncateToInteger(double x)
{
    constexpr double limit = 9223372036854775808.0; // 2^63
    if (std::isnan(x))
    {
        return 0;
    }
    if (x >= limit)
    {
        return std::numeric_limits<int64_t>::max();
    }
    return x < -limit ? std::numeric_limits<int64_t>::min() : static_cast<int64_t>(x);
}

std::vector<Token> Tokenize(std::string_view formula)
{
    std::vector<Token> tokens;
    for (TakeWhile(formula, IsSpace); !formula.empty(); TakeWhile(formula, IsSpace))
    {
        tokens.push_back(TakeToken(formula));
    }
    tokens.push_back({TokenType::End, 0, {}});
    return tokens;
}

/// Counts one level of recursion while it lives.
class MathExpressionParser::Nesting
{
public:
    explicit Nesting(int &depth) : m_depth(depth)
    {
        if (m_depth >= maximumNesting)
        {
            Fail("Expression is nested too deeply");
        }
        ++m_depth;
    }
    Nesting(const Nesting &) = delete;
    Nesting &operator=(const Nesting &) = delete;
    ~Nesting() { --m_depth; }

private:
    int &m_depth;
};

MathExpressionParser::MathExpressionParser(std::string_view formula, Variables variables)
    : m_tokens(Tokenize(formula)), m_variables(std::move(variables))
{
}

double MathExpressionParser::Parse()
{
    return Ternary();
}

bool MathExpressionParser::Accept(TokenType type)
{
    if (Current().Type != type)
    {
        return false;
    }
    // The last token, End, stays the current one.
    m_position = std::min(m_position + 1, m_tokens.size() - 1);
    return true;
}

void MathExpressionParser::Expect(TokenType type)
{
    if (!Accept(type))
    {
        Fail("Unexpected token in expression");
    }
}

double MathExpressionParser::Ternary()
{
    const Nesting nesting(m_depth);
    const double condition = LogicalOr();
    if (!Accept(TokenType::Question))
    {
        return condition;
    }
    // Computes both branches, so that an unknown variable in either one is an error.
    const double first = Ternary();
    Expect(TokenType::Colon);
    const double second = Ternary();
    return CountsAsZero(condition) ? second : first;
}

double MathExpressionParser::LeftAssociative(Level next, std::initializer_list<BinaryOperator> operators)
{
    double value = (this->*next)();
    for (;;)
    {
        const auto accepted =
            std::ranges::find_if(operators, [this](const auto &candidate) { return Accept(candidate.Type); });
        if (accepted == operators.end())
        {
            return value;
        }
        value = accepted->Apply(value, (this->*next)());
    }
}

double MathExpressionParser::LogicalOr()
{
    return LeftAssociative(
        &MathExpressionParser::LogicalAnd,
        {{TokenType::OrOr, [](double a, double b) { return Truth(!CountsAsZero(a) || !CountsAsZero(b)); }}});
}

double MathExpressionParser::LogicalAnd()
{
    return LeftAssociative(&MathExpressionParser::BitwiseOr,
                           {{TokenType::AndAnd, [](double a, double b)
                             { return Truth(!CountsAsZero(a) && !CountsAsZero(b)); }}});
}

double MathExpressionParser::BitwiseOr()
{
    return LeftAssociative(&MathExpressionParser::BitwiseXor,
                           {{TokenType::BitOr, OnIntegers<[](int64_t a, int64_t b) { return a | b; }>}});
}

double MathExpressionParser::BitwiseXor()
{
    return LeftAssociative(&MathExpressionParser::BitwiseAnd,
                           {{TokenType::BitXor, OnIntegers<[](int64_t a, int64_t b) { return a ^ b; }>}});
}

double MathExpressionParser::BitwiseAnd()
{
    return LeftAssociative(&MathExpressionParser::Equality,
                           {{TokenType::BitAnd, OnIntegers<[](int64_t a, int64_t b) { return a & b; }>}});
}

double MathExpressionParser::Equality()
{
    return LeftAssociative(
        &MathExpressionParser::Relation,
        {{TokenType::Equal, [](double a, double b) { return Truth(NearlyEqual(a, b)); }},
         {TokenType::NotEqual, [](double a, double b) { return Truth(!NearlyEqual(a, b)); }}});
}

double MathExpressionParser::Relation()
{
    return LeftAssociative(&MathExpressionParser::Shift,
                           {{TokenType::Less, [](double a, double b) { return Truth(a < b); }},
                            {TokenType::Greater, [](double a, double b) { return Truth(a > b); }},
                            {TokenType::LessEqual, [](double a, double b) { return Truth(a <= b); }},
                            {TokenType::GreaterEqual, [](double a, double b) { return Truth(a >= b); }}});
}

double MathExpressionParser::Shift()
{
    return LeftAssociative(&MathExpressionParser::Sum, {{TokenType::ShiftLeft, OnIntegers<ShiftLeft>},
                                                        {TokenType::ShiftRight, OnIntegers<ShiftRight>}});
}

double MathExpressionParser::Sum()
{
    return LeftAssociative(&MathExpressionParser::Product,
                           {{TokenType::Plus, [](double a, double b) { return a + b; }},
                            {TokenType::Minus, [](double a, double b) { return a - b; }}});
}

double MathExpressionParser::Product()
{
    return LeftAssociative(&MathExpressionParser::Power,
                           {{TokenType::Multiply, [](double a, double b) { return a * b; }},
                            {TokenType::Divide, [](double a, double b) { return a / b; }},
                            {TokenType::Modulo, [](double a, double b) { return std::fmod(a, b); }}});
}

double MathExpressionParser::Power()
{
    const Nesting nesting(m_depth);
    const double base = Unary();
    return Accept(TokenType::Power) ? std::pow(base, Power()) : base;
}

double MathExpressionParser::Unary()
{
    const Nesting nesting(m_depth);
    if (Accept(TokenType::Minus))
    {
        return -Unary();
    }
    if (Accept(TokenType::Plus))
    {
        return Unary();
    }
    if (Accept(TokenType::BitNot))
    {
        return static_cast<double>(~TruncateToInteger(Unary()));
    }
    if (Accept(TokenType::Not))
    {
        return Truth(CountsAsZero(Unary()));
    }
    return Primary();
}

double MathExpressionParser::Primary()
{
    const Token token = Current();
    if (Accept(TokenType::LeftParen))
    {
        const double value = Ternary();
        Expect(TokenType::RightParen);
        return value;
    }
    if (Accept(TokenType::Number))
    {
        return static_cast<double>(token.Value);
    }
    if (Accept(TokenType::Identifier))
    {
        const auto variable = m_variables.find(token.Name);
        if (variable == m_variables.end())
        {
            Fail("Unknown variable: " + token.Name);
        }
        return variable->second;
    }
    Fail("Expected number, variable, or '('");
}

} // namespace GenTL::internal::nodemap

#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace GenTL::internal::nodemap
{

enum class TokenType : int32_t
{
    Number = 0,
    Identifier = 1,
    Plus = 2,
    Minus = 3,
    Multiply = 4,
    Divide = 5,
    Modulo = 6,
    Power = 7,
    BitAnd = 8,
    BitOr = 9,
    BitXor = 10,
    BitNot = 11,
    ShiftLeft = 12,
    ShiftRight = 13,
    Not = 14,
    AndAnd = 15,
    OrOr = 16,
    Equal = 17,
    NotEqual = 18,
    Less = 19,
    Greater = 20,
    LessEqual = 21,
    GreaterEqual = 22,
    Question = 23,
    Colon = 24,
    LeftParen = 25,
    RightParen = 26,
    End = 27,
};

struct Token
{
    TokenType Type{};
    int64_t Value{};  ///< of a Number
    std::string Name; ///< of an Identifier
};

/// Truncates toward zero and saturates at the limits of the type; NaN gives 0.
int64_t TruncateToInteger(double x);

/// Splits a formula into tokens. The last one is an End.
/// @throws std::runtime_error "Unexpected char: " and the character
std::vector<Token> Tokenize(std::string_view formula);

/// Parses and computes a GenICam formula in one pass. Every value is a double. The language has no functions,
/// and no names except the given variables.
///
/// For one thread and one use.
class MathExpressionParser
{
public:
    using Variables = std::unordered_map<std::string, double>;

    /// @throws std::runtime_error "Unexpected char: " and the character
    MathExpressionParser(std::string_view formula, Variables variables);

    /// Computes one expression, beginning at the current token. Call Expect(TokenType::End) afterwards to
    /// refuse trailing tokens.
    /// @throws GenTLException GC_ERR_ERROR: a misplaced token, an unknown variable, or too deep nesting
    double Parse();

    /// Consumes the current token if it has this type.
    /// @throws GenTLException "Unexpected token in expression", GC_ERR_ERROR
    void Expect(TokenType type);

private:
    class Nesting;
    using Level = double (MathExpressionParser::*)();
    struct BinaryOperator
    {
        TokenType Type;
        double (*Apply)(double, double);
    };

    const Token &Current() const { return m_tokens[m_position]; }
    bool Accept(TokenType type);

    double Ternary();
    double LogicalOr();
    double LogicalAnd();
    double BitwiseOr();
    double BitwiseXor();
    double BitwiseAnd();
    double Equality();
    double Relation();
    double Shift();
    double Sum();
    double Product();
    double Power();
    double Unary();
    double Primary();

    /// Combines values of the next level from left to right.
    double LeftAssociative(Level next, std::initializer_list<BinaryOperator> operators);

    std::vector<Token> m_tokens;
    size_t m_position = 0;
    Variables m_variables;
    int m_depth = 0;
};

} // namespace GenTL::internal::nodemap

#pragma once

#include <cstdint>
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

/// The tokens of a formula, an End behind the last one.
/// @throws std::runtime_error "Unexpected char: " and the character
std::vector<Token> Tokenize(std::string_view formula);

/// Parses and computes a GenICam formula in one pass. Every value is a double; there are no functions and no
/// named constants beside the variables given.
///
/// Used by one thread, once.
class MathExpressionParser
{
public:
    using Variables = std::unordered_map<std::string, double>;

    /// @throws std::runtime_error "Unexpected char: " and the character
    MathExpressionParser(std::string_view formula, Variables variables);

    /// Computes one expression from the current token on. The caller then wants Expect(TokenType::End).
    /// @throws GenTLException GC_ERR_ERROR: a token out of place, an unknown variable, nesting without end
    double Parse();

    /// Consumes the current token if it has this type.
    /// @throws GenTLException "Unexpected token in expression", GC_ERR_ERROR
    void Expect(TokenType type);

private:
    class Nesting;

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

    template <typename Operation>
    double LeftAssociative(TokenType type, double (MathExpressionParser::*next)(), Operation operation);

    std::vector<Token> m_tokens;
    size_t m_position = 0;
    Variables m_variables;
    int m_depth = 0;
};

} // namespace GenTL::internal::nodemap

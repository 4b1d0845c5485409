#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace GenTL::internal::genapi
{

/// The value of a node: an integer or a floating number. A plain value.
class Number
{
public:
    constexpr Number(int64_t value) : m_integer(value) {}
    constexpr Number(double value) : m_float(value), m_isFloat(true) {}

    constexpr bool IsFloat() const { return m_isFloat; }
    constexpr double Float() const { return m_isFloat ? m_float : static_cast<double>(m_integer); }
    /// The integer; a floating number rounded half away from zero. Empty when that is no int64.
    std::optional<int64_t> Integer() const;
    constexpr bool IsTrue() const { return m_isFloat ? m_float != 0 : m_integer != 0; }
    /// The decimal text; of a floating number the shortest that reads back as the same.
    std::string Text() const;

    friend bool operator==(const Number &, const Number &) = default;

private:
    int64_t m_integer = 0;
    double m_float = 0;
    bool m_isFloat = false;
};

/// Cuts white space at both ends.
std::string_view Trimmed(std::string_view text);

/// Whether a text without a sign has the prefix 0x.
bool IsHexadecimal(std::string_view text);

/// Reads an integer of a description: decimal, or hexadecimal with the prefix 0x. A hexadecimal number fills
/// all 64 bits, so 0xFFFFFFFFFFFFFFFF is -1. A decimal number beyond int64 becomes the nearest int64: as a
/// limit it means that there is none. Empty for any other text.
std::optional<int64_t> ParseInteger(std::string_view text);

/// Reads a floating number of a description in the C locale, whatever the locale of the process: also INF,
/// -INF and NaN, and an integer in its hexadecimal form. Empty for any other text.
std::optional<double> ParseFloat(std::string_view text);

/// Reads an integer if the text is one, else a floating number. Empty for any other text.
std::optional<Number> ParseNumber(std::string_view text);

} // namespace GenTL::internal::genapi

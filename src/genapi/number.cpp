#include "genapi/number.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace GenTL::internal::genapi
{
namespace
{

/// A number without its sign.
struct Unsigned
{
    std::string_view digits;
    bool negative;
};

Unsigned WithoutSign(std::string_view text)
{
    const bool negative = text.starts_with('-');
    const bool hasSign = negative || text.starts_with('+');
    return {hasSign ? text.substr(1) : text, negative};
}

/// Reads the text to its end. result_out_of_range is the caller's matter; all other failures are
/// invalid_argument.
template <typename T, typename... Format>
std::errc ReadWhole(std::string_view text, T &value, Format... format)
{
    const auto *const end = text.data() + text.size();
    // from_chars would take a second sign.
    if (text.empty() || text.front() == '-' || text.front() == '+')
    {
        return std::errc::invalid_argument;
    }
    const auto result = std::from_chars(text.data(), end, value, format...);
    return result.ptr == end ? result.ec : std::errc::invalid_argument;
}

std::optional<int64_t> ParseDecimal(const Unsigned &number)
{
    constexpr auto greatest = static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
    uint64_t value = 0;
    const auto error = ReadWhole(number.digits, value, 10);
    if (error == std::errc::invalid_argument)
    {
        return {};
    }
    if (error != std::errc{} || value > greatest)
    {
        return number.negative ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
    }
    return number.negative ? -static_cast<int64_t>(value) : static_cast<int64_t>(value);
}

/// Whether a number that is out of range is too close to 0; from_chars does not say.
bool IsTooSmall(std::string_view digits)
{
    const auto mantissa = digits.substr(0, digits.find_first_of("eE"));
    const bool hasExponent = mantissa.size() < digits.size();
    const auto exponent =
        hasExponent ? ParseDecimal(WithoutSign(digits.substr(mantissa.size() + 1))).value_or(0) : 0;
    const auto point = std::min(mantissa.find('.'), mantissa.size());
    const auto first = mantissa.find_first_not_of("0.");
    return exponent < static_cast<int64_t>(first) - static_cast<int64_t>(point);
}

} // namespace

std::optional<int64_t> Number::Integer() const
{
    if (!m_isFloat)
    {
        return m_integer;
    }
    const double rounded = std::round(m_float);
    // 2^63 itself is a double, the greatest int64 is not.
    constexpr double bound = 9223372036854775808.0;
    if (!(rounded >= -bound && rounded < bound))
    {
        return {};
    }
    return static_cast<int64_t>(rounded);
}

std::string Number::Text() const
{
    if (std::isnan(m_float))
    {
        // Whether a NaN has a sign depends on the processor.
        return "nan";
    }
    return m_isFloat ? fmt::format("{}", m_float) : fmt::format("{}", m_integer);
}

std::string_view Trimmed(std::string_view text)
{
    constexpr std::string_view space = " \t\r\n";
    const auto first = text.find_first_not_of(space);
    if (first == std::string_view::npos)
    {
        return {};
    }
    return text.substr(first, text.find_last_not_of(space) - first + 1);
}

bool IsHexadecimal(std::string_view text)
{
    return text.starts_with("0x") || text.starts_with("0X");
}

std::optional<int64_t> ParseInteger(std::string_view text)
{
    const auto number = WithoutSign(Trimmed(text));
    if (!IsHexadecimal(number.digits))
    {
        return ParseDecimal(number);
    }
    uint64_t value = 0;
    if (ReadWhole(number.digits.substr(2), value, 16) != std::errc{})
    {
        return {};
    }
    return static_cast<int64_t>(number.negative ? -value : value);
}

std::optional<double> ParseFloat(std::string_view text)
{
    const auto number = WithoutSign(Trimmed(text));
    if (IsHexadecimal(number.digits))
    {
        const auto integer = ParseInteger(text);
        return integer ? std::optional(static_cast<double>(*integer)) : std::nullopt;
    }
    double value = 0;
    const auto error = ReadWhole(number.digits, value);
    if (error == std::errc::invalid_argument)
    {
        return {};
    }
    if (error == std::errc::result_out_of_range)
    {
        value = IsTooSmall(number.digits) ? 0 : std::numeric_limits<double>::infinity();
    }
    return number.negative ? -value : value;
}

std::optional<Number> ParseNumber(std::string_view text)
{
    if (const auto integer = ParseInteger(text))
    {
        return Number(*integer);
    }
    const auto value = ParseFloat(text);
    return value ? std::optional<Number>(*value) : std::nullopt;
}

} // namespace GenTL::internal::genapi

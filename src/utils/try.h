#pragma once

#include <exception>
#include <optional>

namespace GenTL::internal::utils
{

/// The result of a function; none when it throws a std::exception.
template <typename Function>
auto Try(Function function) -> std::optional<decltype(function())>
{
    try
    {
        return function();
    }
    catch (const std::exception &)
    {
        return std::nullopt;
    }
}

} // namespace GenTL::internal::utils

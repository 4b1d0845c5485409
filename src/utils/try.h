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

/// Runs an action whose failure, a std::exception, does not matter.
template <typename Action>
void Attempt(Action action)
{
    try
    {
        action();
    }
    catch (const std::exception &) // NOLINT(bugprone-empty-catch)
    {
    }
}

} // namespace GenTL::internal::utils

#pragma once

#include <exception>

/// Performs an action that may throw a std::exception, but must end.
template <typename Action>
void Try(Action action)
{
    try
    {
        action();
    }
    catch (const std::exception &) // NOLINT(bugprone-empty-catch)
    {
    }
}

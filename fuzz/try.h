#pragma once

#include <exception>

/// Performs an action that may throw an exception of this kind, but must end.
template <typename Expected = std::exception, typename Action>
void Try(Action action)
{
    try
    {
        action();
    }
    catch (const Expected &) // NOLINT(bugprone-empty-catch)
    {
    }
}

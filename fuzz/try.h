#pragma once

#include <exception>

/// Performs an action of which nothing is wanted but that it ends, with or without an exception of this kind.
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

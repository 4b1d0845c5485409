#pragma once

#include <exception>

/// Performs an action of which nothing is wanted but that it ends, with or without a std::exception.
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

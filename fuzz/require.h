#pragma once

#include <cstdlib>

/// Ends the fuzzer with a finding when something does not hold.
inline void Require(bool holds)
{
    if (!holds)
    {
        std::abort();
    }
}

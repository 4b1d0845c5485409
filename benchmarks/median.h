#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

/// The lower one of two in the middle, as in `gentlctl bench`.
/// @param values must not be empty
inline double MedianOf(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>((values.size() - 1) / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

/// @param values at least one
inline double MedianOf(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace gentlctl
{

/// Percentiles of some values.
struct Percentiles
{
    double median = 0;
    double p99 = 0; ///< the 99th percentile
    double maximum = 0;
    size_t count = 0; ///< of the values; without values all members are 0
};

/// By the nearest rank: each result is one of the values.
Percentiles PercentilesOf(std::vector<double> values);

/// The median; 0 without values.
inline double MedianOf(std::vector<double> values)
{
    return PercentilesOf(std::move(values)).median;
}

} // namespace gentlctl

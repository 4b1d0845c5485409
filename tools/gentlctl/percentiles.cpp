#include "gentlctl/percentiles.h"

#include <algorithm>
#include <utility>

namespace gentlctl
{

Percentiles PercentilesOf(std::vector<double> values)
{
    if (values.empty())
    {
        return {};
    }
    std::ranges::sort(values);
    // The smallest value that `percent` in 100 of the values do not exceed.
    const auto at = [&](size_t percent)
    {
        constexpr size_t all = 100;
        const auto rank = (values.size() * percent + all - 1) / all;
        return values[std::max<size_t>(rank, 1) - 1];
    };
    return {at(50), at(99), values.back(), values.size()};
}

} // namespace gentlctl

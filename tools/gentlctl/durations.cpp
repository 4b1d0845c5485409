#include "gentlctl/durations.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace gentlctl
{

std::chrono::nanoseconds ParseDuration(const std::string &text)
{
    static constexpr std::array<std::pair<std::string_view, double>, 6> units{
        {{"", 1}, {"ms", 1e-3}, {"s", 1}, {"min", 60}, {"m", 60}, {"h", 3600}}};
    constexpr double longest = 366.0 * 24 * 3600;
    double number = 0;
    const char *end = text.data() + text.size();
    const auto parsed = std::from_chars(text.data(), end, number);
    const auto *unit = std::ranges::find(units, std::string_view(parsed.ptr, end),
                                         [](const auto &entry) { return entry.first; });
    const double seconds = unit != units.end() ? number * unit->second : 0;
    if (parsed.ec != std::errc() || !(seconds > 0) || seconds > longest)
    {
        throw std::runtime_error(
            fmt::format("\"{}\" is not a time from 1ms to a year, as 500ms, 10s, 2min or 1h", text));
    }
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(seconds));
}

} // namespace gentlctl

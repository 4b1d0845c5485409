#pragma once

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

namespace recording
{

/// A recording that cannot be written or read. The message names the file, the cause and what to do.
class Error : public std::runtime_error
{
public:
    template <typename... Args>
    explicit Error(fmt::format_string<Args...> text, Args &&...args)
        : std::runtime_error(fmt::format(text, std::forward<Args>(args)...))
    {
    }
};

} // namespace recording

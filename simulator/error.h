#pragma once

#include <fmt/format.h>
#include <gentl/gentl.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace GenTL::simulator
{

/// A failure that an export reports: the code it returns, and the text that GCGetLastError gives.
class Error : public std::runtime_error
{
public:
    template <typename... Args>
    explicit Error(GC_ERROR code, fmt::format_string<Args...> text, Args &&...args)
        : std::runtime_error(fmt::format(text, std::forward<Args>(args)...)), m_code(code)
    {
    }

    GC_ERROR Code() const { return m_code; }

private:
    GC_ERROR m_code;
};

/// @throws Error GC_ERR_INVALID_PARAMETER: the argument called `name` is null.
inline void RequireNotNull(const void *pointer, const char *name)
{
    if (pointer == nullptr)
    {
        throw Error(GC_ERR_INVALID_PARAMETER, "{} must not be NULL", name);
    }
}

} // namespace GenTL::simulator

#pragma once

#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <cstdint>
#include <initializer_list>
#include <string_view>

namespace GenTL::internal::utils
{

/// A pointer argument, and its name for the error text.
struct NamedPointer
{
    std::string_view name;
    const volatile void *pointer;
};

/// Checks the arguments in order and fails at the first null pointer.
/// @throws GenTLException "{} must not be NULL", GC_ERR_INVALID_PARAMETER
inline void CheckNotNull(std::initializer_list<NamedPointer> arguments)
{
    for (const auto &argument : arguments)
    {
        if (argument.pointer == nullptr)
        {
            throw GenTLException(fmt::format("{} must not be NULL", argument.name), GC_ERR_INVALID_PARAMETER);
        }
    }
}

inline void CheckNotNull(std::string_view name, const volatile void *pointer)
{
    CheckNotNull({{name, pointer}});
}

/// @throws GenTLException "{} must not be 0", GC_ERR_INVALID_PARAMETER
inline void CheckNotZero(std::string_view name, uint64_t value)
{
    if (value == 0)
    {
        throw GenTLException(fmt::format("{} must not be 0", name), GC_ERR_INVALID_PARAMETER);
    }
}

/// @throws GenTLException "Buffer is too small. Needed {}, got {}!", GC_ERR_BUFFER_TOO_SMALL
inline void CheckBufferSize(uint64_t got, uint64_t needed)
{
    if (got < needed)
    {
        throw GenTLException(fmt::format("Buffer is too small. Needed {}, got {}!", needed, got),
                             GC_ERR_BUFFER_TOO_SMALL);
    }
}

/// @throws GenTLException "Supplied index {} is out of range", GC_ERR_INVALID_INDEX
inline void CheckIndex(uint64_t index, uint64_t count)
{
    if (index >= count)
    {
        throw GenTLException(fmt::format("Supplied index {} is out of range", index), GC_ERR_INVALID_INDEX);
    }
}

/// Whether [offset, offset + size) lies within [0, limit). Computes no sum that could wrap.
constexpr bool RangeFits(uint64_t offset, uint64_t size, uint64_t limit)
{
    return offset <= limit && size <= limit - offset;
}

} // namespace GenTL::internal::utils

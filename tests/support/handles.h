#pragma once

#include <cstdint>

namespace GenTL::internal
{

/// A handle of the lower producer, told apart from others by its number.
inline void *LowerHandle(uintptr_t number)
{
    return reinterpret_cast<void *>(number);
}

} // namespace GenTL::internal

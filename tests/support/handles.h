#pragma once

#include <cstdint>

namespace GenTL::internal
{

/// A made-up handle of the lower producer; its number identifies it.
inline void *LowerHandle(uintptr_t number)
{
    return reinterpret_cast<void *>(number);
}

} // namespace GenTL::internal

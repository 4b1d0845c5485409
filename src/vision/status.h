#pragma once

#include "vision/dynamic.h"

#include <cstdint>
#include <utility>

namespace tarn::cvl
{

/// Throws the exception for a nonzero status, with the text of the calling thread's last error.
/// @throws Exception and the classes derived from it; with code 13 and "Could not query the last error!" when
/// the text cannot be read
[[noreturn]] void ThrowStatus(int32_t status);

/// Calls a library function of namespace dynamic.
/// @throws as ThrowStatus when it fails
template <typename Function, typename... Args>
void Call(const Function &function, Args &&...args)
{
    const int32_t status = function(std::forward<Args>(args)...);
    if (status != TARN_CVL_SUCCESS)
    {
        ThrowStatus(status);
    }
}

} // namespace tarn::cvl

#pragma once

#include "vision/dynamic.h"

#include <cstdint>
#include <utility>

namespace tarn::cvl
{

/// Throws the exception that stands for a status other than 0, with the text of this thread's last error.
/// @throws Exception and the classes derived from it; code 13 and "Could not query the last error!" when
/// there is no text to be had
[[noreturn]] void ThrowStatus(int32_t status);

/// Calls a function of the library, one of the namespace dynamic.
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

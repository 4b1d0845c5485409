#pragma once

#include "utils/gentl_exception.h"

#include <exception>

namespace GenTL::internal
{

/// The code that an export returns for an exception.
inline GC_ERROR ErrorCodeOf(const std::exception &exception)
{
    const auto *const own = dynamic_cast<const GenTLException *>(&exception);
    return own != nullptr ? own->Code() : GC_ERROR{GC_ERR_ERROR};
}

} // namespace GenTL::internal

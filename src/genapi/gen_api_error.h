#pragma once

#include "utils/gentl_exception.h"

#include <string>

namespace GenTL::internal::genapi
{

/// A feature that cannot be read or written, with the way from the feature to the node that failed:
/// "Width: Width -> WidthReg: port read of 4 bytes at 0x30024 failed: no answer (-1011)".
///
/// The code is that of the port for a failure of the port, GC_ERR_ACCESS_DENIED for a node that is not
/// writable, GC_ERR_INVALID_VALUE for a value out of limits, and GC_ERR_ERROR for all else.
class GenApiError : public GenTLException
{
public:
    using GenTLException::GenTLException;
    explicit GenApiError(const std::string &message) : GenTLException(message, GC_ERR_ERROR) {}
};

} // namespace GenTL::internal::genapi

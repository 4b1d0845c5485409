#pragma once

#include <gentl/gentl.h>

namespace GenTL::internal
{

/// The lower producer: one operation for each published function but GCGetLastError, with the published
/// arguments and the lower producer's handles.
///
/// Every operation gives GC_ERR_SUCCESS; a failure of the lower function is thrown as a GenTLException
/// with the lower producer's text and code. Any thread may call any operation: how far calls may run side
/// by side is the lower producer's affair.
class IGenTLProxy
{
public:
    IGenTLProxy() = default;
    IGenTLProxy(const IGenTLProxy &) = delete;
    IGenTLProxy &operator=(const IGenTLProxy &) = delete;
    virtual ~IGenTLProxy() = default;

    // GCGetLastError is not an operation: the proxy reads it itself when a function fails. The list's
    // parameter lists make the declarations, so that an operation cannot be forgotten.
#define QVR_OPERATIONS_ONLY
#define FN(group, name, parameters, arguments) virtual GC_ERROR name parameters = 0;
#include <gentl/functions.inc>
#undef FN
#undef QVR_OPERATIONS_ONLY
};

} // namespace GenTL::internal

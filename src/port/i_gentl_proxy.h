#pragma once

#include <gentl/gentl.h>

namespace GenTL::internal
{

/// The lower producer: one operation for each published function but GCGetLastError, with the published
/// arguments and the lower producer's handles.
///
/// Every operation gives GC_ERR_SUCCESS; a failure of the lower function is thrown as a GenTLException
/// with the lower producer's text and code. Any thread may call any operation; the lower producer decides
/// which calls may run at the same time.
class IGenTLProxy
{
public:
    IGenTLProxy() = default;
    IGenTLProxy(const IGenTLProxy &) = delete;
    IGenTLProxy &operator=(const IGenTLProxy &) = delete;
    virtual ~IGenTLProxy() = default;

    // Without GCGetLastError, which the proxy calls itself when a function fails. The list makes the
    // declarations, so no function can be forgotten.
#define QVR_OPERATIONS_ONLY
#define FN(group, name, parameters, arguments) virtual GC_ERROR name parameters = 0;
#include <gentl/functions.inc>
#undef FN
#undef QVR_OPERATIONS_ONLY
};

} // namespace GenTL::internal

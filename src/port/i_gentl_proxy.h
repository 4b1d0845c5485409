#pragma once

#include "utils/gentl_exception.h"

#include <gentl/gentl.h>

#include <exception>

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

    // The same operations for a caller that expects failures: TryDSGetBufferInfo and so on. They return the
    // code of the lower function, or GC_ERR_NOT_IMPLEMENTED if it is missing. This default calls the
    // operation and catches its exception; GenTLProxy overrides it, so that a failure fetches no text, throws
    // nothing and logs nothing. Not for functions that open or close modules.
#define FN(group, name, parameters, arguments)                                                               \
    virtual GC_ERROR Try##name parameters                                                                    \
    {                                                                                                        \
        return CodeOf([&] { name arguments; });                                                              \
    }
#include <gentl/functions.inc>
#undef FN
#undef QVR_OPERATIONS_ONLY

private:
    template <typename Operation>
    static GC_ERROR CodeOf(Operation operation)
    {
        try
        {
            return ResultOf(operation);
        }
        catch (const std::exception &)
        {
            return GC_ERR_ERROR;
        }
    }
};

} // namespace GenTL::internal

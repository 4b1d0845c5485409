#include "datastream/i_output_queue.h"

#include "utils/gentl_exception.h"

#include <fmt/format.h>

namespace GenTL::internal
{

void ThrowNoSuchFlush(ACQ_QUEUE_TYPE operation)
{
    throw GenTLException(fmt::format("Flush mode {} not implemented", operation), GC_ERR_NOT_IMPLEMENTED);
}

void CheckIsNewBuffer(EVENT_TYPE type)
{
    if (type != EVENT_NEW_BUFFER)
    {
        throw GenTLException(fmt::format("Event type {} not implemented", type), GC_ERR_NOT_IMPLEMENTED);
    }
}

} // namespace GenTL::internal

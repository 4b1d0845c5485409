#include "processing/frame_copy.h"

#include "utils/gentl_exception.h"

#include <cstring>

namespace GenTL::internal
{

void CheckHasMemory(const InputData &input)
{
    if (input.data == nullptr && input.size != 0)
    {
        throw GenTLException("Input buffer has no memory!", GC_ERR_ERROR);
    }
}

void CopyFrame(uint8_t *target, const uint8_t *source, size_t size)
{
    if (size != 0)
    {
        std::memcpy(target, source, size);
    }
}

} // namespace GenTL::internal

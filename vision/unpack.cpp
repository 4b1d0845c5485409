#include "vision/unpack.h"

#include "vision/unpack_layout.h"
#include "vision/unpack_scalar.h"

namespace tarn::vision
{

bool IsUnpackOffered(uint32_t from, uint32_t to)
{
    return FindLayout(from, to).has_value();
}

void Unpack(uint32_t from, const uint8_t *source, uint32_t to, uint8_t *target, uint32_t width,
            uint32_t height)
{
    UnpackScalar(from, source, to, target, width, height);
}

} // namespace tarn::vision

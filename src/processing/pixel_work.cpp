#include "processing/pixel_work.h"

#include "vision/image.h"

namespace GenTL::internal
{

void UnpackImage(const PixelSource &source, const PixelTarget &target)
{
    const tarn::cvl::Image image(source.format, source.size, source.data, source.byteSize);
    image.ConvertTo(target.format, target.memory.data(), target.memory.size());
}

} // namespace GenTL::internal

#include "vision/region.h"

#include "vision/image.h"

namespace tarn::cvl
{

using detail::Backend;

static_assert(sizeof(tarn_cvl_Range) == TARN_CVL_RANGE_SIZE);
static_assert(sizeof(Colour) == 24);

Region::Region() : m_handle(decltype(m_handle)::Create(dynamic::Region_Create)) {}

Region::Region(const Image &image, int32_t minimum, int32_t maximum) : Region()
{
    const tarn_cvl_Range range{minimum, maximum};
    Call(dynamic::Threshold_Process, Backend::HandleOf(image), &range, sizeof range,
         Backend::HandleAddressOf(*this));
}

void Region::Draw(const Image &image, const Colour &colour)
{
    Call(dynamic::Region_Draw, Backend::HandleOf(image), GetHandle(), &colour);
}

} // namespace tarn::cvl

#pragma once

#include "vision/backend.h"

#include <cstdint>

namespace tarn::cvl
{

class Image;

/// The colour for drawing a region.
using Colour = tarn_cvl_Colour;

class IDrawable
{
public:
    virtual ~IDrawable() = default;

    virtual void Draw(const Image &image, const Colour &colour) = 0;
};

/// A set of pixels, owned by its creator. Used by one thread at a time. Every function that calls the library
/// throws as ThrowStatus.
class Region : public IDrawable, detail::IBackendAccessible<Region>, detail::IBackendExchangeable<Region>
{
public:
    /// Creates an empty set.
    Region();
    /// The pixels of the image whose value lies in the range, limits included.
    Region(const Image &image, int32_t minimum, int32_t maximum);

    /// Draws the region's pixels in the image.
    void Draw(const Image &image, const Colour &colour) override;

private:
    friend struct detail::Backend;

    void *GetHandle() const override { return m_handle.Get(); }
    void **GetHandleAddress() override { return m_handle.GetAddress(); }

    detail::Handle<dynamic::Region_Destroy> m_handle;
};

} // namespace tarn::cvl

#pragma once

#include "vision/backend.h"

#include <cstdint>

namespace tarn::cvl
{

class Image;

/// What a region is drawn with.
using Colour = tarn_cvl_Colour;

class IDrawable
{
public:
    virtual ~IDrawable() = default;

    virtual void Draw(const Image &image, const Colour &colour) = 0;
};

/// A set of pixels, owned by whoever made it. Used by one thread at a time. Everything that calls the
/// library throws as ThrowStatus.
class Region : public IDrawable, detail::IBackendAccessible<Region>, detail::IBackendExchangeable<Region>
{
public:
    /// Without pixels.
    Region();
    /// The pixels of the image whose value lies in the range, both ends included.
    Region(const Image &image, int32_t minimum, int32_t maximum);

    /// Sets the region's pixels of the image.
    void Draw(const Image &image, const Colour &colour) override;

private:
    friend struct detail::Backend;

    void *GetHandle() const override { return m_handle.Get(); }
    void **GetHandleAddress() override { return m_handle.GetAddress(); }

    detail::Handle<dynamic::Region_Destroy> m_handle;
};

} // namespace tarn::cvl

#pragma once

#include "common/pixel_format.h"

#include <fmt/format.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace GenTL::internal
{

/// A component of a device's payload. The mappings below give its three spellings: the entry of
/// ComponentSelector, the type of a buffer's part, and the pixel formats.
enum class Component : int32_t
{
    Image2D = 0,
    Image3D = 1,
    Confidence = 2,
};

/// The enumerator's name; a value outside of the enumeration as a decimal number.
std::string ToString(Component component);

/// The component that an entry of ComponentSelector names; none for an unknown entry.
std::optional<Component> ComponentOfEntry(std::string_view entry);
/// The component of a part with this PARTDATATYPE_IDS; none for an unknown type.
std::optional<Component> ComponentOfPart(int32_t type);
/// The component whose images have this format.
Component ComponentOf(tarn::common::PixelFormat format);

/// Whether a format is depth without the other two coordinates.
bool IsDepth(tarn::common::PixelFormat format);

} // namespace GenTL::internal

template <>
struct fmt::formatter<GenTL::internal::Component> : fmt::formatter<std::string_view>
{
    template <typename Context>
    auto format(GenTL::internal::Component component, Context &context) const
    {
        return fmt::formatter<std::string_view>::format(GenTL::internal::ToString(component), context);
    }
};

#include "processing/component.h"

#include <gentl/gentl.h>

#include <algorithm>
#include <array>

namespace GenTL::internal
{
namespace
{

using tarn::common::PixelFormat;

struct Spellings
{
    Component component;
    std::string_view name;
    std::string_view entry;
    int32_t part;
};

constexpr std::array components{
    Spellings{Component::Image2D, "Image2D", "Intensity", PART_DATATYPE_2D_IMAGE},
    Spellings{Component::Image3D, "Image3D", "Range", PART_DATATYPE_3D_IMAGE},
    Spellings{Component::Confidence, "Confidence", "Confidence", PART_DATATYPE_CONFIDENCE_MAP}};

template <typename Key>
const Spellings *Find(Key Spellings::*field, const Key &key)
{
    const auto *const row = std::ranges::find(components, key, field);
    return row != components.end() ? row : nullptr;
}

std::optional<Component> ComponentIn(const Spellings *row)
{
    return row != nullptr ? std::optional(row->component) : std::nullopt;
}

} // namespace

std::string ToString(Component component)
{
    const auto *row = Find(&Spellings::component, component);
    return row != nullptr ? std::string(row->name) : std::to_string(static_cast<int32_t>(component));
}

std::optional<Component> ComponentOfEntry(std::string_view entry)
{
    return ComponentIn(Find(&Spellings::entry, entry));
}

std::optional<Component> ComponentOfPart(int32_t type)
{
    return ComponentIn(Find(&Spellings::part, type));
}

Component ComponentOf(PixelFormat format)
{
    if (IsDepth(format) || format == PixelFormat::Coord3D_ABC32f)
    {
        return Component::Image3D;
    }
    const bool isConfidence = format == PixelFormat::Confidence8 || format == PixelFormat::Confidence16;
    return isConfidence ? Component::Confidence : Component::Image2D;
}

bool IsDepth(PixelFormat format)
{
    return format == PixelFormat::Coord3D_C8 || format == PixelFormat::Coord3D_C16 ||
           format == PixelFormat::Coord3D_C32f;
}

} // namespace GenTL::internal

#include "vision_module/unpack_layout.h"

#include "common/exceptions.h"
#include "common/format_table.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace tarn::vision
{

namespace
{

using common::FormatInfo;

/// A packing and the part of a format's name that identifies it.
struct Mark
{
    std::string_view text;
    Packing packing;
    uint32_t sampleBits; ///< storage of one sample
};

// The first mark that the name contains counts, so "10p32" stands before "10p".
constexpr std::array marks{
    Mark{"10p32", Packing::Word32, 10},     Mark{"10p", Packing::Stream10, 10},
    Mark{"12p", Packing::Stream12, 12},     Mark{"14p", Packing::Stream14, 14},
    Mark{"10g40QVR", Packing::Group40, 10}, Mark{"12g24QVR", Packing::Group24, 12},
    Mark{"10Packed", Packing::Pair10, 12},  Mark{"12Packed", Packing::Pair12, 12},
};

Interleaving InterleavingOf(std::string_view name)
{
    return name.ends_with("_I_A_B")     ? Interleaving::Lines
           : name.ends_with("_I_AB_CD") ? Interleaving::Cells
                                        : Interleaving::None;
}

/// Nullopt for a packed format of another packing, and for whole samples that lie in their places already.
std::optional<Layout> LayoutOf(const FormatInfo &format)
{
    const auto interleaving = InterleavingOf(format.name);
    if (!format.isPacked)
    {
        const auto packing = format.bits == 8 ? Packing::Bytes : Packing::Words;
        return interleaving != Interleaving::None ? std::optional(Layout{packing, interleaving, 1})
                                                  : std::nullopt;
    }
    const auto *mark = std::ranges::find_if(
        marks, [&](const Mark &each) { return format.name.find(each.text) != std::string_view::npos; });
    if (mark == marks.end())
    {
        return std::nullopt;
    }
    return Layout{mark->packing, interleaving, format.bits / mark->sampleBits};
}

} // namespace

std::optional<Layout> FindLayout(uint32_t from, uint32_t to)
{
    const auto *format = common::wideFormats.Find(common::PixelFormat{from});
    if (from == to || format == nullptr || format->unpacked != common::PixelFormat{to})
    {
        return std::nullopt;
    }
    return LayoutOf(*format);
}

Layout GetLayout(uint32_t from, uint32_t to)
{
    if (const auto layout = FindLayout(from, to))
    {
        return *layout;
    }
    throw common::InvalidParameterException(
        "Unpacking is not offered from the pixel format with the integer value of " + std::to_string(from) +
        " to the one with " + std::to_string(to) + "!");
}

} // namespace tarn::vision

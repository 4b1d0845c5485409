#include "vision_module/unpack_layout.h"

#include "common/exceptions.h"
#include "common/pixel_format.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace tarn::vision
{

namespace
{

struct Entry
{
    uint32_t from;
    uint32_t to;
    bool isPacked;
    Layout layout;
};

constexpr Entry EntryOf(std::string_view name, uint32_t from, uint32_t bits, bool isPacked, uint32_t to)
{
    const auto takeEnd = [&name](std::string_view end)
    {
        const auto ends = name.ends_with(end);
        name.remove_suffix(ends ? end.size() : 0);
        return ends;
    };
    const auto interleaving = takeEnd("_I_A_B")     ? Interleaving::Lines
                              : takeEnd("_I_AB_CD") ? Interleaving::Cells
                                                    : Interleaving::None;
    const auto packing = takeEnd("10p")        ? Packing::Stream10
                         : takeEnd("12p")      ? Packing::Stream12
                         : takeEnd("10g40QVR") ? Packing::Group40
                         : takeEnd("12g24QVR") ? Packing::Group24
                         : takeEnd("10p32")    ? Packing::Word32
                         : bits == 8           ? Packing::Bytes
                                               : Packing::Words;
    return {from, to, isPacked, {packing, interleaving}};
}

constexpr auto table = []
{
    std::array entries{
#define PIXEL_FORMAT(name, code, bits, maximum, packed, unpacked)                                            \
    EntryOf(#name, code, bits, packed, static_cast<uint32_t>(common::PixelFormat::unpacked)),
#include "common/pixel_formats.inc"
#undef PIXEL_FORMAT
    };
    std::ranges::sort(entries, {}, &Entry::from);
    return entries;
}();

constexpr bool HasWholeSamples(const Entry &entry)
{
    return entry.layout.packing == Packing::Bytes || entry.layout.packing == Packing::Words;
}

constexpr bool IsOffered(const Entry &entry)
{
    return entry.from != entry.to;
}

static_assert(std::ranges::count_if(table, &Entry::isPacked) == 46);
static_assert(std::ranges::count_if(table, IsOffered) == 46 + 18);
// A packed format has a layout of its own. An unpacked one is offered only if it is interleaved.
static_assert(std::ranges::all_of(table, [](const Entry &entry)
                                  { return entry.isPacked != HasWholeSamples(entry); }));
static_assert(std::ranges::all_of(
    table, [](const Entry &entry)
    { return IsOffered(entry) == (entry.isPacked || entry.layout.interleaving != Interleaving::None); }));

} // namespace

std::optional<Layout> FindLayout(uint32_t from, uint32_t to)
{
    const auto *entry = std::ranges::lower_bound(table, from, {}, &Entry::from);
    if (entry == table.end() || entry->from != from || entry->to != to || !IsOffered(*entry))
    {
        return std::nullopt;
    }
    return entry->layout;
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

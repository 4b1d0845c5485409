#include "pictures/npy_encoding.h"

#include <fmt/format.h>

#include <bit>
#include <cstdint>
#include <type_traits>
#include <variant>

namespace gentlctl
{
namespace
{

static_assert(std::endian::native == std::endian::little, "Samples are written as memory has them");

/// NumPy's name of a type: byte order, kind and bytes.
template <typename T>
std::string TypeName()
{
    return fmt::format("{}{}{}", sizeof(T) == 1 ? '|' : '<', std::is_floating_point_v<T> ? 'f' : 'u',
                       sizeof(T));
}

template <typename T>
std::string Npy(const Raster<T> &pixels)
{
    const auto channels = pixels.channels > 1 ? fmt::format(", {}", pixels.channels) : "";
    auto header = fmt::format("{{'descr': '{}', 'fortran_order': False, 'shape': ({}, {}{}), }}",
                              TypeName<T>(), pixels.height, pixels.width, channels);
    // The samples begin at a multiple of 64 bytes, behind a line end.
    constexpr size_t alignment = 64;
    constexpr std::string_view begin("\x93NUMPY\x01\x00", 8);
    const size_t before = begin.size() + sizeof(uint16_t) + header.size() + 1;
    header.append((alignment - before % alignment) % alignment, ' ');
    header += '\n';
    const auto size = static_cast<uint16_t>(header.size());
    std::string bytes(begin);
    bytes.append(reinterpret_cast<const char *>(&size), sizeof size);
    bytes += header;
    bytes.append(reinterpret_cast<const char *>(pixels.samples.data()), pixels.samples.size() * sizeof(T));
    return bytes;
}

} // namespace

std::string EncodeNpy(const AnyRaster &pixels)
{
    return std::visit([](const auto &raster) { return Npy(raster); }, pixels);
}

} // namespace gentlctl

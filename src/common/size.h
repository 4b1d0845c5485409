#pragma once

namespace tarn::common
{
namespace detail
{

template <typename T>
struct SizeT
{
    T width{};
    T height{};

    friend bool operator==(const SizeT &, const SizeT &) = default;
};

template <typename Position, typename Extent>
struct RectangleT
{
    Position x{};
    Position y{};
    Extent width{};
    Extent height{};

    friend bool operator==(const RectangleT &, const RectangleT &) = default;
};

} // namespace detail

/// Width and height in pixels; 0 x 0 when unknown.
using Size = detail::SizeT<unsigned int>;

} // namespace tarn::common

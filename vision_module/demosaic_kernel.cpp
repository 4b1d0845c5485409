#include "vision_module/demosaic_kernel.h"

#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vision_module/demosaic_kernel.cpp"
#include <hwy/foreach_target.h>
// Highway requires this order of its headers.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();

namespace tarn::vision::HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

/// The colours of pixels, each times four.
template <class D>
struct Colours
{
    hn::Vec<D> own; ///< red or blue, whichever the line has
    hn::Vec<D> green;
    hn::Vec<D> other;
};

/// @param d tag of the sums, whose lanes are wider than the samples T
template <typename T, class D>
HWY_INLINE Colours<D> ColoursOf(D d, const MosaicLine &line, size_t first)
{
    const auto at = [&](const uint8_t *samples, size_t pixel) HWY_ATTR
    {
        const auto *from = reinterpret_cast<const T *>(samples) + pixel;
        return hn::PromoteTo(d, hn::LoadU(hn::Rebind<T, D>(), from));
    };
    const auto middle = hn::ShiftLeft<2>(at(line.here, first));
    const auto sides = hn::Add(at(line.here, first - 1), at(line.here, first + 1));
    const auto poles = hn::Add(at(line.above, first), at(line.below, first));
    const auto corners = hn::Add(hn::Add(at(line.above, first - 1), at(line.above, first + 1)),
                                 hn::Add(at(line.below, first - 1), at(line.below, first + 1)));

    const auto parity = static_cast<hn::TFromD<D>>(first + (line.beginsGreen ? 0 : 1));
    const auto one = hn::Set(d, 1);
    const auto isGreen = hn::Ne(hn::And(hn::Iota(d, parity), one), one);
    return {hn::IfThenElse(isGreen, hn::ShiftLeft<1>(sides), middle),
            hn::IfThenElse(isGreen, middle, hn::Add(sides, poles)),
            hn::IfThenElse(isGreen, hn::ShiftLeft<1>(poles), corners)};
}

template <class D>
HWY_INLINE hn::Vec<D> RoundedQuarter(D d, hn::Vec<D> sum)
{
    return hn::ShiftRight<2>(hn::Add(sum, hn::Set(d, 2)));
}

template <typename T>
struct ToColours
{
    using Sum = std::conditional_t<sizeof(T) == 1, uint16_t, uint32_t>;

    template <class D>
    static HWY_INLINE void Take(D d, const MosaicLine &line, bool isOwnFirst, size_t first, uint8_t *target)
    {
        const hn::Rebind<T, D> samples;
        const auto colours = ColoursOf<T>(d, line, first);
        const auto own = hn::TruncateTo(samples, RoundedQuarter(d, colours.own));
        const auto green = hn::TruncateTo(samples, RoundedQuarter(d, colours.green));
        const auto other = hn::TruncateTo(samples, RoundedQuarter(d, colours.other));
        auto *const to = reinterpret_cast<T *>(target) + 3 * first;
        if (isOwnFirst)
        {
            hn::StoreInterleaved3(own, green, other, samples, to);
        }
        else
        {
            hn::StoreInterleaved3(other, green, own, samples, to);
        }
    }
};

template <typename T>
struct ToGrey
{
    using Sum = uint32_t;

    template <class D>
    static HWY_INLINE void Take(D d, const MosaicLine &line, bool isOwnRed, size_t first, uint8_t *target)
    {
        // The luminance of ITU-R BT.601, 0.299 R + 0.587 G + 0.114 B, with weights of 14 bits. With two bits
        // for sums of four and 16 for the sample, the result fits in 32 bits.
        constexpr uint32_t red = 4899;
        constexpr uint32_t greenWeight = 9617;
        constexpr uint32_t blue = 1868;
        constexpr int bits = 16;
        const auto colours = ColoursOf<T>(d, line, first);
        const auto own = hn::Mul(colours.own, hn::Set(d, isOwnRed ? red : blue));
        const auto green = hn::Mul(colours.green, hn::Set(d, greenWeight));
        const auto other = hn::Mul(colours.other, hn::Set(d, isOwnRed ? blue : red));
        const auto half = hn::Set(d, uint32_t{1} << (bits - 1));
        const auto sum = hn::Add(hn::Add(own, green), hn::Add(other, half));
        const hn::Rebind<T, D> samples;
        hn::StoreU(hn::TruncateTo(samples, hn::ShiftRight<bits>(sum)), samples,
                   reinterpret_cast<T *>(target) + first);
    }
};

template <class To>
void TakeLine(const MosaicLine &line, bool isOwnFirst, uint8_t *target)
{
    const hn::ScalableTag<typename To::Sum> all;
    const hn::CappedTag<typename To::Sum, 1> one;
    const auto lanes = hn::Lanes(all);
    const size_t last = line.width - 1;
    size_t pixel = 1;
    for (; pixel + lanes <= last; pixel += lanes)
    {
        To::Take(all, line, isOwnFirst, pixel, target);
    }
    for (; pixel < last; ++pixel)
    {
        To::Take(one, line, isOwnFirst, pixel, target);
    }
}

void DemosaicLineHere(const MosaicLine &line, DemosaicResult result, uint8_t *target)
{
    if (result == DemosaicResult::Grey)
    {
        const auto take = line.isByte ? TakeLine<ToGrey<uint8_t>> : TakeLine<ToGrey<uint16_t>>;
        take(line, line.hasRed, target);
        return;
    }
    const auto take = line.isByte ? TakeLine<ToColours<uint8_t>> : TakeLine<ToColours<uint16_t>>;
    take(line, line.hasRed == (result == DemosaicResult::Rgb), target);
}

} // namespace tarn::vision::HWY_NAMESPACE

HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace tarn::vision
{

HWY_EXPORT(DemosaicLineHere);

void DemosaicLine(const MosaicLine &line, DemosaicResult result, uint8_t *target)
{
    HWY_DYNAMIC_DISPATCH(DemosaicLineHere)(line, result, target);
}

} // namespace tarn::vision

#endif

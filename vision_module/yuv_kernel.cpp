#include "vision_module/yuv_kernel.h"

#include <cstddef>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vision_module/yuv_kernel.cpp"
#include <hwy/foreach_target.h>
// Highway requires this order of its headers.
#include <hwy/highway.h>

#ifndef TARN_VISION_YUV_ONCE
#define TARN_VISION_YUV_ONCE

namespace tarn::vision
{

constexpr int fractionBits = 20;

// Coefficients of ITU-R BT.601 with 20 fractional bits: exact to their three decimals, and each product fits
// in 32 bits.
constexpr int32_t Fixed(double coefficient)
{
    return static_cast<int32_t>(coefficient * (1 << fractionBits) + 0.5);
}

} // namespace tarn::vision

#endif

HWY_BEFORE_NAMESPACE();

namespace tarn::vision::HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

/// Samples of pairs of pixels; each lane holds one pair.
template <class D>
struct Pairs
{
    hn::Vec<D> first; ///< luminances
    hn::Vec<D> second;
    hn::Vec<D> u;
    hn::Vec<D> v;
};

template <class D>
HWY_INLINE Pairs<D> LoadPairs(D d, const YuvLine &line, size_t pair)
{
    const auto byte = hn::Set(d, UINT8_MAX);
    if (line.colours == nullptr)
    {
        const auto all = hn::LoadU(d, reinterpret_cast<const int32_t *>(line.samples) + pair);
        return {hn::And(hn::ShiftRight<8>(all), byte), hn::And(hn::ShiftRight<24>(all), byte),
                hn::And(all, byte), hn::And(hn::ShiftRight<16>(all), byte)};
    }
    const hn::Rebind<uint16_t, D> words;
    const auto load = [&](const uint8_t *samples) HWY_ATTR
    { return hn::PromoteTo(d, hn::LoadU(words, reinterpret_cast<const uint16_t *>(samples) + pair)); };
    const auto luminances = load(line.samples);
    const auto colours = load(line.colours);
    const auto one = hn::And(colours, byte);
    const auto other = hn::ShiftRight<8>(colours);
    return {hn::And(luminances, byte), hn::ShiftRight<8>(luminances), line.isVFirst ? other : one,
            line.isVFirst ? one : other};
}

template <class D>
HWY_INLINE void PairsToRgb(D d, const YuvLine &line, size_t pair, uint8_t *rgb)
{
    constexpr int black = 16;
    constexpr int middle = 128;
    const auto times = [&](hn::Vec<D> value, double coefficient) HWY_ATTR
    { return hn::Mul(value, hn::Set(d, Fixed(coefficient))); };
    const auto luminance = [&](hn::Vec<D> y) HWY_ATTR
    { return times(hn::Max(hn::Sub(y, hn::Set(d, black)), hn::Zero(d)), 1.164); };

    const auto pairs = LoadPairs(d, line, pair);
    const auto u = hn::Sub(pairs.u, hn::Set(d, middle));
    const auto v = hn::Sub(pairs.v, hn::Set(d, middle));
    const auto first = luminance(pairs.first);
    const auto second = luminance(pairs.second);
    const auto half = hn::Set(d, 1 << (fractionBits - 1));
    const auto red = hn::Add(half, times(v, 1.596));
    const auto green = hn::Sub(hn::Sub(half, times(v, 0.813)), times(u, 0.391));
    const auto blue = hn::Add(half, times(u, 2.018));

    // The six samples of a pair form three words.
    const auto sample = [&](hn::Vec<D> of, hn::Vec<D> colour) HWY_ATTR
    {
        const auto sum = hn::ShiftRight<fractionBits>(hn::Add(of, colour));
        return hn::Min(hn::Max(sum, hn::Zero(d)), hn::Set(d, UINT8_MAX));
    };
    const hn::Rebind<uint16_t, D> words;
    const auto word = [&](hn::Vec<D> low, hn::Vec<D> high) HWY_ATTR
    { return hn::DemoteTo(words, hn::Or(low, hn::ShiftLeft<8>(high))); };
    hn::StoreInterleaved3(word(sample(first, red), sample(first, green)),
                          word(sample(first, blue), sample(second, red)),
                          word(sample(second, green), sample(second, blue)), words,
                          reinterpret_cast<uint16_t *>(rgb) + 3 * pair);
}

void YuvLineToRgbHere(const YuvLine &line, uint32_t pairs, uint8_t *rgb)
{
    const hn::ScalableTag<int32_t> all;
    const hn::CappedTag<int32_t, 1> one;
    const auto lanes = hn::Lanes(all);
    size_t pair = 0;
    for (; pair + lanes <= pairs; pair += lanes)
    {
        PairsToRgb(all, line, pair, rgb);
    }
    for (; pair < pairs; ++pair)
    {
        PairsToRgb(one, line, pair, rgb);
    }
}

} // namespace tarn::vision::HWY_NAMESPACE

HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace tarn::vision
{

HWY_EXPORT(YuvLineToRgbHere);

void YuvLineToRgb(const YuvLine &line, uint32_t pairs, uint8_t *rgb)
{
    HWY_DYNAMIC_DISPATCH(YuvLineToRgbHere)(line, pairs, rgb);
}

} // namespace tarn::vision

#endif

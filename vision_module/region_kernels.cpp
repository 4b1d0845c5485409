#include "vision_module/region_kernels.h"

#include "vision_module/samples.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vision_module/region_kernels.cpp"
#include <hwy/foreach_target.h>
// Highway requires this order of its headers.
#include <hwy/highway.h>

// From AVX2 on, one gather instruction loads pixels from several places.
#undef TARN_VISION_HAS_GATHER
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX2
#define TARN_VISION_HAS_GATHER 1
#else
#define TARN_VISION_HAS_GATHER 0
#endif

HWY_BEFORE_NAMESPACE();

namespace tarn::vision::HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

/// One bit per lane of a mask.
template <class D, class M>
HWY_INLINE uint64_t BitsOf(D d, M mask)
{
    uint64_t bits = 0;
    alignas(8) uint8_t bytes[8] = {};
    hn::StoreMaskBits(d, mask, bytes);
    std::memcpy(&bits, bytes, sizeof bits);
    return bits;
}

template <typename T>
uint64_t FindOneByOne(const uint8_t *samples, size_t count, T lowest, T highest)
{
    uint64_t bits = 0;
    for (size_t i = 0; i < count; ++i)
    {
        const auto sample = Load<T>(samples, i);
        bits |= static_cast<uint64_t>((sample >= lowest) & (sample <= highest)) << i;
    }
    return bits;
}

template <typename T>
void FindInRangeHere(const uint8_t *samples, size_t count, T lowest, T highest, uint64_t *found)
{
    size_t done = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::CappedTag<T, pixelsPerWord> d;
    const auto low = hn::Set(d, lowest);
    const auto high = hn::Set(d, highest);
    for (; count - done >= pixelsPerWord; done += pixelsPerWord)
    {
        uint64_t bits = 0;
        for (size_t i = 0; i < pixelsPerWord; i += hn::Lanes(d))
        {
            const auto values = hn::LoadU(d, reinterpret_cast<const T *>(samples) + done + i);
            bits |= BitsOf(d, hn::Eq(hn::Min(hn::Max(values, low), high), values)) << i;
        }
        *found++ = bits;
    }
#endif
    for (; done < count; done += pixelsPerWord)
    {
        *found++ =
            FindOneByOne(samples + done * sizeof(T), std::min(count - done, pixelsPerWord), lowest, highest);
    }
}

void FindBytes(const uint8_t *samples, size_t count, uint8_t lowest, uint8_t highest, uint64_t *found)
{
    FindInRangeHere(samples, count, lowest, highest, found);
}

void FindWords(const uint8_t *samples, size_t count, uint16_t lowest, uint16_t highest, uint64_t *found)
{
    FindInRangeHere(samples, count, lowest, highest, found);
}

HWY_INLINE uint64_t TakeOneByOne(const MaskedPixels &pixels, size_t count, uint8_t *target)
{
    uint64_t taken = 0;
    for (size_t i = 0; i < count; ++i)
    {
        const auto place = pixels.places[i];
        const auto isIn = pixels.mask[place / pixelsPerWord] >> place % pixelsPerWord & 1;
        // Has no branch: the processor would mispredict it for noisy masks.
        const auto kept = static_cast<uint32_t>(-isIn);
        Store(target, i, Load<uint32_t>(pixels.source, place) & kept);
        taken |= isIn << i;
    }
    return taken;
}

/// Prefetches source and target some words ahead. The processor cannot predict addresses that are not
/// consecutive.
HWY_INLINE void FetchAhead(const MaskedPixels &pixels, const uint8_t *target)
{
    constexpr size_t ahead = 8 * pixelsPerWord;
    constexpr size_t linePixels = 16;
    for (size_t i = ahead; i < ahead + pixelsPerWord; i += linePixels)
    {
        const auto place = pixels.places[std::min(i, pixels.placeCount - 1)];
        __builtin_prefetch(pixels.source + uint64_t{place} * sizeof(uint32_t));
        __builtin_prefetch(target + i * sizeof(uint32_t), 1);
    }
}

#if TARN_VISION_HAS_GATHER

/// Takes the pixels of one word of the set.
HWY_INLINE uint64_t TakeWord(const MaskedPixels &pixels, uint8_t *target)
{
    const hn::CappedTag<uint32_t, pixelsPerWord> d;
    const hn::RebindToSigned<decltype(d)> indices;
    const auto *const mask = reinterpret_cast<const uint32_t *>(pixels.mask);
    const auto *const source = reinterpret_cast<const uint32_t *>(pixels.source);
    const auto one = hn::Set(d, 1);
    uint64_t taken = 0;
    for (size_t i = 0; i < pixelsPerWord; i += hn::Lanes(d))
    {
        const auto places = hn::LoadU(d, pixels.places + i);
        const auto words = hn::GatherIndex(d, mask, hn::BitCast(indices, hn::ShiftRight<5>(places)));
        const auto bit = hn::Shl(one, hn::And(places, hn::Set(d, 31)));
        const auto isIn = hn::TestBit(words, bit);
        const auto values = hn::GatherIndex(d, source, hn::BitCast(indices, places));
        hn::StoreU(hn::IfThenElseZero(isIn, values), d, reinterpret_cast<uint32_t *>(target) + i);
        taken |= BitsOf(d, isIn) << i;
    }
    return taken;
}

#else

HWY_INLINE uint64_t TakeWord(const MaskedPixels &pixels, uint8_t *target)
{
    return TakeOneByOne(pixels, pixelsPerWord, target);
}

#endif

void TakeMaskedHere(const MaskedPixels &pixels, size_t count, uint8_t *target, uint64_t *taken)
{
    auto rest = pixels;
    for (; count >= pixelsPerWord; count -= pixelsPerWord)
    {
        FetchAhead(rest, target);
        *taken++ = TakeWord(rest, target);
        rest.places += pixelsPerWord;
        rest.placeCount -= pixelsPerWord;
        target += pixelsPerWord * sizeof(uint32_t);
    }
    if (count > 0)
    {
        *taken = TakeOneByOne(rest, count, target);
    }
}

} // namespace tarn::vision::HWY_NAMESPACE

HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace tarn::vision
{

HWY_EXPORT(FindBytes);
HWY_EXPORT(FindWords);
HWY_EXPORT(TakeMaskedHere);

void FindInRange(const uint8_t *samples, size_t count, uint8_t lowest, uint8_t highest, uint64_t *found)
{
    HWY_DYNAMIC_DISPATCH(FindBytes)(samples, count, lowest, highest, found);
}

void FindInRange(const uint8_t *samples, size_t count, uint16_t lowest, uint16_t highest, uint64_t *found)
{
    HWY_DYNAMIC_DISPATCH(FindWords)(samples, count, lowest, highest, found);
}

void TakeMasked(const MaskedPixels &pixels, size_t count, uint8_t *target, uint64_t *taken)
{
    HWY_DYNAMIC_DISPATCH(TakeMaskedHere)(pixels, count, target, taken);
}

} // namespace tarn::vision

#endif

#include "vision_module/unpack_kernels.h"

#include "vision_module/past_cache.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "vision_module/unpack_kernels.cpp"
#include <hwy/foreach_target.h>
// Highway requires this order of its headers.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#ifndef TARN_VISION_UNPACK_ONCE
#define TARN_VISION_UNPACK_ONCE

namespace tarn::vision
{

constexpr size_t cacheLine = 64;

/// The constants that make a vector of eight samples. Source bytes move into 16-bit lanes; a multiplication
/// moves the bits of each lane to its top, since shifts by a count per lane need AVX-512; one shift moves
/// them down.
template <Packing packing>
struct Kernel;

/// Source bytes of eight samples, where they are whole groups.
template <Packing packing>
constexpr uint32_t blockBytes = Kernel<packing>::groupBytes * 8 / Kernel<packing>::groupSamples;

template <>
struct Kernel<Packing::Stream10>
{
    static constexpr uint32_t groupSamples = 4;
    static constexpr uint32_t groupBytes = 5;
    static constexpr int shift = 6;
    alignas(16) static constexpr uint8_t bytes[] = {0, 1, 1, 2, 2, 3, 3, 4, 5, 6, 6, 7, 7, 8, 8, 9};
    alignas(16) static constexpr uint16_t factors[] = {64, 16, 4, 1, 64, 16, 4, 1};
};

template <>
struct Kernel<Packing::Stream12>
{
    static constexpr uint32_t groupSamples = 2;
    static constexpr uint32_t groupBytes = 3;
    static constexpr int shift = 4;
    alignas(16) static constexpr uint8_t bytes[] = {0, 1, 1, 2, 3, 4, 4, 5, 6, 7, 7, 8, 9, 10, 10, 11};
    alignas(16) static constexpr uint16_t factors[] = {16, 1, 16, 1, 16, 1, 16, 1};
};

/// A sample of 14 bits may lie in three bytes. It is put together from the upper bits of one lane and the
/// lower bits of a second one, whose bytes begin one later. Index 0x80 gives a zero byte, for samples that
/// one lane holds completely.
template <>
struct Kernel<Packing::Stream14>
{
    static constexpr uint32_t groupSamples = 4;
    static constexpr uint32_t groupBytes = 7;
    alignas(16) static constexpr uint8_t bytes[] = {0x80, 0x80, 1, 2, 3,  4,  5,  6,
                                                    0x80, 0x80, 8, 9, 10, 11, 12, 13};
    alignas(16) static constexpr uint8_t nextBytes[] = {0, 1, 2, 3,  4,  5,  0x80, 0x80,
                                                        7, 8, 9, 10, 11, 12, 0x80, 0x80};
    alignas(16) static constexpr uint16_t factors[] = {0, 1024, 4096, 16384, 0, 1024, 4096, 16384};
    alignas(16) static constexpr uint16_t nextFactors[] = {1, 4, 16, 0, 1, 4, 16, 0};
    static constexpr uint16_t mask = 0x3FFF;
};

template <>
struct Kernel<Packing::Group40>
{
    static constexpr uint32_t groupSamples = 4;
    static constexpr uint32_t groupBytes = 5;
    static constexpr int shift = 6;
    alignas(16) static constexpr uint8_t bytes[] = {4, 0, 4, 1, 4, 2, 4, 3, 9, 5, 9, 6, 9, 7, 9, 8};
    alignas(16) static constexpr uint16_t factors[] = {64, 16, 4, 1, 64, 16, 4, 1};
    alignas(16) static constexpr uint16_t lower[] = {0x03, 0x0C, 0x30, 0xC0, 0x03, 0x0C, 0x30, 0xC0};
};

template <>
struct Kernel<Packing::Group24>
{
    static constexpr uint32_t groupSamples = 2;
    static constexpr uint32_t groupBytes = 3;
    static constexpr int shift = 4;
    alignas(16) static constexpr uint8_t bytes[] = {2, 0, 2, 1, 5, 3, 5, 4, 8, 6, 8, 7, 11, 9, 11, 10};
    alignas(16) static constexpr uint16_t factors[] = {16, 1, 16, 1, 16, 1, 16, 1};
    alignas(16) static constexpr uint16_t lower[] = {0x0F, 0xF0, 0x0F, 0xF0, 0x0F, 0xF0, 0x0F, 0xF0};
};

template <>
struct Kernel<Packing::Pair10>
{
    static constexpr uint32_t groupSamples = 2;
    static constexpr uint32_t groupBytes = 3;
    static constexpr int shift = 6;
    alignas(16) static constexpr uint8_t bytes[] = {1, 0, 1, 2, 4, 3, 4, 5, 7, 6, 7, 8, 10, 9, 10, 11};
    alignas(16) static constexpr uint16_t factors[] = {64, 4, 64, 4, 64, 4, 64, 4};
    alignas(16) static constexpr uint16_t lower[] = {0x03, 0x30, 0x03, 0x30, 0x03, 0x30, 0x03, 0x30};
};

template <>
struct Kernel<Packing::Pair12>
{
    static constexpr uint32_t groupSamples = 2;
    static constexpr uint32_t groupBytes = 3;
    static constexpr int shift = 4;
    alignas(16) static constexpr uint8_t bytes[] = {1, 0, 1, 2, 4, 3, 4, 5, 7, 6, 7, 8, 10, 9, 10, 11};
    alignas(16) static constexpr uint16_t factors[] = {16, 1, 16, 1, 16, 1, 16, 1};
    alignas(16) static constexpr uint16_t lower[] = {0x0F, 0xF0, 0x0F, 0xF0, 0x0F, 0xF0, 0x0F, 0xF0};
};

/// Eight words, 32 bytes in all, hold 24 samples: three vectors, read from byte 0, 8 and 16.
template <>
struct Kernel<Packing::Word32>
{
    static constexpr uint32_t groupSamples = 3;
    static constexpr uint32_t groupBytes = 4;
    static constexpr int shift = 6;
    alignas(16) static constexpr uint8_t bytes[3][16] = {
        {0, 1, 1, 2, 2, 3, 4, 5, 5, 6, 6, 7, 8, 9, 9, 10},
        {2, 3, 4, 5, 5, 6, 6, 7, 8, 9, 9, 10, 10, 11, 12, 13},
        {5, 6, 6, 7, 8, 9, 9, 10, 10, 11, 12, 13, 13, 14, 14, 15},
    };
    alignas(16) static constexpr uint16_t factors[3][8] = {
        {64, 16, 4, 64, 16, 4, 64, 16},
        {4, 64, 16, 4, 64, 16, 4, 64},
        {16, 4, 64, 16, 4, 64, 16, 4},
    };
};

inline void PutSample(Packing packing, uint32_t sample, uint8_t *target)
{
    target[0] = static_cast<uint8_t>(sample);
    if (BytesPerSample(packing) == 2)
    {
        target[1] = static_cast<uint8_t>(sample >> 8);
    }
}

} // namespace tarn::vision

#endif

HWY_BEFORE_NAMESPACE();

namespace tarn::vision::HWY_NAMESPACE
{

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET == HWY_SCALAR

// Without vectors, the loops for the remaining samples do everything.

template <Packing packing, bool isStreamed>
size_t UnpackVectors(const uint8_t *, const uint8_t *, uint64_t, uint8_t *)
{
    return 0;
}

template <class Sample>
size_t CombineLineVectors(const uint8_t *, const uint8_t *, size_t, uint8_t *)
{
    return 0;
}

template <class Pair>
size_t CombineCellVectors(const uint8_t *, const uint8_t *, size_t, uint8_t *)
{
    return 0;
}

#else

#if HWY_HAVE_SCALABLE
using Bytes = hn::FixedTag<uint8_t, 16>;
#else
using Bytes = hn::ScalableTag<uint8_t>;
#endif
using Block = hn::FixedTag<uint8_t, 16>;

constexpr size_t vectorBytes = hn::MaxLanes(Bytes{});
constexpr size_t vectorBlocks = vectorBytes / 16;
constexpr size_t vectorSamples = vectorBytes / 2;

/// Loads 16 bytes into each 16-byte block of the vector, from addresses `stride` bytes apart.
template <size_t stride, class D>
HWY_INLINE hn::Vec<D> LoadBlocks(D d, const uint8_t *source)
{
    if constexpr (hn::MaxLanes(D{}) == 16)
    {
        return hn::LoadU(d, source);
    }
    else
    {
        const hn::Half<D> half;
        const auto *upper = source + hn::MaxLanes(D{}) / 32 * stride;
        return hn::Combine(d, LoadBlocks<stride>(half, upper), LoadBlocks<stride>(half, source));
    }
}

/// Unpacks one vector of samples. `source` is the beginning of a group.
template <Packing packing>
HWY_INLINE hn::Vec<Bytes> UnpackVector(const uint8_t *source)
{
    using Tables = Kernel<packing>;
    const Bytes d;
    const hn::Repartition<uint16_t, Bytes> words;
    const auto blocks = LoadBlocks<blockBytes<packing>>(d, source);
    const auto lanesOf = [&](const uint8_t *bytes) HWY_ATTR
    { return hn::BitCast(words, hn::TableLookupBytesOr0(blocks, hn::LoadDup128(d, bytes))); };
    const auto lanes = lanesOf(Tables::bytes);
    const auto factors = hn::LoadDup128(words, Tables::factors);
    if constexpr (packing == Packing::Stream14)
    {
        const auto next = hn::Mul(lanesOf(Tables::nextBytes), hn::LoadDup128(words, Tables::nextFactors));
        const auto samples = hn::Or(hn::MulHigh(lanes, factors), next);
        return hn::BitCast(d, hn::And(samples, hn::Set(words, Tables::mask)));
    }
    else if constexpr (packing == Packing::Stream10 || packing == Packing::Stream12)
    {
        return hn::BitCast(d, hn::ShiftRight<Tables::shift>(hn::Mul(lanes, factors)));
    }
    else
    {
        const auto upper = hn::And(lanes, hn::Set(words, 0xFF00));
        const auto lower = hn::Mul(hn::And(lanes, hn::LoadDup128(words, Tables::lower)), factors);
        return hn::BitCast(d, hn::ShiftRight<Tables::shift>(hn::Or(upper, lower)));
    }
}

/// Unpacks as many groups as fill whole vectors and returns the number of samples.
/// @param end of the readable memory
/// @param isStreamed whether to write past the caches, to a target at a multiple of a cache line
template <Packing packing, bool isStreamed>
size_t UnpackVectors(const uint8_t *source, const uint8_t *end, uint64_t count, uint8_t *target)
{
    constexpr auto read = [](size_t vectors)
    { return (vectors * vectorBlocks - 1) * blockBytes<packing> + 16; };
    constexpr auto unrolled = std::max<size_t>(1, 2 * cacheLine / vectorBytes);
    const Bytes d;
    uint64_t done = 0;
    const auto fits = [&](size_t vectors)
    { return count - done >= vectors * vectorSamples && static_cast<size_t>(end - source) >= read(vectors); };
    const auto unpack = [&](size_t vectors) HWY_ATTR
    {
        for (size_t i = 0; i < vectors; ++i)
        {
            const auto samples = UnpackVector<packing>(source + i * vectorBlocks * blockBytes<packing>);
            if constexpr (isStreamed)
            {
                hn::Stream(samples, d, target + i * vectorBytes);
            }
            else
            {
                hn::StoreU(samples, d, target + i * vectorBytes);
            }
        }
        source += vectors * vectorBlocks * blockBytes<packing>;
        target += vectors * vectorBytes;
        done += vectors * vectorSamples;
    };
    while (fits(unrolled))
    {
        unpack(unrolled);
    }
    while (fits(1))
    {
        unpack(1);
    }
    return done;
}

template <>
size_t UnpackVectors<Packing::Word32, false>(const uint8_t *source, const uint8_t *, uint64_t count,
                                             uint8_t *target)
{
    using Tables = Kernel<Packing::Word32>;
    const Block d;
    const hn::Repartition<uint16_t, Block> words;
    uint64_t done = 0;
    for (; count - done >= 24; done += 24)
    {
        for (size_t i = 0; i < 3; ++i)
        {
            const auto blocks = hn::LoadU(d, source + 8 * i);
            const auto lanes =
                hn::BitCast(words, hn::TableLookupBytes(blocks, hn::Load(d, Tables::bytes[i])));
            const auto factors = hn::Load(words, Tables::factors[i]);
            hn::StoreU(hn::BitCast(d, hn::ShiftRight<Tables::shift>(hn::Mul(lanes, factors))), d,
                       target + 16 * i);
        }
        source += 32;
        target += 48;
    }
    return done;
}

/// CombineLines for whole vectors; returns the number of pixels.
template <class Sample>
size_t CombineLineVectors(const uint8_t *a, const uint8_t *b, size_t pixels, uint8_t *target)
{
    const hn::Repartition<Sample, Bytes> d;
    const auto load = [&](const uint8_t *samples, size_t pixel) HWY_ATTR
    { return hn::LoadU(d, reinterpret_cast<const Sample *>(samples) + pixel); };
    size_t done = 0;
    for (; pixels - done >= hn::Lanes(d); done += hn::Lanes(d))
    {
        hn::StoreInterleaved2(load(a, done), load(b, done), d, reinterpret_cast<Sample *>(target) + 2 * done);
    }
    return done;
}

/// CombineCells for whole vectors; returns the number of cells.
/// @tparam Pair an integer of the size of two samples
template <class Pair>
size_t CombineCellVectors(const uint8_t *ab, const uint8_t *cd, size_t cells, uint8_t *target)
{
    const hn::Repartition<Pair, Bytes> d;
    const auto load = [&](const uint8_t *pairs, size_t cell) HWY_ATTR
    { return hn::LoadU(d, reinterpret_cast<const Pair *>(pairs) + cell); };
    size_t done = 0;
    for (; cells - done >= hn::Lanes(d); done += hn::Lanes(d))
    {
        const auto upper = load(ab, done);
        const auto lower = load(cd, done);
        hn::StoreInterleaved4(upper, lower, upper, lower, d, reinterpret_cast<Pair *>(target) + 4 * done);
    }
    return done;
}

#endif

/// What is left to unpack of the samples of an image.
struct Run
{
    const uint8_t *image;
    uint64_t samples; ///< of the image
    uint64_t first;
    uint64_t count;
    uint8_t *target;

    void Skip(uint64_t done)
    {
        first += done;
        count -= done;
        target += 2 * done;
    }
};

// Inlined, so that the run stays in registers: in memory, each byte written may be a part of it.

template <Packing packing>
HWY_INLINE void UnpackSingly(Run &run, uint64_t count)
{
    for (; count > 0; --count)
    {
        PutSample(packing, ReadSample(packing, run.image, run.samples, run.first), run.target);
        run.Skip(1);
    }
}

/// Unpacks what fills whole vectors. The run begins with a group.
template <Packing packing, bool isStreamed>
HWY_INLINE void UnpackInVectors(Run &run)
{
    constexpr uint64_t groupSamples = Kernel<packing>::groupSamples;
    constexpr uint64_t groupBytes = Kernel<packing>::groupBytes;
    const auto *source = run.image + run.first / groupSamples * groupBytes;
    const auto *end = run.image + (run.samples * groupBytes + groupSamples - 1) / groupSamples;
    run.Skip(UnpackVectors<packing, isStreamed>(source, end, run.count, run.target));
}

/// Unpacks nearly all of a run that begins with a group: a long one past the caches, if a group begins at a
/// cache line of the target.
template <Packing packing>
HWY_INLINE void UnpackGroups(Run &run)
{
    if constexpr (packing != Packing::Word32)
    {
        const auto beyond = reinterpret_cast<uintptr_t>(run.target) % cacheLine;
        const auto head = beyond == 0 ? 0 : (cacheLine - beyond) / 2;
        if (2 * run.count >= pastCacheFrom && beyond % 2 == 0 && head % Kernel<packing>::groupSamples == 0)
        {
            UnpackSingly<packing>(run, head);
            UnpackInVectors<packing, true>(run);
            hwy::FlushStream();
            return;
        }
    }
    UnpackInVectors<packing, false>(run);
}

template <Packing packing>
void UnpackRunOf(const uint8_t *source, uint64_t samples, uint64_t first, uint64_t count, uint8_t *target)
{
    Run run{source, samples, first, count, target};
    constexpr uint64_t groupSamples = Kernel<packing>::groupSamples;
    const auto beyond = run.first % groupSamples;
    UnpackSingly<packing>(run, beyond == 0 ? 0 : std::min(groupSamples - beyond, run.count));
    UnpackGroups<packing>(run);
    UnpackSingly<packing>(run, run.count);
}

void UnpackRunHere(Packing packing, const uint8_t *source, uint64_t samples, uint64_t first, uint64_t count,
                   uint8_t *target)
{
    switch (packing)
    {
    case Packing::Bytes:
        std::memcpy(target, source + first, count);
        break;
    case Packing::Words:
        std::memcpy(target, source + 2 * first, 2 * count);
        break;
    case Packing::Stream10:
        UnpackRunOf<Packing::Stream10>(source, samples, first, count, target);
        break;
    case Packing::Stream12:
        UnpackRunOf<Packing::Stream12>(source, samples, first, count, target);
        break;
    case Packing::Stream14:
        UnpackRunOf<Packing::Stream14>(source, samples, first, count, target);
        break;
    case Packing::Group40:
        UnpackRunOf<Packing::Group40>(source, samples, first, count, target);
        break;
    case Packing::Group24:
        UnpackRunOf<Packing::Group24>(source, samples, first, count, target);
        break;
    case Packing::Pair10:
        UnpackRunOf<Packing::Pair10>(source, samples, first, count, target);
        break;
    case Packing::Pair12:
        UnpackRunOf<Packing::Pair12>(source, samples, first, count, target);
        break;
    case Packing::Word32:
        UnpackRunOf<Packing::Word32>(source, samples, first, count, target);
        break;
    }
}

template <class Sample>
void CombineLinesOf(const uint8_t *a, const uint8_t *b, size_t pixels, uint8_t *target)
{
    for (auto i = CombineLineVectors<Sample>(a, b, pixels, target); i < pixels; ++i)
    {
        auto *pixel = target + i * 2 * sizeof(Sample);
        std::memcpy(pixel, a + i * sizeof(Sample), sizeof(Sample));
        std::memcpy(pixel + sizeof(Sample), b + i * sizeof(Sample), sizeof(Sample));
    }
}

void CombineLinesHere(uint32_t bytesPerSample, const uint8_t *a, const uint8_t *b, size_t pixels,
                      uint8_t *target)
{
    if (bytesPerSample == 1)
    {
        CombineLinesOf<uint8_t>(a, b, pixels, target);
    }
    else
    {
        CombineLinesOf<uint16_t>(a, b, pixels, target);
    }
}

template <class Pair>
void CombineCellsOf(const uint8_t *ab, const uint8_t *cd, size_t cells, uint8_t *target)
{
    constexpr auto cellBytes = 2 * sizeof(Pair);
    for (auto i = CombineCellVectors<Pair>(ab, cd, cells, target); i < cells; ++i)
    {
        auto *pixels = target + i * 2 * cellBytes;
        std::memcpy(pixels, ab + i * sizeof(Pair), sizeof(Pair));
        std::memcpy(pixels + sizeof(Pair), cd + i * sizeof(Pair), sizeof(Pair));
        std::memcpy(pixels + cellBytes, pixels, cellBytes);
    }
}

void CombineCellsHere(uint32_t bytesPerSample, const uint8_t *ab, const uint8_t *cd, size_t cells,
                      uint8_t *target)
{
    if (bytesPerSample == 1)
    {
        CombineCellsOf<uint16_t>(ab, cd, cells, target);
    }
    else
    {
        CombineCellsOf<uint32_t>(ab, cd, cells, target);
    }
}

} // namespace tarn::vision::HWY_NAMESPACE

HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace tarn::vision
{

HWY_EXPORT(UnpackRunHere);
HWY_EXPORT(CombineLinesHere);
HWY_EXPORT(CombineCellsHere);

void UnpackRun(Packing packing, const uint8_t *source, uint64_t samples, uint64_t first, uint64_t count,
               uint8_t *target)
{
    HWY_DYNAMIC_DISPATCH(UnpackRunHere)(packing, source, samples, first, count, target);
}

void CombineLines(uint32_t bytesPerSample, const uint8_t *a, const uint8_t *b, size_t pixels, uint8_t *target)
{
    HWY_DYNAMIC_DISPATCH(CombineLinesHere)(bytesPerSample, a, b, pixels, target);
}

void CombineCells(uint32_t bytesPerSample, const uint8_t *ab, const uint8_t *cd, size_t cells,
                  uint8_t *target)
{
    HWY_DYNAMIC_DISPATCH(CombineCellsHere)(bytesPerSample, ab, cd, cells, target);
}

} // namespace tarn::vision

#endif

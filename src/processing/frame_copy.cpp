#include "processing/frame_copy.h"

#include "utils/gentl_exception.h"

#include <algorithm>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace GenTL::internal
{

namespace
{

#ifdef __SSE2__

// About what one core has to itself. benchmarks/producer_overhead shows the gain at 5 MB.
constexpr size_t ownCache = size_t{1} << 20U;

void CopyPastCache(uint8_t *target, const uint8_t *source, size_t size)
{
    constexpr size_t line = 64;
    const size_t head = std::min(size, (line - reinterpret_cast<uintptr_t>(target) % line) % line);
    std::memcpy(target, source, head);
    size_t done = head;
    for (; size - done >= line; done += line)
    {
        const auto *from = reinterpret_cast<const __m128i *>(source + done);
        auto *to = reinterpret_cast<__m128i *>(target + done);
        const auto first = _mm_loadu_si128(from);
        const auto second = _mm_loadu_si128(from + 1);
        const auto third = _mm_loadu_si128(from + 2);
        const auto fourth = _mm_loadu_si128(from + 3);
        _mm_stream_si128(to, first);
        _mm_stream_si128(to + 1, second);
        _mm_stream_si128(to + 2, third);
        _mm_stream_si128(to + 3, fourth);
    }
    std::memcpy(target + done, source + done, size - done);
    // The consumer learns of the frame by another store, which must not overtake these.
    _mm_sfence();
}

#else

constexpr size_t ownCache = SIZE_MAX;

void CopyPastCache(uint8_t *, const uint8_t *, size_t) {}

#endif

} // namespace

void CheckHasMemory(const InputData &input)
{
    if (input.data == nullptr && input.size != 0)
    {
        throw GenTLException("Input buffer has no memory!", GC_ERR_ERROR);
    }
}

void CopyFrame(uint8_t *target, const uint8_t *source, size_t size)
{
    if (size > ownCache)
    {
        CopyPastCache(target, source, size);
    }
    else if (size != 0)
    {
        std::memcpy(target, source, size);
    }
}

} // namespace GenTL::internal

#include "consumer/frame_cost.h"

#include <cstring>
#include <ctime>

namespace gentlctl
{

uint64_t SumOf(const void *bytes, size_t size)
{
    const auto *next = static_cast<const uint8_t *>(bytes);
    uint64_t sum = 0;
    uint64_t word = 0;
    for (; size >= sizeof word; size -= sizeof word, next += sizeof word)
    {
        std::memcpy(&word, next, sizeof word);
        sum += word;
    }
    for (; size != 0; --size, ++next)
    {
        sum += *next;
    }
    return sum;
}

double CpuSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    constexpr double nano = 1e-9;
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * nano;
}

} // namespace gentlctl

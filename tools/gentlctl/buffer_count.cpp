#include "gentlctl/buffer_count.h"

#include <algorithm>

namespace gentlctl
{

size_t BufferCount(uint64_t waiting, size_t size, size_t least)
{
    constexpr size_t most = 1024;
    constexpr size_t memory = size_t{512} << 20U;
    const auto affordable = std::clamp(memory / std::max<size_t>(size, 1), least, most);
    return std::clamp<size_t>(std::min<uint64_t>(waiting, most) + spareBuffers, least, affordable);
}

} // namespace gentlctl

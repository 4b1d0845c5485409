#include "vision_module/pixel_memory.h"

#include "vision_module/past_cache.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace tarn::vision
{

void GiveBack::operator()(uint8_t *memory) const noexcept
{
    store->Keep({std::unique_ptr<uint8_t, PixelMemoryStore::Free>(memory), size});
}

const std::shared_ptr<PixelMemoryStore> &PixelMemoryStore::Instance()
{
    static const auto store = std::make_shared<PixelMemoryStore>();
    return store;
}

PixelMemory PixelMemoryStore::Take(size_t size)
{
    auto block = TakeKept(size);
    if (block.memory && size >= pastCacheFrom)
    {
        ClearPastCache(block.memory.get(), size);
    }
    else if (block.memory)
    {
        std::memset(block.memory.get(), 0, size);
    }
    else
    {
        // calloc gets zeroed pages from the kernel; a vector would write each byte.
        block.memory.reset(static_cast<uint8_t *>(std::calloc(size, 1)));
        if (!block.memory)
        {
            throw std::bad_alloc();
        }
    }
    return {block.memory.release(), {shared_from_this(), size}};
}

PixelMemoryStore::Block PixelMemoryStore::TakeKept(size_t size)
{
    const std::lock_guard lock(m_mutex);
    const auto fits = std::ranges::find(m_kept, size, &Block::size);
    return fits != m_kept.end() ? std::exchange(*fits, {}) : Block{};
}

void PixelMemoryStore::Keep(Block block) noexcept
{
    if (block.size < smallestBlock || block.size > largestBlock)
    {
        return;
    }
    // After the swap, the parameter holds the oldest block, which is freed after the mutex is unlocked.
    const std::lock_guard lock(m_mutex);
    std::swap(m_kept.at(m_oldest), block);
    m_oldest = (m_oldest + 1) % mostBlocks;
}

} // namespace tarn::vision

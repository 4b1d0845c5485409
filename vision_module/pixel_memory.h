#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>

namespace tarn::vision
{

class PixelMemoryStore;

/// Returns memory to its store, which it keeps alive.
struct GiveBack
{
    std::shared_ptr<PixelMemoryStore> store;
    size_t size = 0;

    void operator()(uint8_t *memory) const noexcept;
};

using PixelMemory = std::unique_ptr<uint8_t, GiveBack>;

/// Memory for images of the module. Callable from any thread.
///
/// Every frame of a depth camera needs images of the same few sizes. Fresh pages from the kernel cost as much
/// as all the work on the pixels, so the store keeps the last few returned blocks for new images.
class PixelMemoryStore : public std::enable_shared_from_this<PixelMemoryStore>
{
public:
    static constexpr size_t mostBlocks = 4;
    /// Smaller blocks are cheap to allocate; larger ones would hold too much memory.
    static constexpr size_t smallestBlock = size_t{64} << 10;
    static constexpr size_t largestBlock = size_t{64} << 20;

    static const std::shared_ptr<PixelMemoryStore> &Instance();

    /// Zeroed memory.
    /// @throws std::bad_alloc
    PixelMemory Take(size_t size);

private:
    friend GiveBack;

    struct Free
    {
        void operator()(uint8_t *memory) const noexcept { std::free(memory); }
    };

    struct Block
    {
        std::unique_ptr<uint8_t, Free> memory;
        size_t size = 0;
    };

    Block TakeKept(size_t size);
    void Keep(Block block) noexcept;

    std::mutex m_mutex;
    std::array<Block, mostBlocks> m_kept;
    size_t m_oldest = 0;
};

} // namespace tarn::vision

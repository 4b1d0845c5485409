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

/// Gives memory back to the store that it came from, which therefore outlives it.
struct GiveBack
{
    std::shared_ptr<PixelMemoryStore> store;
    size_t size = 0;

    void operator()(uint8_t *memory) const noexcept;
};

using PixelMemory = std::unique_ptr<uint8_t, GiveBack>;

/// The memory of the module's own images. Callable from any thread.
///
/// Each frame of a depth camera needs images of the same few sizes, and fresh pages of the kernel for them
/// cost as much as all the work on their pixels. The last few blocks that images give back are therefore kept
/// for the next ones.
class PixelMemoryStore : public std::enable_shared_from_this<PixelMemoryStore>
{
public:
    static constexpr size_t mostBlocks = 4;
    /// Smaller ones are not worth it, and larger ones too much to keep.
    static constexpr size_t smallestBlock = size_t{64} << 10;
    static constexpr size_t largestBlock = size_t{64} << 20;

    static const std::shared_ptr<PixelMemoryStore> &Instance();

    /// Memory of zeros.
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

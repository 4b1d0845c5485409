// A consumer asks about a buffer while the acquisition thread describes the next frame in it. Meant for a run
// under a sanitizer.

#include "datastream/buffer.h"
#include "support/failure.h"
#include "support/fake_library.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <thread>
#include <vector>

namespace GenTL::internal
{
namespace
{

class BufferThreads : public testing::Test
{
protected:
    /// Alternates between frames with parts and chunks and frames without.
    void Describe(uint64_t frame)
    {
        const bool hasMore = frame % 2 == 0;
        buffer.SetMetadata({.frameId = frame, .width = frame});
        buffer.SetParts(hasMore ? std::vector<BufferPartInfo>(3, {.size = 7, .type = 1})
                                : std::vector<BufferPartInfo>());
        buffer.SetChunks(hasMore ? std::vector<ChunkEntry>(5) : std::vector<ChunkEntry>(), 40, frame);
        buffer.SetResult(true, frame, true);
    }

    void AskForAll() const
    {
        std::array<uint8_t, 256> answer{};
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        for (int32_t command = BUFFER_INFO_BASE; command <= BUFFER_INFO_IS_COMPOSITE; ++command)
        {
            size_t size = answer.size();
            FailureOf([&] { buffer.DSGetBufferInfo(command, &type, answer.data(), &size); });
        }
        for (int32_t command = BUFFER_PART_INFO_BASE; command <= BUFFER_PART_INFO_DATA_PURPOSE_ID; ++command)
        {
            size_t size = answer.size();
            FailureOf([&] { buffer.DSGetBufferPartInfo(2, command, &type, answer.data(), &size); });
        }
        std::array<SINGLE_CHUNK_DATA, 5> chunks{};
        size_t count = chunks.size();
        const auto failure = FailureOf([&] { buffer.DSGetBufferChunkData(chunks.data(), &count); });
        // From one frame or the other, never a mixture.
        EXPECT_TRUE(failure == Failure{} || failure.code == GC_ERR_NO_DATA);
        EXPECT_TRUE(count == chunks.size());
        const auto parts = buffer.DSGetNumBufferParts();
        EXPECT_TRUE(parts == 0 || parts == 3) << parts;
    }

    FakeLibrary library;
    Buffer buffer{library, 4096, nullptr};
};

TEST_F(BufferThreads, MayAskAboutAFrameWhileTheNextIsDescribed)
{
    std::atomic<bool> isDone = false;
    std::jthread consumer(
        [&]
        {
            do
            {
                AskForAll();
            } while (!isDone);
        });
    for (uint64_t frame = 0; frame < 3000; ++frame)
    {
        Describe(frame);
    }
    isDone = true;
}

} // namespace
} // namespace GenTL::internal

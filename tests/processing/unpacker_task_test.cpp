#include "processing/unpacker_task.h"

#include "support/failure.h"
#include "vision/exceptions.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <span>
#include <tuple>
#include <vector>

namespace GenTL::internal
{
namespace
{

using tarn::common::PixelFormat;

/// Uses the open vision module, which is found because it is already loaded.
class UnpackerTaskTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        ASSERT_NE(dlopen(QVR_LIB_DIR "/libqvr_tarn_cvl.so", RTLD_NOW), nullptr) << dlerror();
    }

    UnpackerTaskTest()
    {
        task.SetOutputFormat(Component::Image2D, PixelFormat::Mono10);
        input.data = source.data();
        input.size = source.size();
        input.attributes = {.frameId = 4,
                            .width = 4,
                            .height = 1,
                            .pixelFormat = static_cast<uint64_t>(PixelFormat::Mono10g40QVR)};
    }

    std::vector<uint16_t> Samples(size_t count) const
    {
        std::vector<uint16_t> samples(count);
        std::memcpy(samples.data(), output.data(), count * 2);
        return samples;
    }

    using Entry = std::tuple<uint64_t, ptrdiff_t, size_t>; ///< id, offset, length

    static std::vector<Entry> EntriesOf(const ProcessingResult &result)
    {
        std::vector<Entry> entries;
        for (const ChunkEntry entry : result.chunks.value().entries)
        {
            entries.emplace_back(entry.ChunkID, entry.ChunkOffset, entry.ChunkLength);
        }
        return entries;
    }

    std::vector<uint8_t> OutputAt(size_t offset, size_t count) const
    {
        const auto first = output.begin() + static_cast<ptrdiff_t>(offset);
        return {first, first + static_cast<ptrdiff_t>(count)};
    }

    // Upper eight bits 1, 2, 3, 255; lower two 0, 1, 2, 3. Behind the image a trailer and a chunk.
    std::vector<uint8_t> source{1,   2,   3,   255, 0xE4, 't', 'r', 'a', 'i',
                                'l', 'e', 'r', '.', 7,    8,   9,   't', 'r'};
    std::vector<uint8_t> output = std::vector<uint8_t>(40, 0xAA);
    InputData input;
    UnpackerTask task;
};

TEST_F(UnpackerTaskTest, UnpacksTheImage)
{
    const auto result = task.Process(input, output);
    EXPECT_EQ(Samples(4), (std::vector<uint16_t>{4, 9, 14, 1023}));
    EXPECT_EQ(result.attributes.pixelFormat, static_cast<uint64_t>(PixelFormat::Mono10));
    EXPECT_EQ(result.attributes.frameId, 4U);
    EXPECT_FALSE(result.chunks);
    // Not raised to what the conversion writes: consumers know the number as it is.
    EXPECT_EQ(result.bytesWritten, source.size());
}

TEST_F(UnpackerTaskTest, GivesTheSmallerOfTheTwoBuffersAsItsSize)
{
    output.resize(9);
    EXPECT_EQ(task.Process(input, output).bytesWritten, 9U);
}

TEST_F(UnpackerTaskTest, MovesThePartsToTheOutput)
{
    input.parts = {{.base = source.data() + 5, .size = 3, .type = 1}};
    EXPECT_EQ(task.Process(input, output).parts.at(0).base, output.data() + 5);
}

TEST_F(UnpackerTaskTest, WritesATrailerBehindAnImageChunk)
{
    input.chunks = ChunkList{.payloadSize = 13, .layoutId = 5, .entries = {{0x11, 0, 5}}};
    const auto result = task.Process(input, output);
    ASSERT_TRUE(result.chunks);
    EXPECT_EQ(result.chunks->payloadSize, 0U);
    EXPECT_EQ(result.chunks->layoutId, 0U);
    EXPECT_EQ(EntriesOf(result), (std::vector<Entry>{{0x11, 0, 8}}));
    EXPECT_EQ(OutputAt(8, 9), (std::vector<uint8_t>{0x11, 0, 0, 0, 8, 0, 0, 0, 0xAA}));
}

TEST_F(UnpackerTaskTest, MovesTheChunksBehindTheLargerImage)
{
    input.chunks = ChunkList{.entries = {{0x11, 0, 5}, {0x22, 13, 3}}};
    const auto result = task.Process(input, output);
    EXPECT_EQ(EntriesOf(result), (std::vector<Entry>{{0x11, 0, 8}, {0x22, 16, 3}}));
    EXPECT_EQ(OutputAt(8, 19), (std::vector<uint8_t>{0x11, 0, 0, 0, 8, 0, 0, 0, 7, 8, 9, //
                                                     0x22, 0, 0, 0, 3, 0, 0, 0}));
}

TEST_F(UnpackerTaskTest, MovesTheChunksForwardBehindASmallerImage)
{
    input.chunks = ChunkList{.entries = {{0x11, 0, 10}, {0x22, 13, 3}}};
    EXPECT_EQ(EntriesOf(task.Process(input, output)), (std::vector<Entry>{{0x11, 0, 8}, {0x22, 11, 3}}));
    EXPECT_EQ(OutputAt(11, 3), (std::vector<uint8_t>{7, 8, 9}));
}

TEST_F(UnpackerTaskTest, GoesThroughTheChunksInTheOrderOfTheirList)
{
    input.chunks = ChunkList{.entries = {{0x22, 13, 3}, {0x11, 0, 5}}};
    EXPECT_EQ(EntriesOf(task.Process(input, output)), (std::vector<Entry>{{0x22, 16, 3}, {0x11, 0, 8}}));
    // The distance between trailers is the length of the chunks, wherever the chunks are.
    EXPECT_EQ(OutputAt(3, 8), (std::vector<uint8_t>{0x22, 0, 0, 0, 3, 0, 0, 0}));
    EXPECT_EQ(OutputAt(16, 3), (std::vector<uint8_t>{7, 8, 9}));
    EXPECT_EQ(OutputAt(19, 8), (std::vector<uint8_t>{0x11, 0, 0, 0, 8, 0, 0, 0}));
}

TEST_F(UnpackerTaskTest, MovesTheChunksByTheFirstOfTwoImages)
{
    output.resize(60);
    input.chunks = ChunkList{.entries = {{0x11, 0, 5}, {0x12, 0, 4}, {0x22, 13, 3}}};
    EXPECT_EQ(EntriesOf(task.Process(input, output)),
              (std::vector<Entry>{{0x11, 0, 8}, {0x12, 0, 8}, {0x22, 16, 3}}));
}

TEST_F(UnpackerTaskTest, WritesTheLowHalfOfALongId)
{
    input.chunks = ChunkList{.entries = {{0x9988776655443322, 0, 5}}};
    EXPECT_EQ(EntriesOf(task.Process(input, output)), (std::vector<Entry>{{0x9988776655443322, 0, 8}}));
    EXPECT_EQ(OutputAt(8, 8), (std::vector<uint8_t>{0x22, 0x33, 0x44, 0x55, 8, 0, 0, 0}));
}

TEST_F(UnpackerTaskTest, RefusesChunksWithoutAnImage)
{
    const Failure expected{"Received chunks, but no image chunk!", GC_ERR_ERROR};
    input.chunks = ChunkList{.entries = {{0x22, 13, 3}}};
    EXPECT_EQ(FailureOf([&] { task.Process(input, output); }), expected);
    EXPECT_EQ(Samples(4), (std::vector<uint16_t>{4, 9, 14, 1023}));
    input.chunks = ChunkList{};
    EXPECT_EQ(FailureOf([&] { task.Process(input, output); }), expected);
}

TEST_F(UnpackerTaskTest, RefusesChunksBeyondTheBuffers)
{
    for (const auto &entry : {ChunkEntry{0x22, 16, 3}, ChunkEntry{0x22, 13, UINT64_MAX},
                              ChunkEntry{0x22, -5, 4}, ChunkEntry{0x22, 1, UINT64_MAX - 1}})
    {
        input.chunks = ChunkList{.entries = {{0x11, 0, 5}, entry}};
        EXPECT_EQ(FailureOf([&] { task.Process(input, output); }).code, GC_ERR_PARSING_CHUNK_DATA);
    }
    output.resize(12);
    input.chunks = ChunkList{.entries = {{0x11, 0, 5}}};
    EXPECT_EQ(FailureOf([&] { task.Process(input, output); }).code, GC_ERR_PARSING_CHUNK_DATA);
}

TEST_F(UnpackerTaskTest, TakesAnImageOfUnknownFormatForBayerBG8)
{
    input.attributes.pixelFormat.reset();
    task.SetOutputFormat(Component::Image2D, PixelFormat::BayerBG8);
    task.Process(input, output);
    EXPECT_EQ((std::vector<uint8_t>(output.begin(), output.begin() + 4)),
              (std::vector<uint8_t>{1, 2, 3, 255}));
}

TEST_F(UnpackerTaskTest, PassesOnThatTheImageIsLargerThanTheBuffers)
{
    input.size = 4;
    EXPECT_THROW(task.Process(input, output), tarn::cvl::OutOfRangeException);
    input.size = source.size();
    EXPECT_THROW(task.Process(input, std::span(output).first(7)), tarn::cvl::OutOfRangeException);
    EXPECT_EQ(output, std::vector<uint8_t>(40, 0xAA));
}

TEST_F(UnpackerTaskTest, PassesOnThatAFormatCannotBeUnpacked)
{
    task.SetOutputFormat(Component::Image2D, PixelFormat::RGB32f);
    input.attributes.width = 1;
    EXPECT_THROW(task.Process(input, output), tarn::cvl::NotSupportedException);
}

TEST_F(UnpackerTaskTest, TakesAnUnknownSizeForAnEmptyImage)
{
    input.attributes.width.reset();
    task.Process(input, output);
    EXPECT_EQ(output, std::vector<uint8_t>(40, 0xAA));
    input.attributes.width = 4;
    input.attributes.height.reset();
    task.Process(input, output);
    EXPECT_EQ(output, std::vector<uint8_t>(40, 0xAA));
}

TEST_F(UnpackerTaskTest, MovesNoChunksOutOfMemoryThatIsNotThere)
{
    input.attributes.width.reset();
    input.data = nullptr;
    input.chunks = ChunkList{.entries = {{0x11, 0, 5}, {0x22, 13, 3}}};
    EXPECT_EQ(FailureOf([&] { task.Process(input, output); }),
              (Failure{"Input buffer has no memory!", GC_ERR_ERROR}));
}

TEST(UnpackerTask, NeedsRoomForFortyLinesMore)
{
    UnpackerTask task;
    task.SetOutputFormat(Component::Image2D, PixelFormat::Mono10);
    EXPECT_EQ(task.ImagePayloadSize(Component::Image2D, {1000, 1000}), 2080000U);
    EXPECT_EQ(task.ImagePayloadSize(Component::Image2D, {1, 0xFFFFFFFF}), 39U * 2) << "counted in 32 bits";
}

TEST(UnpackerTask, KnowsOneComponent)
{
    UnpackerTask task;
    EXPECT_EQ(task.OutputFormat(Component::Image3D), PixelFormat::Mono8);
    EXPECT_EQ(FailureOf(
                  [&] {
                      task.ImagePayloadSize(Component::Image3D, {1, 1});
                  }),
              (Failure{"Querying components other than Image2D currently not supported!", GC_ERR_ERROR}));
    EXPECT_EQ(FailureOf([&] { task.SetOutputFormat(Component::Image3D, PixelFormat::Mono8); }),
              (Failure{"Setting components other than Image2D currently not supported!", GC_ERR_ERROR}));
}

TEST(UnpackerTask, OffersTheUnpackedFormOfAPackedFormatOnly)
{
    UnpackerTask task;
    EXPECT_EQ(task.AvailableOutputFormats(Component::Image2D, PixelFormat::BayerRG12g24QVR_I_A_B),
              std::vector{PixelFormat::BayerRG12_AB});
    EXPECT_TRUE(task.AvailableOutputFormats(Component::Image2D, PixelFormat::Mono8_I_A_B).empty());
    EXPECT_EQ(task.AvailableOutputFormats(Component::Confidence, PixelFormat::Mono10p),
              std::vector{PixelFormat::Mono10})
        << "whatever the component";
    const std::vector inputs{PixelFormat::Mono8, PixelFormat::Mono10p, PixelFormat::Mono10g40QVR};
    EXPECT_EQ(task.MatchInputFormat(Component::Image2D, PixelFormat::Mono10, inputs), PixelFormat::Mono10p);
    EXPECT_EQ(task.MatchInputFormat(Component::Image2D, PixelFormat::Mono8, inputs), std::nullopt);
    EXPECT_EQ(task.MatchInputFormat(Component::Image2D, PixelFormat::Mono8_AB, {PixelFormat::Mono8_I_A_B}),
              std::nullopt);
}

} // namespace
} // namespace GenTL::internal

#include "processing/whole_frame.h"

#include "support/failure.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>
#include <vector>

namespace GenTL::internal
{
namespace
{

class WholeFrame : public testing::Test
{
protected:
    WholeFrame()
    {
        std::iota(source.begin(), source.end(), uint8_t{1});
        input.data = source.data();
        input.size = source.size();
        input.sizeFilled = 9;
        input.attributes.frameId = 4;
        input.attributes.imageOffset = 2;
    }

    std::vector<uint8_t> source = std::vector<uint8_t>(12);
    std::vector<uint8_t> output = std::vector<uint8_t>(10, 0xCC);
    InputData input;
};

TEST_F(WholeFrame, CopiesWhatWasDelivered)
{
    const auto result = CopyWholeFrame(input, output);
    EXPECT_EQ(output, (std::vector<uint8_t>{1, 2, 3, 4, 5, 6, 7, 8, 9, 0xCC}));
    EXPECT_EQ(result.bytesWritten, 9U);
    EXPECT_EQ(result.dataSize, 9U);
    EXPECT_FALSE(result.isIncomplete);
    EXPECT_FALSE(result.isLargerThanBuffer);
    EXPECT_EQ(result.attributes.frameId, 4U);
    EXPECT_EQ(result.attributes.imageOffset, 2U);
}

TEST_F(WholeFrame, GivesTheSizesOfAnIncompleteFrame)
{
    input.isIncomplete = true;
    input.dataSize = 11;
    const auto result = CopyWholeFrame(input, output);
    EXPECT_EQ(result.bytesWritten, 9U);
    EXPECT_EQ(result.dataSize, 11U);
    EXPECT_TRUE(result.isIncomplete);
    input.dataSize.reset();
    EXPECT_EQ(CopyWholeFrame(input, output).dataSize, 9U);
}

TEST_F(WholeFrame, CopiesWhatFits)
{
    input.sizeFilled = 12;
    const auto result = CopyWholeFrame(input, output);
    EXPECT_EQ(output.back(), 10);
    EXPECT_EQ(result.bytesWritten, 10U);
    EXPECT_EQ(result.dataSize, 12U);
    EXPECT_TRUE(result.isIncomplete);
    EXPECT_TRUE(result.isLargerThanBuffer);
}

TEST_F(WholeFrame, KeepsThePlacesOfItsParts)
{
    input.parts = {{.base = source.data() + 3, .size = 4, .type = 1, .regionId = 7}};
    const auto result = CopyWholeFrame(input, output);
    EXPECT_EQ(result.parts.at(0).base, output.data() + 3);
    EXPECT_EQ(result.parts.at(0).size, 4U);
    EXPECT_EQ(result.parts.at(0).regionId, 7U);
}

TEST_F(WholeFrame, LeavesOutPartsThatDoNotFit)
{
    input.sizeFilled = 12;
    input.parts = {{.base = source.data(), .size = 6, .regionId = 1},
                   {.base = source.data() + 6, .size = 6, .regionId = 2},
                   {.base = source.data() + 6, .size = 4, .regionId = 3}};
    const auto result = CopyWholeFrame(input, output);
    EXPECT_TRUE(result.isLargerThanBuffer);
    ASSERT_EQ(result.parts.size(), 2U);
    EXPECT_EQ(result.parts[0].regionId, 1U);
    EXPECT_EQ(result.parts[1].regionId, 3U);
}

TEST_F(WholeFrame, RefusesPartsOutsideOfTheBuffer)
{
    for (const auto offset : {-1, 9, 13})
    {
        input.parts = {{.base = source.data() + offset, .size = 4}};
        EXPECT_EQ(FailureOf([&] { CopyWholeFrame(input, output); }),
                  (Failure{"Part of 4 bytes does not lie in the buffer of 12 bytes!", GC_ERR_ERROR}));
    }
}

TEST_F(WholeFrame, KnowsWhatHasArrivedOfAPart)
{
    const auto arrived = [&](ptrdiff_t offset, size_t size)
    { return DeliveredPart(input, {.base = source.data() + offset, .size = size}).size(); };
    EXPECT_EQ(arrived(2, 5), 5U);
    EXPECT_EQ(arrived(5, 7), 4U);
    EXPECT_EQ(arrived(9, 3), 0U);
    EXPECT_EQ(arrived(12, 0), 0U);
}

TEST_F(WholeFrame, KeepsItsChunks)
{
    input.chunks = ChunkList{.payloadSize = 9, .layoutId = 3, .entries = {{1, 0, 4}, {2, 6, 3}}};
    const auto result = CopyWholeFrame(input, output);
    EXPECT_EQ(result.chunks.value().entries.size(), 2U);
    EXPECT_EQ(result.chunks.value().payloadSize, 9U);
}

TEST_F(WholeFrame, LeavesOutChunksThatHaveNotArrived)
{
    input.chunks = ChunkList{.entries = {{1, 0, 4}, {2, 6, 4}}};
    input.isIncomplete = true;
    EXPECT_EQ(CopyWholeFrame(input, output).chunks.value().entries.size(), 1U);
    input.isIncomplete = false;
    EXPECT_EQ(FailureOf([&] { CopyWholeFrame(input, output); }).code, GC_ERR_PARSING_CHUNK_DATA);
}

TEST_F(WholeFrame, RefusesMoreBytesThanItsBufferHas)
{
    input.sizeFilled = 13;
    EXPECT_EQ(FailureOf([&] { CopyWholeFrame(input, output); }).code, GC_ERR_ERROR);
    EXPECT_EQ(output, std::vector<uint8_t>(10, 0xCC));
    input.data = nullptr;
    EXPECT_EQ(FailureOf([&] { CopyWholeFrame(input, output); }),
              (Failure{"Input buffer has no memory!", GC_ERR_ERROR}));
}

} // namespace
} // namespace GenTL::internal

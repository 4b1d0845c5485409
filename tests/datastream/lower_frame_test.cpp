#include "datastream/lower_frame.h"
#include "datastream/proxy_buffer.h"
#include "support/failure.h"
#include "support/fake_gentl_proxy.h"
#include "support/fake_lower_buffers.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

using Queries = std::vector<std::string>;

class LowerBufferFixture : public testing::Test
{
protected:
    LowerBufferFixture() { lower.Serve(*proxy); }

    ProxyBuffer MakeBuffer() { return {proxy, lower.stream, handle}; }

    LowerFrame Read()
    {
        const auto buffer = MakeBuffer();
        lower.ForgetAsked();
        return ReadLowerFrame(buffer, nextFrameId);
    }

    Failure FailureOfRead()
    {
        return FailureOf([&] { Read(); });
    }

    static Failure Missing(int32_t command) { return {fmt::format("no {}", command), GC_ERR_NOT_AVAILABLE}; }

    std::shared_ptr<FakeGenTLProxy> proxy = std::make_shared<FakeGenTLProxy>();
    FakeLowerBuffers lower;
    const BUFFER_HANDLE handle = LowerHandle(0x100);
    uint8_t memory[64]{};
    FakeLowerBuffers::Frame &frame = lower.AddImage(handle, memory, sizeof memory);
    uint64_t nextFrameId = 5;
};

class ProxyBufferOf : public LowerBufferFixture
{
};

TEST_F(ProxyBufferOf, ALowerBufferReadsItsBaseAndSizeOnce)
{
    const auto buffer = MakeBuffer();
    EXPECT_EQ(buffer.Base(), memory);
    EXPECT_EQ(buffer.Size(), sizeof memory);
    EXPECT_EQ(buffer.GetLowerHandle(), handle);
    EXPECT_EQ(buffer.DataStream(), lower.stream);
    EXPECT_EQ(&buffer.Lower(), proxy.get());
    EXPECT_EQ(static_cast<int>(buffer.GetModuleType()), 4);
    EXPECT_EQ(lower.Asked(), (Queries{"info 0", "info 1"}));
}

TEST_F(ProxyBufferOf, ALowerBufferIsNotClosedAtItsEnd)
{
    {
        MakeBuffer();
    }
    EXPECT_EQ(proxy->Calls(), (Queries{"DSGetBufferInfo", "DSGetBufferInfo"}));
}

TEST_F(ProxyBufferOf, ALowerBufferKeepsTheLowerProducer)
{
    const auto before = proxy.use_count();
    const auto buffer = MakeBuffer();
    EXPECT_EQ(proxy.use_count(), before + 1);
}

TEST_F(ProxyBufferOf, ABufferWithoutBaseOrSizeCannotBeMade)
{
    frame.infos.erase(BUFFER_INFO_SIZE);
    EXPECT_EQ(FailureOf([&] { MakeBuffer(); }), Missing(BUFFER_INFO_SIZE));
    frame.infos.erase(BUFFER_INFO_BASE);
    EXPECT_EQ(FailureOf([&] { MakeBuffer(); }), Missing(BUFFER_INFO_BASE));
}

class ReadLowerFrameOf : public LowerBufferFixture
{
};

TEST_F(ReadLowerFrameOf, ASingleImageTakesEightQueriesInOrder)
{
    Read();
    EXPECT_EQ(lower.Asked(), (Queries{"info 19", "info 20", "info 10", "info 11", "info 12", "info 13",
                                      "info 30", "info 7"}));
    // And two that the buffer itself took.
    EXPECT_EQ(proxy->Calls().size(), 10U);
}

TEST_F(ReadLowerFrameOf, ASingleImageDescribesIt)
{
    const auto result = Read();
    EXPECT_EQ(result.input.data, memory);
    EXPECT_EQ(result.input.size, sizeof memory);
    EXPECT_EQ(result.input.payloadType, 1);
    EXPECT_TRUE(result.input.parts.empty());
    EXPECT_FALSE(result.input.chunks);
    EXPECT_FALSE(result.isIncomplete);
    const auto &attributes = result.input.attributes;
    EXPECT_EQ(attributes.pixelFormat, 0x01080001U);
    EXPECT_EQ(attributes.width, 640U);
    EXPECT_EQ(attributes.height, 480U);
    EXPECT_EQ(attributes.xOffset, 16U);
    EXPECT_EQ(attributes.yOffset, 24U);
}

TEST_F(ReadLowerFrameOf, AnyFrameNumbersItHereAndTakesNoTimeStamp)
{
    EXPECT_EQ(Read().input.attributes.frameId, 5U);
    EXPECT_EQ(Read().input.attributes.frameId, 6U);
    EXPECT_EQ(Read().input.attributes.timestamp, std::nullopt);
    EXPECT_EQ(nextFrameId, 8U);
}

TEST_F(ReadLowerFrameOf, AnIncompleteFrameTellsSo)
{
    frame.infos[BUFFER_INFO_IS_INCOMPLETE] = TypedAnswer::Bool(true);
    EXPECT_TRUE(Read().isIncomplete);
}

TEST_F(ReadLowerFrameOf, AnyTruthButZeroIsTrue)
{
    frame.infos[BUFFER_INFO_IS_INCOMPLETE] = TypedAnswer::Of(INFO_DATATYPE_BOOL8, bool8_t{2});
    frame.infos[BUFFER_INFO_CONTAINS_CHUNKDATA] = TypedAnswer::Of(INFO_DATATYPE_BOOL8, bool8_t{2});
    frame.infos[BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE] = TypedAnswer::Size(9);
    frame.chunks = {{.ChunkID = 1, .ChunkOffset = 2, .ChunkLength = 3}};
    const auto result = Read();
    EXPECT_TRUE(result.isIncomplete);
    EXPECT_TRUE(result.input.chunks);
}

TEST_F(ReadLowerFrameOf, AFrameWithUnknownGeometryLeavesItUnset)
{
    for (const int32_t missing : {BUFFER_INFO_PIXELFORMAT, BUFFER_INFO_WIDTH, BUFFER_INFO_HEIGHT,
                                  BUFFER_INFO_XOFFSET, BUFFER_INFO_YOFFSET})
    {
        lower.AddImage(handle, memory, sizeof memory);
        frame.infos.erase(missing);
        const auto attributes = Read().input.attributes;
        EXPECT_EQ(lower.Asked().size(), 8U);
        EXPECT_EQ(attributes.pixelFormat.has_value(), missing != BUFFER_INFO_PIXELFORMAT);
        EXPECT_EQ(attributes.width.has_value(), missing != BUFFER_INFO_WIDTH);
        EXPECT_EQ(attributes.height.has_value(), missing != BUFFER_INFO_HEIGHT);
        EXPECT_EQ(attributes.xOffset.has_value(), missing != BUFFER_INFO_XOFFSET);
        EXPECT_EQ(attributes.yOffset.has_value(), missing != BUFFER_INFO_YOFFSET);
    }
}

TEST_F(ReadLowerFrameOf, AFrameToleratesAnyStandardExceptionThere)
{
    const auto answer = proxy->onDSGetBufferInfo;
    proxy->onDSGetBufferInfo = [&](DS_HANDLE stream, BUFFER_HANDLE buffer, BUFFER_INFO_CMD command,
                                   INFO_DATATYPE *type, void *value, size_t *size)
    {
        if (command == BUFFER_INFO_WIDTH)
        {
            throw std::runtime_error("not a GenTL failure");
        }
        return answer(stream, buffer, command, type, value, size);
    };
    const auto result = Read();
    EXPECT_EQ(result.input.attributes.width, std::nullopt);
    EXPECT_EQ(result.input.attributes.height, 480U);
}

TEST_F(ReadLowerFrameOf, MissingPayloadTypeTakesNoNumber)
{
    frame.infos.erase(BUFFER_INFO_PAYLOADTYPE);
    EXPECT_EQ(FailureOfRead(), Missing(BUFFER_INFO_PAYLOADTYPE));
    EXPECT_EQ(nextFrameId, 5U);
}

TEST_F(ReadLowerFrameOf, MissingCompletenessTakesANumber)
{
    frame.infos.erase(BUFFER_INFO_IS_INCOMPLETE);
    EXPECT_EQ(FailureOfRead(), Missing(BUFFER_INFO_IS_INCOMPLETE));
    EXPECT_EQ(nextFrameId, 6U);
}

class ReadChunksOf : public LowerBufferFixture
{
protected:
    ReadChunksOf()
    {
        frame.infos[BUFFER_INFO_CONTAINS_CHUNKDATA] = TypedAnswer::Bool(true);
        frame.infos[BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE] = TypedAnswer::Size(99);
        frame.infos[BUFFER_INFO_CHUNKLAYOUTID] = TypedAnswer::Uint64(77);
        frame.chunks = {{.ChunkID = 1, .ChunkOffset = 10, .ChunkLength = 100},
                        {.ChunkID = 2, .ChunkOffset = 20, .ChunkLength = 200}};
    }
};

TEST_F(ReadChunksOf, AFrameTakesCountThenEntries)
{
    const auto chunks = Read().input.chunks;
    EXPECT_EQ(lower.Asked(), (Queries{"info 19", "info 20", "info 10", "info 11", "info 12", "info 13",
                                      "info 30", "info 23", "info 24", "count chunks", "chunks", "info 7"}));
    ASSERT_TRUE(chunks);
    EXPECT_EQ(chunks->payloadSize, 99U);
    EXPECT_EQ(chunks->layoutId, 77U);
    ASSERT_EQ(chunks->entries.size(), 2U);
    EXPECT_EQ(std::memcmp(chunks->entries.data(), frame.chunks.data(), 2 * sizeof(ChunkEntry)), 0);
}

TEST_F(ReadChunksOf, AFrameWithoutLayoutHasLayoutZero)
{
    frame.infos.erase(BUFFER_INFO_CHUNKLAYOUTID);
    const auto chunks = Read().input.chunks;
    ASSERT_TRUE(chunks);
    EXPECT_EQ(chunks->layoutId, 0U);
    EXPECT_EQ(chunks->entries.size(), 2U);
}

TEST_F(ReadChunksOf, AFrameThatDoesNotTellAsksNoFurther)
{
    frame.infos.erase(BUFFER_INFO_CONTAINS_CHUNKDATA);
    EXPECT_FALSE(Read().input.chunks);
    EXPECT_EQ(lower.Asked().size(), 8U);
}

TEST_F(ReadChunksOf, AFrameWithoutPayloadSizeFails)
{
    frame.infos.erase(BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE);
    EXPECT_EQ(FailureOfRead(), Missing(BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE));
    EXPECT_EQ(nextFrameId, 6U);
}

TEST_F(ReadChunksOf, AFrameWithoutEntriesFails)
{
    frame.chunks.clear();
    EXPECT_EQ(FailureOfRead(), (Failure{"no chunks", GC_ERR_NO_DATA}));
}

class ReadPartsOf : public LowerBufferFixture
{
protected:
    ReadPartsOf()
    {
        frame.infos[BUFFER_INFO_PAYLOADTYPE] = TypedAnswer::Size(PAYLOAD_TYPE_MULTI_PART);
        frame.parts = {{{BUFFER_PART_INFO_BASE, TypedAnswer::Pointer(memory)},
                        {BUFFER_PART_INFO_DATA_SIZE, TypedAnswer::Size(40)},
                        {BUFFER_PART_INFO_DATA_TYPE, TypedAnswer::Size(PART_DATATYPE_3D_IMAGE)},
                        {BUFFER_PART_INFO_DATA_FORMAT, TypedAnswer::Uint64(0x02300024)},
                        {BUFFER_PART_INFO_WIDTH, TypedAnswer::Size(5)},
                        {BUFFER_PART_INFO_HEIGHT, TypedAnswer::Size(4)},
                        {BUFFER_PART_INFO_SOURCE_ID, TypedAnswer::Uint64(3)}},
                       {{BUFFER_PART_INFO_BASE, TypedAnswer::Pointer(memory + 40)},
                        {BUFFER_PART_INFO_DATA_SIZE, TypedAnswer::Size(24)},
                        {BUFFER_PART_INFO_DATA_TYPE, TypedAnswer::Size(PART_DATATYPE_CONFIDENCE_MAP)}}};
    }
};

TEST_F(ReadPartsOf, AMultiPartFrameTakesThemInOrder)
{
    Read();
    const auto asked = lower.Asked();
    ASSERT_EQ(asked.size(), 8U + 1 + 14);
    EXPECT_EQ((Queries{asked.begin() + 7, asked.begin() + 17}),
              (Queries{"info 7", "parts", "part 0 0", "part 0 3", "part 0 2", "part 0 1", "part 0 5",
                       "part 0 6", "part 0 10", "part 1 0"}));
}

TEST_F(ReadPartsOf, AMultiPartFrameDescribesThem)
{
    const auto parts = Read().input.parts;
    ASSERT_EQ(parts.size(), 2U);
    EXPECT_EQ(parts[0].base, memory);
    EXPECT_EQ(parts[0].size, 40U);
    EXPECT_EQ(parts[0].type, 5);
    EXPECT_EQ(parts[0].format, 0x02300024U);
    EXPECT_EQ(parts[0].width, 5U);
    EXPECT_EQ(parts[0].height, 4U);
    EXPECT_EQ(parts[0].sourceId, 3U);
    EXPECT_EQ(parts[1].base, memory + 40);
    EXPECT_EQ(parts[1].size, 24U);
    EXPECT_EQ(parts[1].type, 9);
    EXPECT_EQ(parts[1].format, std::nullopt);
    EXPECT_EQ(parts[1].width, std::nullopt);
    EXPECT_EQ(parts[1].height, std::nullopt);
    EXPECT_EQ(parts[1].sourceId, std::nullopt);
}

TEST_F(ReadPartsOf, AMultiPartFrameNeedsBaseTypeAndSize)
{
    for (const int32_t missing :
         {BUFFER_PART_INFO_BASE, BUFFER_PART_INFO_DATA_TYPE, BUFFER_PART_INFO_DATA_SIZE})
    {
        const auto answer = frame.parts[1].extract(missing);
        EXPECT_EQ(FailureOfRead(), Missing(missing));
        frame.parts[1][missing] = answer.mapped();
    }
    EXPECT_EQ(FailureOfRead(), Failure{});
}

TEST_F(ReadPartsOf, AMultiPartFrameNeedsTheirNumber)
{
    frame.parts.clear();
    EXPECT_EQ(FailureOfRead(), (Failure{"no parts", GC_ERR_NO_DATA}));
    EXPECT_EQ(nextFrameId, 6U);
}

TEST_F(ReadPartsOf, OtherPayloadTypesAreNotAskedFor)
{
    for (const size_t type :
         {PAYLOAD_TYPE_UNKNOWN, PAYLOAD_TYPE_IMAGE, PAYLOAD_TYPE_CHUNK_DATA, PAYLOAD_TYPE_GENDC})
    {
        frame.infos[BUFFER_INFO_PAYLOADTYPE] = TypedAnswer::Size(type);
        const auto result = Read();
        EXPECT_TRUE(result.input.parts.empty());
        EXPECT_EQ(result.input.payloadType, static_cast<int32_t>(type));
        EXPECT_EQ(lower.Asked().size(), 8U);
    }
}

} // namespace
} // namespace GenTL::internal

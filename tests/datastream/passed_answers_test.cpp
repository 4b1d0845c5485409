// What a buffer answers that passes on the lower producer's values.

#include "datastream/buffer.h"
#include "profile/profile.h"
#include "support/failure.h"
#include "support/fake_library.h"
#include "support/typed_answer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace GenTL::internal
{
namespace
{

constexpr BufferAnswers passing{.partsOfSingleImage = PartsAnswer::NoData, .passesLowerValues = true};

/// An info command with its answer for a frame that tells all, and for one that tells nothing.
struct Passed
{
    std::string name;
    int32_t command;
    TypedAnswer told;
    std::optional<TypedAnswer> untold; ///< none: not available

    friend std::ostream &operator<<(std::ostream &stream, const Passed &passed)
    {
        return stream << passed.name;
    }
};

FrameDescription FullDescription()
{
    return {.sizeFilled = 40,
            .dataSize = 50,
            .isLargerThanBuffer = true,
            .metadata = {.frameId = 77,
                         .timestamp = 1000,
                         .width = 8,
                         .height = 4,
                         .xOffset = 2,
                         .yOffset = 3,
                         .pixelFormat = 0x01080001,
                         .payloadType = PAYLOAD_TYPE_JPEG,
                         .pixelFormatNamespace = PIXELFORMAT_NAMESPACE_GEV,
                         .pixelEndianness = PIXELENDIANNESS_BIG,
                         .imageOffset = 16,
                         .xPadding = 5,
                         .yPadding = 6,
                         .deliveredImageHeight = 3,
                         .isImagePresent = false,
                         .timestampNs = 2000,
                         .hasChunks = true,
                         .chunkPayloadSize = 12,
                         .chunkLayoutId = 9,
                         .fileName = "a.zip"}};
}

const std::vector<Passed> passedValues{
    {"SizeFilled", BUFFER_INFO_SIZE_FILLED, TypedAnswer::Size(40), TypedAnswer::Size(0)},
    {"DataSize", BUFFER_INFO_DATA_SIZE, TypedAnswer::Size(50), TypedAnswer::Size(0)},
    {"DataLarger", BUFFER_INFO_DATA_LARGER_THAN_BUFFER, TypedAnswer::Bool(true), TypedAnswer::Bool(false)},
    {"FrameId", BUFFER_INFO_FRAMEID, TypedAnswer::Uint64(77), TypedAnswer::Uint64(0)},
    {"Timestamp", BUFFER_INFO_TIMESTAMP, TypedAnswer::Uint64(1000), {}},
    {"TimestampNs", BUFFER_INFO_TIMESTAMP_NS, TypedAnswer::Uint64(2000), {}},
    {"Width", BUFFER_INFO_WIDTH, TypedAnswer::Size(8), {}},
    {"Height", BUFFER_INFO_HEIGHT, TypedAnswer::Size(4), {}},
    {"XOffset", BUFFER_INFO_XOFFSET, TypedAnswer::Size(2), {}},
    {"YOffset", BUFFER_INFO_YOFFSET, TypedAnswer::Size(3), {}},
    {"PixelFormat", BUFFER_INFO_PIXELFORMAT, TypedAnswer::Uint64(0x01080001), {}},
    {"Namespace", BUFFER_INFO_PIXELFORMAT_NAMESPACE, TypedAnswer::Uint64(PIXELFORMAT_NAMESPACE_GEV), {}},
    {"PayloadType", BUFFER_INFO_PAYLOADTYPE, TypedAnswer::Size(PAYLOAD_TYPE_JPEG),
     TypedAnswer::Size(PAYLOAD_TYPE_IMAGE)},
    {"Endianness", BUFFER_INFO_PIXEL_ENDIANNESS, TypedAnswer::Int32(PIXELENDIANNESS_BIG), {}},
    {"ImageOffset", BUFFER_INFO_IMAGEOFFSET, TypedAnswer::Size(16), {}},
    {"XPadding", BUFFER_INFO_XPADDING, TypedAnswer::Size(5), {}},
    {"YPadding", BUFFER_INFO_YPADDING, TypedAnswer::Size(6), {}},
    {"DeliveredHeight", BUFFER_INFO_DELIVERED_IMAGEHEIGHT, TypedAnswer::Size(3), {}},
    {"ImagePresent", BUFFER_INFO_IMAGEPRESENT, TypedAnswer::Bool(false), {}},
    {"HasChunks", BUFFER_INFO_CONTAINS_CHUNKDATA, TypedAnswer::Bool(true), TypedAnswer::Bool(false)},
    {"ChunkPayload", BUFFER_INFO_DELIVERED_CHUNKPAYLOADSIZE, TypedAnswer::Size(12), {}},
    {"ChunkLayout", BUFFER_INFO_CHUNKLAYOUTID, TypedAnswer::Uint64(9), {}},
    {"FileName", BUFFER_INFO_FILENAME, TypedAnswer::Text("a.zip"), {}},
};

class PassedValue : public testing::TestWithParam<Passed>
{
protected:
    void ExpectAnswer(const std::optional<TypedAnswer> &expected)
    {
        const AskForInfo ask = [this](INFO_DATATYPE *type, void *value, size_t *size)
        { buffer.DSGetBufferInfo(GetParam().command, type, value, size); };
        if (expected)
        {
            return ExpectTypedAnswer(Arguments::Exact, *expected, ask);
        }
        EXPECT_EQ(FailureOf([&] { AskFor<uint64_t>(ask); }).code, GC_ERR_NOT_AVAILABLE);
    }

    FakeLibrary library;
    Buffer buffer{library, 64, nullptr, passing};
};

TEST_P(PassedValue, IsTheFrames)
{
    buffer.SetFrame(true, FullDescription());
    ExpectAnswer(GetParam().told);
}

TEST_P(PassedValue, IsNotTakenFromAnEarlierFrame)
{
    buffer.SetFrame(true, FullDescription());
    buffer.SetFrame(true, {});
    ExpectAnswer(GetParam().untold);
}

INSTANTIATE_TEST_SUITE_P(Values, PassedValue, testing::ValuesIn(passedValues),
                         [](const auto &row) { return row.param.name; });

class PassingBuffer : public testing::Test
{
protected:
    template <typename T>
    T PartInfo(BUFFER_PART_INFO_CMD command)
    {
        return AskFor<T>([&](INFO_DATATYPE *type, void *value, size_t *size)
                         { buffer.DSGetBufferPartInfo(0, command, type, value, size); });
    }

    FakeLibrary library;
    Buffer buffer{library, 64, nullptr, passing};
};

TEST_F(PassingBuffer, AnswersAboutPartsInFull)
{
    FrameDescription frame;
    frame.parts = {{.type = PART_DATATYPE_2D_IMAGE,
                    .format = 1,
                    .formatNamespace = PIXELFORMAT_NAMESPACE_IIDC,
                    .xOffset = 2,
                    .yOffset = 3,
                    .xPadding = 4,
                    .deliveredImageHeight = 5,
                    .regionId = 6,
                    .purposeId = 7}};
    buffer.SetFrame(true, std::move(frame));
    EXPECT_EQ(buffer.DSGetNumBufferParts(), 1U);
    EXPECT_EQ(PartInfo<uint64_t>(BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE),
              uint64_t{PIXELFORMAT_NAMESPACE_IIDC});
    EXPECT_EQ(PartInfo<size_t>(BUFFER_PART_INFO_XOFFSET), 2U);
    EXPECT_EQ(PartInfo<size_t>(BUFFER_PART_INFO_YOFFSET), 3U);
    EXPECT_EQ(PartInfo<size_t>(BUFFER_PART_INFO_XPADDING), 4U);
    EXPECT_EQ(PartInfo<size_t>(BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT), 5U);
    EXPECT_EQ(PartInfo<uint64_t>(BUFFER_PART_INFO_REGION_ID), 6U);
    EXPECT_EQ(PartInfo<uint64_t>(BUFFER_PART_INFO_DATA_PURPOSE_ID), 7U);
    EXPECT_EQ(PartInfo<size_t>(BUFFER_PART_INFO_DATA_TYPE), size_t{PART_DATATYPE_2D_IMAGE});
}

TEST_F(PassingBuffer, HasNoAnswerThatAPartDoesNotTell)
{
    FrameDescription frame;
    frame.parts.resize(1);
    buffer.SetFrame(true, std::move(frame));
    for (const BUFFER_PART_INFO_CMD command :
         {BUFFER_PART_INFO_DATA_FORMAT, BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE, BUFFER_PART_INFO_XOFFSET,
          BUFFER_PART_INFO_YOFFSET, BUFFER_PART_INFO_XPADDING, BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT,
          BUFFER_PART_INFO_REGION_ID, BUFFER_PART_INFO_DATA_PURPOSE_ID, BUFFER_PART_INFO_SOURCE_ID})
    {
        EXPECT_EQ(FailureOf([&] { PartInfo<uint64_t>(command); }).code, GC_ERR_NOT_AVAILABLE) << command;
    }
    EXPECT_EQ(FailureOf([&] { PartInfo<uint64_t>(1000); }).code, GC_ERR_NOT_IMPLEMENTED);
}

TEST_F(PassingBuffer, TakesAFormatWithoutNamespaceAsPublished)
{
    buffer.SetFrame(true, {.metadata = {.pixelFormat = 0x01080001}});
    EXPECT_EQ(
        AskFor<uint64_t>([&](INFO_DATATYPE *type, void *value, size_t *size)
                         { buffer.DSGetBufferInfo(BUFFER_INFO_PIXELFORMAT_NAMESPACE, type, value, size); }),
        uint64_t{PIXELFORMAT_NAMESPACE_PFNC_32BIT});
}

TEST_F(PassingBuffer, HasNoPartsButASingleImage)
{
    buffer.SetFrame(true, {});
    EXPECT_EQ(FailureOf([&] { buffer.DSGetNumBufferParts(); }),
              (Failure{"The buffer has a single image", GC_ERR_NO_DATA}));
}

} // namespace
} // namespace GenTL::internal

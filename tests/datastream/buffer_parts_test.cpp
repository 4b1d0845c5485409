#include "datastream/buffer.h"
#include "support/failure.h"
#include "support/fake_library.h"
#include "support/typed_answer.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace GenTL::internal
{
namespace
{

uint8_t *const partBase = reinterpret_cast<uint8_t *>(0x30000);

class BufferPartFixture : public testing::Test
{
protected:
    /// Part 0 is fully described; part 1 has only base, size and type.
    void FillParts()
    {
        buffer.SetParts({BufferPartInfo{.base = partBase,
                                        .size = 1000,
                                        .type = PART_DATATYPE_3D_IMAGE,
                                        .format = 0x02300024,
                                        .width = 20,
                                        .height = 10,
                                        .sourceId = 3},
                         BufferPartInfo{.base = partBase + 1000, .size = 500, .type = 1}});
    }

    AskForInfo Ask(uint32_t part, int32_t command)
    {
        return [this, part, command](INFO_DATATYPE *type, void *target, size_t *size)
        { buffer.DSGetBufferPartInfo(part, command, type, target, size); };
    }

    Failure FailureFor(uint32_t part, int32_t command)
    {
        return FailureOf([&] { AskFor<uint64_t>(Ask(part, command)); });
    }

    FakeLibrary library;
    Buffer buffer{library, 4096, nullptr};
};

class BufferPartInfoOf : public BufferPartFixture, public testing::WithParamInterface<InfoParameter>
{
};

const std::vector<InfoCase> partCases{
    {"Base", BUFFER_PART_INFO_BASE, TypedAnswer::Pointer(partBase)},
    {"DataSize", BUFFER_PART_INFO_DATA_SIZE, TypedAnswer::Size(1000)},
    {"DataType", BUFFER_PART_INFO_DATA_TYPE, TypedAnswer::Size(5)},
    {"DataFormat", BUFFER_PART_INFO_DATA_FORMAT, TypedAnswer::Uint64(0x02300024)},
    {"DataFormatNamespace", BUFFER_PART_INFO_DATA_FORMAT_NAMESPACE, TypedAnswer::Uint64(4)},
    {"Width", BUFFER_PART_INFO_WIDTH, TypedAnswer::Size(20)},
    {"Height", BUFFER_PART_INFO_HEIGHT, TypedAnswer::Size(10)},
    {"XOffset", BUFFER_PART_INFO_XOFFSET, TypedAnswer::Size(0)},
    {"YOffset", BUFFER_PART_INFO_YOFFSET, TypedAnswer::Size(0)},
    {"XPadding", BUFFER_PART_INFO_XPADDING, TypedAnswer::Size(0)},
    {"SourceId", BUFFER_PART_INFO_SOURCE_ID, TypedAnswer::Uint64(3)},
    {"DeliveredImageHeight", BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT, TypedAnswer::Size(10)},
};

// Even without a result, since parts do not depend on the validity of the frame.
TEST_P(BufferPartInfoOf, Answers)
{
    FillParts();
    const auto &[info, arguments] = GetParam();
    ExpectTypedAnswer(arguments, info.expected, Ask(0, info.command), "piType", "piSize");
}

INSTANTIATE_TEST_SUITE_P(Commands, BufferPartInfoOf, EveryWayToAsk(partCases), NameOfInfo);

class BufferParts : public BufferPartFixture
{
};

TEST_F(BufferParts, AreCounted)
{
    EXPECT_EQ(buffer.DSGetNumBufferParts(), 0U);
    FillParts();
    EXPECT_EQ(buffer.DSGetNumBufferParts(), 2U);
}

TEST_F(BufferParts, AreToldApart)
{
    FillParts();
    EXPECT_EQ(AskFor<void *>(Ask(1, BUFFER_PART_INFO_BASE)), partBase + 1000);
    EXPECT_EQ(AskFor<size_t>(Ask(1, BUFFER_PART_INFO_DATA_SIZE)), 500U);
}

TEST_F(BufferParts, NameNullArgumentsFirst)
{
    size_t size = 8;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    EXPECT_EQ(FailureOf([&] { buffer.DSGetBufferPartInfo(9, 99, nullptr, nullptr, &size); }),
              (Failure{"piType must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { buffer.DSGetBufferPartInfo(9, 99, &type, nullptr, nullptr); }),
              (Failure{"piSize must not be NULL", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(BufferParts, AreMissingBeforeAnIndexIsLookedAt)
{
    EXPECT_EQ(FailureFor(9, 99), (Failure{"No Parts in the buffer", GC_ERR_NO_DATA}));
}

TEST_F(BufferParts, RefuseAnIndexBeforeACommand)
{
    FillParts();
    EXPECT_EQ(FailureFor(2, 99), (Failure{"Supplied index 2 is out of range", GC_ERR_INVALID_INDEX}));
}

TEST_F(BufferParts, HaveNoRegion)
{
    FillParts();
    EXPECT_EQ(FailureFor(0, BUFFER_PART_INFO_REGION_ID),
              (Failure{"Region not available", GC_ERR_NOT_AVAILABLE}));
}

TEST_F(BufferParts, HaveNoPurpose)
{
    FillParts();
    EXPECT_EQ(FailureFor(0, BUFFER_PART_INFO_DATA_PURPOSE_ID),
              (Failure{"Data purpose ID not available", GC_ERR_NOT_AVAILABLE}));
}

TEST_F(BufferParts, RefuseUnknownCommands)
{
    FillParts();
    for (const int32_t command : {-1, 14, 1000})
    {
        EXPECT_EQ(FailureFor(0, command), (Failure{"Function not implemented", GC_ERR_NOT_IMPLEMENTED}));
    }
}

TEST_F(BufferParts, AreNotAvailableForWhatIsNotTold)
{
    FillParts();
    for (const int32_t command :
         {BUFFER_PART_INFO_DATA_FORMAT, BUFFER_PART_INFO_WIDTH, BUFFER_PART_INFO_HEIGHT,
          BUFFER_PART_INFO_SOURCE_ID, BUFFER_PART_INFO_DELIVERED_IMAGEHEIGHT})
    {
        EXPECT_EQ(FailureFor(1, command),
                  (Failure{fmt::format("The information {} is currently not available.", command),
                           GC_ERR_NOT_AVAILABLE}));
    }
}

class BufferPartInfoStacked : public BufferPartFixture
{
};

TEST_F(BufferPartInfoStacked, ChecksItsArgumentsInOrder)
{
    DS_BUFFER_PART_INFO_STACKED entry{};
    EXPECT_EQ(FailureOf([&] { buffer.DSGetBufferPartInfoStacked(nullptr, 0); }),
              (Failure{"pInfoStacked must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { buffer.DSGetBufferPartInfoStacked(&entry, 0); }),
              (Failure{"iNumInfos must not be 0", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(BufferPartInfoStacked, GivesEachEntryAResultOfItsOwn)
{
    FillParts();
    size_t width = 0;
    size_t dataSize = 0;
    uint32_t tooShort = 0xCCCCCCCC;
    std::array<DS_BUFFER_PART_INFO_STACKED, 5> entries{};
    for (auto &entry : entries)
    {
        entry.iResult = -77;
    }
    entries[0].iInfoCmd = BUFFER_PART_INFO_WIDTH;
    entries[0].pBuffer = &width;
    entries[0].iSize = sizeof width;
    entries[1].iInfoCmd = 99;
    entries[1].iType = 55;
    entries[1].iSize = 66;
    entries[2].iInfoCmd = BUFFER_PART_INFO_HEIGHT;
    entries[2].pBuffer = &tooShort;
    entries[2].iSize = sizeof tooShort;
    entries[3].iPartIndex = 2;
    entries[3].iInfoCmd = BUFFER_PART_INFO_HEIGHT;
    entries[4].iPartIndex = 1;
    entries[4].iInfoCmd = BUFFER_PART_INFO_DATA_SIZE;
    entries[4].pBuffer = &dataSize;
    entries[4].iSize = sizeof dataSize;
    buffer.DSGetBufferPartInfoStacked(entries.data(), entries.size());

    EXPECT_EQ(int(entries[0].iResult), GC_ERR_SUCCESS);
    EXPECT_EQ(int(entries[0].iType), INFO_DATATYPE_SIZET);
    EXPECT_EQ(width, 20U);
    EXPECT_EQ(int(entries[1].iResult), GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(int(entries[1].iType), 55);
    EXPECT_EQ(size_t(entries[1].iSize), 66U);
    EXPECT_EQ(int(entries[2].iResult), GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(int(entries[2].iType), INFO_DATATYPE_SIZET);
    EXPECT_EQ(tooShort, 0xCCCCCCCCU);
    EXPECT_EQ(int(entries[3].iResult), GC_ERR_INVALID_INDEX);
    EXPECT_EQ(int(entries[4].iResult), GC_ERR_SUCCESS);
    EXPECT_EQ(dataSize, 500U);
}

class BufferInfoStacked : public BufferPartFixture
{
};

TEST_F(BufferInfoStacked, ChecksItsArgumentsInOrder)
{
    DS_BUFFER_INFO_STACKED entry{};
    EXPECT_EQ(FailureOf([&] { buffer.DSGetBufferInfoStacked(nullptr, 0); }),
              (Failure{"pInfoStacked must not be NULL", GC_ERR_INVALID_PARAMETER}));
    EXPECT_EQ(FailureOf([&] { buffer.DSGetBufferInfoStacked(&entry, 0); }),
              (Failure{"iNumInfos must not be 0", GC_ERR_INVALID_PARAMETER}));
}

TEST_F(BufferInfoStacked, FillsTheOthersWhenOneCommandIsWrong)
{
    size_t size = 0;
    void *base = nullptr;
    uint32_t tooShort = 0xCCCCCCCC;
    std::array<DS_BUFFER_INFO_STACKED, 5> entries{};
    for (auto &entry : entries)
    {
        entry.iResult = -77;
    }
    entries[0].iInfoCmd = BUFFER_INFO_SIZE;
    entries[0].pBuffer = &size;
    entries[0].iSize = 100;
    entries[1].iInfoCmd = 32;
    entries[1].iType = 55;
    entries[1].iSize = 66;
    entries[2].iInfoCmd = BUFFER_INFO_SIZE;
    entries[2].pBuffer = &tooShort;
    entries[2].iSize = sizeof tooShort;
    entries[3].iInfoCmd = BUFFER_INFO_TIMESTAMP;
    entries[4].iInfoCmd = BUFFER_INFO_BASE;
    entries[4].pBuffer = &base;
    entries[4].iSize = sizeof base;
    buffer.DSGetBufferInfoStacked(entries.data(), entries.size());

    EXPECT_EQ(int(entries[0].iResult), GC_ERR_SUCCESS);
    EXPECT_EQ(int(entries[0].iType), INFO_DATATYPE_SIZET);
    EXPECT_EQ(size_t(entries[0].iSize), sizeof size);
    EXPECT_EQ(size, 4096U);
    EXPECT_EQ(int(entries[1].iResult), GC_ERR_NOT_IMPLEMENTED);
    EXPECT_EQ(int(entries[1].iType), 55);
    EXPECT_EQ(size_t(entries[1].iSize), 66U);
    // A failed query writes back as well: it sets the type before it checks the size.
    EXPECT_EQ(int(entries[2].iResult), GC_ERR_BUFFER_TOO_SMALL);
    EXPECT_EQ(int(entries[2].iType), INFO_DATATYPE_SIZET);
    EXPECT_EQ(size_t(entries[2].iSize), sizeof tooShort);
    EXPECT_EQ(tooShort, 0xCCCCCCCCU);
    EXPECT_EQ(int(entries[3].iResult), GC_ERR_NOT_AVAILABLE);
    EXPECT_EQ(int(entries[4].iResult), GC_ERR_SUCCESS);
    EXPECT_EQ(base, buffer.GetBase());
}

TEST_F(BufferInfoStacked, EndsWithWhatIsNoGenTLException)
{
    library.onGetTLType = [] { throw std::runtime_error("no type"); };
    std::array<DS_BUFFER_INFO_STACKED, 3> entries{};
    entries[0].iInfoCmd = BUFFER_INFO_SIZE;
    entries[1].iInfoCmd = BUFFER_INFO_TLTYPE;
    entries[2].iInfoCmd = BUFFER_INFO_SIZE;
    EXPECT_EQ(FailureOf([&] { buffer.DSGetBufferInfoStacked(entries.data(), entries.size()); }),
              PlainFailure("no type"));
    EXPECT_EQ(size_t(entries[0].iSize), sizeof(size_t));
    EXPECT_EQ(size_t(entries[2].iSize), 0U);
}

TEST_F(BufferInfoStacked, GivesTheSizeForANullBuffer)
{
    DS_BUFFER_INFO_STACKED entry{};
    entry.iInfoCmd = BUFFER_INFO_TLTYPE;
    buffer.DSGetBufferInfoStacked(&entry, 1);
    EXPECT_EQ(int(entry.iResult), GC_ERR_SUCCESS);
    EXPECT_EQ(int(entry.iType), INFO_DATATYPE_STRING);
    EXPECT_EQ(size_t(entry.iSize), 4U);
}

} // namespace
} // namespace GenTL::internal

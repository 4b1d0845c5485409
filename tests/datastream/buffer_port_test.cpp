#include "datastream/buffer.h"
#include "support/failure.h"
#include "support/fake_library.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

namespace GenTL::internal
{
namespace
{

const Failure notImplemented{"Function not implemented", GC_ERR_NOT_IMPLEMENTED};

Failure MustNotBeNull(const std::string &name)
{
    return {name + " must not be NULL", GC_ERR_INVALID_PARAMETER};
}

class BufferPort : public testing::Test
{
protected:
    FakeLibrary library;
    Buffer buffer{library, 16, nullptr};
    std::array<char, 16> data{};
    size_t size = data.size();
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
};

TEST_F(BufferPort, IsABuffer)
{
    EXPECT_EQ(static_cast<int>(buffer.GetModuleType()), 4);
}

TEST_F(BufferPort, HasNoRegistersToRead)
{
    EXPECT_EQ(FailureOf([&] { buffer.ReadPort(0, data.data(), &size); }), notImplemented);
    EXPECT_EQ(FailureOf([&] { buffer.ReadRegisters(0, data.data(), &size); }), notImplemented);
    EXPECT_EQ(FailureOf([&] { buffer.ReadPort(0, nullptr, nullptr); }), MustNotBeNull("pBuffer"));
    EXPECT_EQ(FailureOf([&] { buffer.ReadPort(0, data.data(), nullptr); }), MustNotBeNull("piSize"));
}

TEST_F(BufferPort, HasNoRegistersToWrite)
{
    EXPECT_EQ(FailureOf([&] { buffer.WritePort(0, data.data(), &size); }), notImplemented);
    EXPECT_EQ(FailureOf([&] { buffer.WriteRegisters(0, data.data(), &size); }), notImplemented);
    EXPECT_EQ(FailureOf([&] { buffer.WritePort(0, nullptr, nullptr); }), MustNotBeNull("pBuffer"));
    EXPECT_EQ(FailureOf([&] { buffer.WritePort(0, data.data(), nullptr); }), MustNotBeNull("piSize"));
}

TEST_F(BufferPort, HasNoUrl)
{
    EXPECT_EQ(FailureOf([&] { buffer.GetPortURL(nullptr, nullptr); }), MustNotBeNull("piSize"));
    EXPECT_EQ(FailureOf([&] { buffer.GetPortURL(nullptr, &size); }), notImplemented);
    uint32_t count = 5;
    buffer.GetNumPortURLs(&count);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(FailureOf([&] { buffer.GetNumPortURLs(nullptr); }), MustNotBeNull("piNumURLs"));
}

TEST_F(BufferPort, HasNoUrlInfo)
{
    const auto ask = [&](INFO_DATATYPE *piType, size_t *piSize)
    { return FailureOf([&] { buffer.GetPortURLInfo(0, URL_INFO_URL, piType, data.data(), piSize); }); };
    EXPECT_EQ(ask(nullptr, nullptr), MustNotBeNull("piType"));
    EXPECT_EQ(ask(&type, nullptr), MustNotBeNull("piSize"));
    EXPECT_EQ(ask(&type, &size), notImplemented);
}

TEST_F(BufferPort, HasNoPortInfo)
{
    const auto ask = [&](INFO_DATATYPE *piType, size_t *piSize)
    { return FailureOf([&] { buffer.GetPortInfo(PORT_INFO_ID, piType, data.data(), piSize); }); };
    EXPECT_EQ(ask(nullptr, nullptr), MustNotBeNull("piType"));
    EXPECT_EQ(ask(&type, nullptr), MustNotBeNull("piSize"));
    EXPECT_EQ(ask(&type, &size), notImplemented);
}

TEST_F(BufferPort, HasNoStackedAccess)
{
    PORT_REGISTER_STACK_ENTRY entry{};
    size_t count = 1;
    EXPECT_EQ(FailureOf([&] { buffer.ReadPortStacked(nullptr, nullptr); }), MustNotBeNull("pEntries"));
    EXPECT_EQ(FailureOf([&] { buffer.ReadPortStacked(&entry, nullptr); }), MustNotBeNull("piNumEntries"));
    EXPECT_EQ(FailureOf([&] { buffer.ReadPortStacked(&entry, &count); }), notImplemented);
    EXPECT_EQ(FailureOf([&] { buffer.WritePortStacked(nullptr, nullptr); }), MustNotBeNull("pEntries"));
    EXPECT_EQ(FailureOf([&] { buffer.WritePortStacked(&entry, nullptr); }), MustNotBeNull("piNumEntries"));
    EXPECT_EQ(FailureOf([&] { buffer.WritePortStacked(&entry, &count); }), notImplemented);
}

class BufferChunks : public BufferPort
{
protected:
    const std::vector<ChunkEntry> chunks{{.ChunkID = 1, .ChunkOffset = 10, .ChunkLength = 100},
                                         {.ChunkID = 2, .ChunkOffset = 20, .ChunkLength = 200}};
};

TEST_F(BufferChunks, AreMissingBeforeTheArgumentsAreLookedAt)
{
    const Failure noChunks{"No chunks in the buffer", GC_ERR_NO_DATA};
    size_t count = 1;
    EXPECT_EQ(FailureOf([&] { buffer.DSGetBufferChunkData(nullptr, nullptr); }), noChunks);
    EXPECT_EQ(FailureOf([&] { buffer.DSGetBufferChunkData(nullptr, &count); }), noChunks);
    EXPECT_EQ(count, 1U);
}

TEST_F(BufferChunks, NeedACount)
{
    buffer.SetChunks(chunks, 0, 0);
    EXPECT_EQ(FailureOf([&] { buffer.DSGetBufferChunkData(nullptr, nullptr); }),
              MustNotBeNull("piNumChunks"));
}

TEST_F(BufferChunks, AreCountedWithANullArray)
{
    buffer.SetChunks(chunks, 0, 0);
    size_t count = 0;
    buffer.DSGetBufferChunkData(nullptr, &count);
    EXPECT_EQ(count, 2U);
}

TEST_F(BufferChunks, AreCopiedByteForByte)
{
    buffer.SetChunks(chunks, 0, 0);
    std::array<ChunkEntry, 3> entries{};
    for (const size_t given : {size_t{2}, size_t{3}})
    {
        size_t count = given;
        entries.fill({});
        buffer.DSGetBufferChunkData(entries.data(), &count);
        EXPECT_EQ(count, 2U);
        EXPECT_EQ(std::memcmp(entries.data(), chunks.data(), 2 * sizeof(ChunkEntry)), 0);
        EXPECT_EQ(entries[2].ChunkID, 0U);
    }
}

TEST_F(BufferChunks, DoNotFitIntoAShorterArray)
{
    buffer.SetChunks(chunks, 0, 0);
    ChunkEntry entry{};
    size_t count = 1;
    EXPECT_EQ(FailureOf([&] { buffer.DSGetBufferChunkData(&entry, &count); }),
              (Failure{"Buffer is too small. Needed 2, got 1!", GC_ERR_BUFFER_TOO_SMALL}));
    EXPECT_EQ(count, 1U);
    EXPECT_EQ(entry.ChunkID, 0U);
}

} // namespace
} // namespace GenTL::internal

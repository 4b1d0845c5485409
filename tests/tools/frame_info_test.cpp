// The information about a frame, from a producer that a test scripts.

#include "consumer/frame_info.h"

#include "descriptions.h"
#include "gentlctl/frame_files.h"
#include "gentlctl/frame_json.h"
#include "support/fake_gentl_proxy.h"
#include "support/typed_answer.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <stdexcept>

namespace gentlctl
{
namespace
{

using namespace GenTL;
using internal::FakeGenTLProxy;
using internal::GenTLException;
using internal::TypedAnswer;

using AnswerMap = std::map<int32_t, TypedAnswer>;

GC_ERROR AnswerFrom(const AnswerMap &answers, int32_t command, INFO_DATATYPE *type, void *buffer,
                    size_t *size)
{
    const auto answer = answers.find(command);
    if (answer == answers.end())
    {
        throw GenTLException("Not known", GC_ERR_NOT_AVAILABLE);
    }
    *type = answer->second.type;
    *size = answer->second.bytes.size();
    if (buffer != nullptr)
    {
        std::ranges::copy(answer->second.bytes, static_cast<uint8_t *>(buffer));
    }
    return GC_ERR_SUCCESS;
}

/// A device whose chunk 7 holds the feature ChunkNumber.
constexpr std::string_view description =
    "<RegisterDescription><Category Name=\"Root\"><pFeature>ChunkNumber</pFeature></Category>"
    "<Port Name=\"NumberPort\"><ChunkID>7</ChunkID></Port>"
    "<IntReg Name=\"NumberRegister\"><Address>0</Address><Length>4</Length><pPort>NumberPort</pPort></IntReg>"
    "<Integer Name=\"ChunkNumber\"><pValue>NumberRegister</pValue></Integer></RegisterDescription>";

class FrameInfoTest : public testing::Test
{
protected:
    FrameInfoTest()
    {
        calls->onGCGetPortURL = [](PORT_HANDLE, char *url, size_t *size)
        { return AnswerUrl(fmt::format("local:device.xml;0;{:x}", description.size()), url, size); };
        calls->onGCReadPort = [](PORT_HANDLE, uint64_t, void *buffer, size_t *size)
        {
            std::memcpy(buffer, description.data(), *size);
            return GC_ERR_SUCCESS;
        };
        calls->onDSGetBufferInfo = [this](DS_HANDLE, BUFFER_HANDLE, BUFFER_INFO_CMD command,
                                          INFO_DATATYPE *type, void *buffer, size_t *size)
        { return AnswerFrom(infos, command, type, buffer, size); };
        calls->onDSGetNumBufferParts = [this](DS_HANDLE, BUFFER_HANDLE, uint32_t *count)
        {
            *count = static_cast<uint32_t>(parts.size());
            return GC_ERR_SUCCESS;
        };
        calls->onDSGetBufferPartInfo = [this](DS_HANDLE, BUFFER_HANDLE, uint32_t part,
                                              BUFFER_PART_INFO_CMD command, INFO_DATATYPE *type, void *buffer,
                                              size_t *size)
        { return AnswerFrom(parts.at(part), command, type, buffer, size); };
    }

    FrameInfo Read()
    {
        const Features remote(std::make_shared<Port>(calls, nullptr, internal::ModuleType::RemoteDevice));
        return ReadFrameInfo(*calls, nullptr, memory.data(), remote);
    }

    /// Makes the producer report this chunk in the buffer's memory.
    void HaveChunk(uint64_t id, ptrdiff_t offset, size_t length)
    {
        calls->onDSGetBufferChunkData =
            [=](DS_HANDLE, BUFFER_HANDLE, SINGLE_CHUNK_DATA *chunks, size_t *count)
        {
            if (chunks != nullptr)
            {
                chunks[0] = {id, offset, length};
            }
            *count = 1;
            return GC_ERR_SUCCESS;
        };
    }

    std::array<uint8_t, 64> memory{};
    AnswerMap infos{{BUFFER_INFO_BASE, TypedAnswer::Pointer(memory.data())},
                    {BUFFER_INFO_SIZE, TypedAnswer::Size(memory.size())},
                    {BUFFER_INFO_WIDTH, TypedAnswer::Size(8)},
                    {BUFFER_INFO_HEIGHT, TypedAnswer::Size(4)},
                    {BUFFER_INFO_PIXELFORMAT, TypedAnswer::Uint64(0x01080001)},
                    {BUFFER_INFO_IMAGEOFFSET, TypedAnswer::Size(16)},
                    {BUFFER_INFO_PAYLOADTYPE, TypedAnswer::Size(PAYLOAD_TYPE_IMAGE)}};
    std::vector<AnswerMap> parts;
    std::shared_ptr<FakeGenTLProxy> calls = std::make_shared<FakeGenTLProxy>();
};

TEST_F(FrameInfoTest, HasTheImageBehindItsOffset)
{
    const auto images = ImagesOf(Read());
    ASSERT_EQ(images.size(), 1U);
    EXPECT_EQ(images[0].name, "");
    EXPECT_EQ(images[0].view.data, memory.data() + 16);
    EXPECT_EQ(images[0].view.size, 48U);
    EXPECT_EQ(images[0].view.width, 8U);
    EXPECT_EQ(images[0].view.height, 4U);
    EXPECT_EQ(images[0].view.pixelFormat, 0x01080001U);
}

TEST_F(FrameInfoTest, HasAnImageForEachPart)
{
    infos[BUFFER_INFO_PAYLOADTYPE] = TypedAnswer::Size(PAYLOAD_TYPE_MULTI_PART);
    parts = {{{BUFFER_PART_INFO_BASE, TypedAnswer::Pointer(memory.data() + 32)},
              {BUFFER_PART_INFO_DATA_SIZE, TypedAnswer::Size(32)},
              {BUFFER_PART_INFO_DATA_TYPE, TypedAnswer::Size(PART_DATATYPE_3D_IMAGE)}},
             {{BUFFER_PART_INFO_BASE, TypedAnswer::Pointer(memory.data())}}};
    const auto images = ImagesOf(Read());
    ASSERT_EQ(images.size(), 2U);
    EXPECT_EQ(images[0].name, "range");
    EXPECT_EQ(images[0].view.data, memory.data() + 32);
    EXPECT_EQ(images[0].view.size, 32U);
    EXPECT_EQ(images[1].name, "part1");
    EXPECT_EQ(images[1].view.size, 0U);
}

TEST_F(FrameInfoTest, HasNoImageAtAnUnknownAddress)
{
    infos.erase(BUFFER_INFO_BASE);
    const auto frame = Read();
    EXPECT_EQ(frame.base, nullptr);
    EXPECT_THROW(ImagesOf(frame), std::runtime_error);
}

TEST_F(FrameInfoTest, TakesAnUnknownNumberForZero)
{
    infos = {{BUFFER_INFO_WIDTH, TypedAnswer::Text("wide")}};
    const auto frame = Read();
    EXPECT_EQ(frame.width, 0U);
    EXPECT_EQ(frame.size, 0U);
    EXPECT_FALSE(frame.isIncomplete);
}

TEST_F(FrameInfoTest, HasTheValuesInItsChunks)
{
    memory[20] = 42;
    HaveChunk(7, 20, 4);
    EXPECT_EQ(Read().chunks, (Json{{"ChunkNumber", 42}}));
    HaveChunk(8, 20, 4);
    EXPECT_EQ(Read().chunks, Json::object());
}

TEST_F(FrameInfoTest, LeavesOutAChunkOutsideOfTheMemory)
{
    HaveChunk(7, 61, 4);
    EXPECT_EQ(Read().chunks, Json::object());
    HaveChunk(7, 60, 4);
    EXPECT_EQ(Read().chunks.size(), 1U);
    infos.erase(BUFFER_INFO_BASE);
    EXPECT_EQ(Read().chunks, Json::object());
}

TEST_F(FrameInfoTest, DoesNotLookForChunksThatAreNotThere)
{
    HaveChunk(7, 20, 4);
    infos[BUFFER_INFO_CONTAINS_CHUNKDATA] = TypedAnswer::Bool(false);
    EXPECT_EQ(Read().chunks, Json::object());
    infos[BUFFER_INFO_CONTAINS_CHUNKDATA] = TypedAnswer::Bool(true);
    infos[BUFFER_INFO_IS_INCOMPLETE] = TypedAnswer::Bool(true);
    EXPECT_EQ(Read().chunks, Json::object());
    EXPECT_EQ(calls->CountOf("DSGetBufferChunkData"), 0U);
}

TEST_F(FrameInfoTest, IsPrintedWithNamesBehindNumbers)
{
    parts = {{{BUFFER_PART_INFO_DATA_TYPE, TypedAnswer::Size(PART_DATATYPE_2D_IMAGE)}}};
    const auto json = ToJson(Read());
    EXPECT_EQ(json.size(), BufferInfoCommands().size() + 4);
    EXPECT_EQ(json["BUFFER_INFO_BASE"], fmt::format("{}", fmt::ptr(memory.data())));
    EXPECT_EQ(json["BUFFER_INFO_USER_PTR"], (Json{{"error", GC_ERR_NOT_AVAILABLE}, {"text", "Not known"}}));
    EXPECT_EQ(json["pixelFormat"], "Mono8");
    EXPECT_EQ(std::next(json.find("BUFFER_INFO_PIXELFORMAT")).key(), "pixelFormat");
    EXPECT_EQ(json["payloadType"], "PAYLOAD_TYPE_IMAGE");
    EXPECT_EQ(json["parts"][0]["dataType"], "PART_DATATYPE_2D_IMAGE");
    EXPECT_FALSE(json["parts"][0].contains("dataFormat"));
    EXPECT_EQ(std::prev(json.end()).key(), "chunks");
}

} // namespace
} // namespace gentlctl

// Every pixel format of every simulated camera: what the producer makes of it, and that description,
// register, payload size and frame agree on it.

#include "consumer.h"
#include "consumer/description.h"
#include "nodemap/node_access.h"
#include "support/byte_values.h"
#include "support/environment_variable.h"
#include "support/plain_pixels.h"
#include "support/sanitizer.h"

#include <gtest/gtest.h>

#include <zlib.h>

#include <algorithm>
#include <map>
#include <ostream>
#include <set>
#include <span>

namespace chain
{
namespace
{

using internal::EnvironmentVariable;
using internal::FormatByName;
using internal::NumberOf;
using internal::PlainImage;
using internal::ValueAt;
using Bytes = std::vector<uint8_t>;

constexpr int framesCompared = 3;
constexpr size_t numBuffers = 4;
constexpr size_t guardSize = 64;
constexpr uint8_t guardByte = 0xA5;

struct TestedCamera
{
    const char *model;
    bool hasMosaic; // its mosaic follows ReverseX and ReverseY
    int width;      // odd where the camera allows it: rows and groups begin in mid-byte
    int height;
    int offsetX; // so that the region shows the scene's colours and ramps
    int offsetY;
};

void PrintTo(const TestedCamera &tested, std::ostream *stream)
{
    *stream << tested.model;
}

constexpr TestedCamera testedCameras[] = {{"OVRA-M5", false, 68, 22, 1200, 900},
                                          {"OVRA-M1", false, 67, 19, 601, 431},
                                          {"OVRA-C5", true, 68, 22, 1200, 1014},
                                          {"OVRA-S2", true, 68, 22, 800, 590},
                                          {"OVRA-F1", false, 67, 19, 301, 231}};

/// ReverseX and ReverseY of a camera.
struct Flips
{
    int x;
    int y;

    auto operator<=>(const Flips &) const = default;
};

std::vector<Flips> FlipsOf(const TestedCamera &tested)
{
    if (!tested.hasMosaic)
    {
        return {{0, 0}};
    }
    // The code takes the same way for each flip, which is all that a sanitizer sees.
    return hasSanitizer ? std::vector<Flips>{{1, 0}} : std::vector<Flips>{{0, 0}, {1, 0}, {0, 1}, {1, 1}};
}

void UseRegion(const gentlctl::Features &remote, const TestedCamera &tested)
{
    remote.Set("Width", std::to_string(tested.width));
    remote.Set("Height", std::to_string(tested.height));
    remote.Set("OffsetX", std::to_string(tested.offsetX));
    remote.Set("OffsetY", std::to_string(tested.offsetY));
}

/// Sets the flips of a camera and closes it. The camera keeps the flips, and the producer sees their formats
/// when it opens the camera again.
void UseFlips(gentlctl::Producer &producer, const TestedCamera &tested, Flips flips)
{
    if (tested.hasMosaic)
    {
        gentlctl::OpenDevice device(producer, tested.model);
        const gentlctl::Features remote(device.PortOf("remote"));
        remote.Set("ReverseX", std::to_string(flips.x));
        remote.Set("ReverseY", std::to_string(flips.y));
    }
}

/// Formats by name with their codes, as a consumer finds them in the description and its registers.
class FormatList
{
public:
    explicit FormatList(Camera &camera)
        : m_port(camera.Device().PortOf("remote")), m_text(gentlctl::LoadDescription(*m_port)),
          m_parser(m_text)
    {
        for (const auto &entry : Node().EnumEntries)
        {
            m_codes[entry.Name] = static_cast<uint64_t>(std::get<int64_t>(entry.Value));
        }
    }

    uint64_t CodeOf(const std::string &name) const { return m_codes.at(name); }
    bool Lists(const std::string &name) const { return m_codes.contains(name); }

    std::set<std::string> Offered() const
    {
        const auto names = internal::nodemap::GetAvailableEnumEntries(*m_port, m_parser, Node());
        return {names.begin(), names.end()};
    }

private:
    const internal::nodemap::NodeInfo &Node() const { return m_parser.FindInterfaceNode("PixelFormat"); }

    std::shared_ptr<gentlctl::Port> m_port;
    std::string m_text;
    internal::nodemap::NodeMapParser m_parser;
    std::map<std::string, uint64_t> m_codes;
};

/// The producer's answers about a frame, and the memory that the consumer announced for it.
struct Frame
{
    uint64_t number = 0;
    uint64_t pixelFormat = 0;
    size_t sizeFilled = 0;
    bool isIncomplete = true;
    bool isGuardWhole = false;
    Bytes bytes; // of the whole buffer
    std::vector<SINGLE_CHUNK_DATA> chunks;
};

size_t RemotePayloadSize(Camera &camera)
{
    return static_cast<size_t>(camera.Remote().GetInteger("PayloadSize"));
}

/// The payload size as a consumer finds it that first asks the stream whether it defines the size.
size_t StreamsOrRemotePayloadSize(Camera &camera)
{
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    bool8_t isDefined = 0;
    size_t size = sizeof isDefined;
    camera.Calls().DSGetInfo(camera.Stream(), STREAM_INFO_DEFINES_PAYLOADSIZE, &type, &isDefined, &size);
    return isDefined != 0 ? camera.PayloadSize() : RemotePayloadSize(camera);
}

Frame Describe(Camera &camera, BUFFER_HANDLE buffer, const Bytes &memory)
{
    Frame frame;
    frame.number = camera.BufferInfo<uint64_t>(buffer, BUFFER_INFO_FRAMEID);
    frame.pixelFormat = camera.BufferInfo<uint64_t>(buffer, BUFFER_INFO_PIXELFORMAT);
    frame.sizeFilled = camera.BufferInfo<size_t>(buffer, BUFFER_INFO_SIZE_FILLED);
    frame.isIncomplete = camera.BufferInfo<bool8_t>(buffer, BUFFER_INFO_IS_INCOMPLETE) != 0;
    frame.isGuardWhole =
        std::all_of(memory.end() - guardSize, memory.end(), [](uint8_t byte) { return byte == guardByte; });
    frame.bytes.assign(memory.begin(), memory.end() - guardSize);
    if (camera.BufferInfo<bool8_t>(buffer, BUFFER_INFO_CONTAINS_CHUNKDATA) != 0)
    {
        size_t count = 0;
        camera.Calls().DSGetBufferChunkData(camera.Stream(), buffer, nullptr, &count);
        frame.chunks.resize(count);
        camera.Calls().DSGetBufferChunkData(camera.Stream(), buffer, frame.chunks.data(), &count);
    }
    return frame;
}

/// The first frames of an acquisition in buffers of this size; the bytes behind a buffer are a guard.
std::vector<Frame> Grab(Camera &camera, size_t size, int count)
{
    std::vector<Bytes> memory(numBuffers, Bytes(size + guardSize, guardByte));
    std::map<BUFFER_HANDLE, const Bytes *> memoryOf;
    auto &calls = camera.Calls();
    for (auto &bytes : memory)
    {
        BUFFER_HANDLE buffer = nullptr;
        calls.DSAnnounceBuffer(camera.Stream(), bytes.data(), size, nullptr, &buffer);
        calls.DSQueueBuffer(camera.Stream(), buffer);
        memoryOf[buffer] = &bytes;
    }
    camera.RegisterEvent();
    camera.Start();
    std::vector<Frame> frames;
    for (int i = 0; i < count; ++i)
    {
        auto *const buffer = camera.Take();
        frames.push_back(Describe(camera, buffer, *memoryOf.at(buffer)));
        camera.Give(buffer);
    }
    camera.Stop(ACQ_STOP_FLAGS_KILL);
    camera.UnregisterEvent();
    calls.DSFlushQueue(camera.Stream(), ACQ_QUEUE_ALL_DISCARD);
    for (const auto &[buffer, bytes] : memoryOf)
    {
        calls.DSRevokeBuffer(camera.Stream(), buffer, nullptr, nullptr);
    }
    return frames;
}

/// The frames of every format that the camera itself sends, grabbed through the lower producer alone.
std::map<std::string, std::vector<Frame>> SentFrames(gentlctl::Producer &lower, const TestedCamera &tested,
                                                     Flips flips)
{
    UseFlips(lower, tested, flips);
    Camera camera(lower, tested.model);
    UseRegion(camera.Remote(), tested);
    std::map<std::string, std::vector<Frame>> frames;
    for (const auto &format : FormatList(camera).Offered())
    {
        camera.Remote().Set("PixelFormat", format);
        frames[format] = Grab(camera, RemotePayloadSize(camera), framesCompared);
    }
    return frames;
}

std::map<Flips, std::map<std::string, std::vector<Frame>>> SentFrames(const TestedCamera &tested)
{
    gentlctl::Producer lower(lowerProducer);
    std::map<Flips, std::map<std::string, std::vector<Frame>>> frames;
    for (const auto flips : FlipsOf(tested))
    {
        frames[flips] = SentFrames(lower, tested, flips);
    }
    return frames;
}

PlainImage ImageOf(const Frame &frame, const std::string &format, const TestedCamera &tested)
{
    return {FormatByName(format), static_cast<size_t>(tested.width), static_cast<size_t>(tested.height),
            frame.bytes};
}

/// Whether the frame begins with these bytes.
testing::AssertionResult BeginsWith(const Frame &frame, const Bytes &expected)
{
    if (frame.bytes.size() < expected.size())
    {
        return testing::AssertionFailure() << frame.bytes.size() << " bytes instead of " << expected.size();
    }
    const auto wrong = std::mismatch(expected.begin(), expected.end(), frame.bytes.begin()).first;
    return wrong == expected.end()
               ? testing::AssertionSuccess()
               : testing::AssertionFailure() << "differs from byte " << wrong - expected.begin();
}

/// Whether the frame is the unpacked form of one of these formats.
bool IsMadeOfOne(const Frame &frame, const std::set<std::string> &sources,
                 const std::map<std::string, std::vector<Frame>> &sent, const TestedCamera &tested)
{
    return std::ranges::any_of(sources,
                               [&](const std::string &source)
                               {
                                   const auto image = ImageOf(sent.at(source).front(), source, tested);
                                   return static_cast<bool>(BeginsWith(frame, image.Unpacked()));
                               });
}

class FormatsOf : public testing::TestWithParam<TestedCamera>
{
};

// The environment leaves the camera one packed format at a time, because the producer takes the first of
// several formats with the same samples.
TEST_P(FormatsOf, AreUnpackedToTheBit)
{
    const auto &tested = GetParam();
    const auto sent = SentFrames(tested);
    gentlctl::Producer producer(proxyProducer);
    int unpacked = 0;
    for (const auto &[flips, formats] : sent)
    {
        UseFlips(producer, tested, flips);
        for (const auto &[format, originals] : formats)
        {
            if (!FormatByName(format).IsPacked())
            {
                continue;
            }
            const auto target = FormatByName(format).UnpackedName();
            SCOPED_TRACE(testing::Message() << format << " to " << target);
            const EnvironmentVariable only("QVR_SIM_PIXEL_FORMATS", format);
            Camera camera(producer, tested.model);
            UseRegion(camera.Remote(), tested);
            const FormatList list(camera);
            ASSERT_EQ(list.Offered(), (std::set<std::string>{format, target}));
            camera.Remote().Set("PixelFormat", target);
            const auto frames = Grab(camera, RemotePayloadSize(camera), framesCompared);
            for (size_t i = 0; i < frames.size(); ++i)
            {
                EXPECT_EQ(frames[i].number, originals[i].number);
                EXPECT_EQ(frames[i].pixelFormat, list.CodeOf(target));
                EXPECT_TRUE(frames[i].isGuardWhole);
                EXPECT_TRUE(BeginsWith(frames[i], ImageOf(originals[i], format, tested).Unpacked()));
            }
            ++unpacked;
        }
    }
    EXPECT_GE(unpacked, 4);
}

TEST_P(FormatsOf, AgreeInDescriptionRegisterSizeAndFrame)
{
    const auto &tested = GetParam();
    const auto sent = SentFrames(tested);
    gentlctl::Producer producer(proxyProducer);
    for (const auto &[flips, formats] : sent)
    {
        UseFlips(producer, tested, flips);
        Camera camera(producer, tested.model);
        UseRegion(camera.Remote(), tested);
        const FormatList list(camera);
        // Expects the formats that the camera sends, and the unpacked forms of the packed ones.
        std::map<std::string, std::set<std::string>> sources;
        std::set<std::string> expected;
        for (const auto &[format, originals] : formats)
        {
            expected.insert(format);
            const auto target = FormatByName(format).UnpackedName();
            if (FormatByName(format).IsPacked())
            {
                ASSERT_TRUE(list.Lists(target)) << target;
                expected.insert(target);
                sources[target].insert(format);
            }
        }
        ASSERT_EQ(list.Offered(), expected);
        for (const auto &format : expected)
        {
            SCOPED_TRACE(format);
            camera.Remote().Set("PixelFormat", format);
            EXPECT_EQ(camera.Remote().Get("PixelFormat"), format);
            EXPECT_EQ(static_cast<uint64_t>(camera.Remote().GetInteger("PixelFormat")), list.CodeOf(format));
            const size_t streams = StreamsOrRemotePayloadSize(camera);
            EXPECT_EQ(camera.PayloadSize(), streams);
            EXPECT_EQ(RemotePayloadSize(camera), streams);
            for (const auto size : {RemotePayloadSize(camera), streams})
            {
                const auto frame = Grab(camera, size, 1).front();
                EXPECT_EQ(frame.pixelFormat, list.CodeOf(format));
                EXPECT_FALSE(frame.isIncomplete);
                EXPECT_TRUE(frame.isGuardWhole);
                if (formats.contains(format)) // the frame arrives as the camera sends it
                {
                    EXPECT_EQ(frame.sizeFilled, size);
                    EXPECT_EQ(frame.bytes, formats.at(format).front().bytes);
                    continue;
                }
                EXPECT_TRUE(IsMadeOfOne(frame, sources.at(format), formats, tested));
                EXPECT_LE(frame.sizeFilled, size);
            }
        }
    }
}

struct ChunkExpectation
{
    uint64_t id;
    size_t length;
};

/// Chunks by id, found by their trailers alone: each trailer leads to the one before it.
std::map<uint64_t, std::pair<size_t, size_t>> WalkFromTheEnd(const Bytes &bytes, size_t end, bool isBigEndian)
{
    constexpr size_t trailerSize = 8;
    std::map<uint64_t, std::pair<size_t, size_t>> chunks;
    while (end > 0)
    {
        const auto trailer = std::span(bytes).subspan(end - trailerSize, trailerSize);
        const auto id = NumberOf(trailer.first(4), isBigEndian);
        const auto length = NumberOf(trailer.last(4), isBigEndian);
        if (length + trailerSize > end ||
            !chunks.emplace(id, std::pair(end - trailerSize - length, length)).second)
        {
            ADD_FAILURE() << "no chunk ends at " << end;
            return chunks;
        }
        end -= length + trailerSize;
    }
    return chunks;
}

void EnableChunks(const gentlctl::Features &remote)
{
    remote.Set("ChunkModeActive", "1");
    for (const auto *chunk : {"FrameID", "Timestamp", "ExposureTime", "Gain", "ImageChecksum"})
    {
        remote.Set("ChunkSelector", chunk);
        remote.Set("ChunkEnable", "1");
    }
    remote.Set("ExposureTime", "7234.5");
    remote.Set("Gain", "3.5");
}

TEST_P(FormatsOf, AreFollowedByTheirChunks)
{
    constexpr ChunkExpectation expected[] = {{2, 8}, {3, 8}, {4, 4}, {5, 4}, {6, 4}};
    constexpr size_t behindTheImage = 8 + 16 + 16 + 12 + 12 + 12; // trailers and chunks
    const auto &tested = GetParam();
    std::map<std::string, std::vector<Frame>> sent;
    {
        gentlctl::Producer lower(lowerProducer);
        Camera camera(lower, tested.model);
        UseRegion(camera.Remote(), tested);
        EnableChunks(camera.Remote());
        for (const auto &format : FormatList(camera).Offered())
        {
            camera.Remote().Set("PixelFormat", format);
            sent[format] = Grab(camera, RemotePayloadSize(camera), framesCompared);
        }
    }
    gentlctl::Producer producer(proxyProducer);
    for (const auto &[format, originals] : sent)
    {
        const bool isPacked = FormatByName(format).IsPacked();
        const auto target = isPacked ? FormatByName(format).UnpackedName() : format;
        SCOPED_TRACE(testing::Message() << format << " to " << target);
        const EnvironmentVariable only("QVR_SIM_PIXEL_FORMATS", format);
        Camera camera(producer, tested.model);
        UseRegion(camera.Remote(), tested);
        EnableChunks(camera.Remote());
        camera.Remote().Set("PixelFormat", target);
        const auto frames = Grab(camera, RemotePayloadSize(camera), framesCompared);
        uint64_t lastTimestamp = 0;
        for (size_t i = 0; i < frames.size(); ++i)
        {
            const auto &frame = frames[i];
            const auto original = ImageOf(originals[i], format, tested);
            const auto image = isPacked ? original.Unpacked() : original.Bytes();
            EXPECT_TRUE(BeginsWith(frame, image));
            EXPECT_TRUE(frame.isGuardWhole);
            ASSERT_EQ(frame.chunks.size(), 1 + std::size(expected));
            // The camera pads the image chunk to a multiple of 4; the chunk of an unpacked image has no
            // padding.
            const size_t imageChunk = isPacked ? image.size() : (image.size() + 3) / 4 * 4;
            const size_t end = imageChunk + behindTheImage;
            ASSERT_LE(end, frame.bytes.size());
            const auto walked = WalkFromTheEnd(frame.bytes, end, !isPacked);
            ASSERT_EQ(walked.size(), frame.chunks.size());
            for (const auto chunk : frame.chunks)
            {
                ASSERT_TRUE(walked.contains(chunk.ChunkID)) << uint64_t{chunk.ChunkID};
                EXPECT_EQ(
                    walked.at(chunk.ChunkID),
                    std::pair(static_cast<size_t>(ptrdiff_t{chunk.ChunkOffset}), size_t{chunk.ChunkLength}));
            }
            EXPECT_EQ(walked.at(1), std::pair(size_t{0}, imageChunk));
            for (const auto &[id, length] : expected)
            {
                EXPECT_EQ(walked.at(id).second, length);
            }
            const auto at = [&](uint64_t id) { return walked.at(id).first; };
            EXPECT_EQ(ValueAt<uint64_t>(frame.bytes, at(2)), frame.number);
            EXPECT_GT(ValueAt<uint64_t>(frame.bytes, at(3)), lastTimestamp);
            EXPECT_EQ(ValueAt<float>(frame.bytes, at(4)), 7234.5F);
            EXPECT_EQ(ValueAt<float>(frame.bytes, at(5)), 3.5F);
            EXPECT_EQ(ValueAt<uint32_t>(frame.bytes, at(6)), // checksum of the image that the camera sent
                      crc32_z(0, originals[i].bytes.data(), original.Bytes().size()));
            lastTimestamp = ValueAt<uint64_t>(frame.bytes, at(3));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Cameras, FormatsOf, testing::ValuesIn(testedCameras),
                         [](const auto &tested) { return std::string(tested.param.model).substr(5); });

} // namespace
} // namespace chain

#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/frame_info.h"
#include "consumer/producer.h"
#include "consumer/stream.h"
#include "gentlctl/assignments.h"
#include "gentlctl/device_recording.h"
#include "gentlctl/frame_recording.h"
#include "gentlctl/interrupt.h"
#include "gentlctl/recorder.h"
#include "recording/recording_reader.h"
#include "support/environment_variable.h"

#include <gtest/gtest.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// Each simulated camera, recorded and replayed.
namespace
{

namespace fs = std::filesystem;
using namespace GenTL;
using namespace gentlctl;
using internal::EnvironmentVariable;

constexpr auto simulator = QVR_LIB_DIR "/producer_registry/qvr_gevgentl.pr_cti";
constexpr auto proxyProducer = QVR_LIB_DIR "/qvr_proxygentl.cti";
constexpr auto anyProducer = QVR_LIB_DIR "/anygentl/qvr_anygentl.cti";
constexpr size_t frameCount = 3;

struct CameraCase
{
    const char *model;
    std::vector<std::string> sent;   ///< settings for the recording
    std::vector<std::string> wanted; ///< settings of the consumer, which the recorded frames can answer
    bool isWide = false;
};

/// All chunks but the time stamp, which differs from run to run.
const std::vector<std::string> chunks{
    "ChunkModeActive=true", "ChunkSelector=Timestamp",    "ChunkEnable=false", "ChunkSelector=FrameID",
    "ChunkEnable=true",     "ChunkSelector=ExposureTime", "ChunkEnable=true"};

std::vector<std::string> With(std::vector<std::string> settings, const std::vector<std::string> &more)
{
    settings.insert(settings.end(), more.begin(), more.end());
    return settings;
}

const std::vector<std::string> both{"ComponentSelector=Intensity", "ComponentEnable=true",
                                    "ComponentSelector=Range", "DepthNoise=2"};

/// The first of the following, which qvr_proxygentl.cti opens.
constexpr ptrdiff_t camerasOfTheFamily = 6;

const std::vector<CameraCase> cameraCases{
    {"OVRA-M5", With(chunks, {"PixelFormat=Mono12g24QVR"}), {"PixelFormat=Mono12g24QVR"}},
    {"OVRA-M1", With(chunks, {"PixelFormat=Mono10p"}), {"PixelFormat=Mono10p"}},
    {"OVRA-C5", With(chunks, {"PixelFormat=RGB10p32"}), {"PixelFormat=RGB10"}},
    {"OVRA-S2", With(chunks, {"PixelFormat=Mono10p_I_A_B"}), {"PixelFormat=Mono10p_I_A_B"}},
    {"OVRA-F1", With(chunks, {"PixelFormat=Mono10p"}), {"PixelFormat=Mono10"}},
    {"OVRA-D1", both, {}},
    {"SIM-FOREIGN", With(chunks, {"PixelFormat=Mono10p"}), {}},
    {"WIDE-G2", With(chunks, {"PixelFormat=Mono12Packed"}), {}, true},
    {"WIDE-U1", With(chunks, {"PixelFormat=Mono12p"}), {}, true},
};

/// An opened camera with small frames.
class Camera
{
public:
    Camera(const std::string &file, const std::string &model, const std::vector<std::string> &settings)
        : m_producer(file), m_device(m_producer, model), m_remote(m_device.PortOf("remote"))
    {
        Apply(m_remote, {"Width=128", "Height=128"});
        Apply(m_remote, settings);
    }

    /// Calls `take` with each of the first frames.
    void Stream(const std::function<void(BUFFER_HANDLE)> &take)
    {
        RunningStream stream(m_producer, m_device, m_remote, [](size_t) { return 8; });
        for (size_t i = 0; i < frameCount; ++i)
        {
            auto *const buffer = stream.NextBuffer(10'000);
            take(buffer);
            stream.QueueAgain(buffer);
        }
    }

    Producer &Of() { return m_producer; }
    OpenDevice &Device() { return m_device; }
    const Features &Remote() const { return m_remote; }
    internal::IGenTLProxy &Calls() { return m_producer.Calls(); }

private:
    Producer m_producer;
    OpenDevice m_device;
    Features m_remote;
};

/// What a consumer gets of a frame.
struct Delivered
{
    std::vector<uint8_t> bytes;
    uint64_t pixelFormat;
    std::vector<std::pair<uint64_t, size_t>> parts; ///< format and bytes
    gentlctl::Json chunks;

    friend bool operator==(const Delivered &, const Delivered &) = default;
};

std::vector<Delivered> Grab(Camera &camera)
{
    std::vector<Delivered> frames;
    camera.Stream(
        [&](BUFFER_HANDLE buffer)
        {
            const auto frame =
                ReadFrameInfo(camera.Calls(), camera.Device().Stream(), buffer, camera.Remote());
            EXPECT_FALSE(frame.isIncomplete);
            frames.push_back(
                {{frame.base, frame.base + frame.sizeFilled}, frame.pixelFormat, {}, frame.chunks});
            for (const auto &part : frame.parts)
            {
                frames.back().parts.emplace_back(part.pixelFormat, part.size);
            }
        });
    return frames;
}

class Recordings : public testing::TestWithParam<CameraCase>
{
protected:
    Recordings() : m_wide("QVR_SIM_WIDE", GetParam().isWide ? "1" : "0")
    {
        spdlog::set_level(spdlog::level::off); // which answers a camera lacks is no news
    }
    ~Recordings() override { fs::remove_all(m_folder); }

    void Record()
    {
        const Interrupt interrupt;
        Camera camera(simulator, GetParam().model, GetParam().sent);
        const auto device = DescribeDevice(camera.Of(), camera.Device());
        recording::RecordingWriter writer(m_folder, device);
        const auto report = gentlctl::Record(camera.Of(), camera.Device(), camera.Remote(), writer,
                                             device.ticksPerSecond, {.frames = frameCount}, interrupt);
        ASSERT_FALSE(report.failure);
        ASSERT_EQ(report.recorded, frameCount);
    }

    /// The settings of a consumer that opens the camera anew.
    std::vector<std::string> Settings(bool isReplay) const
    {
        return isReplay ? GetParam().wanted : With(GetParam().sent, GetParam().wanted);
    }

    void ExpectTheSameThrough(const std::string &producer)
    {
        Record();
        std::vector<Delivered> live;
        {
            Camera camera(producer, GetParam().model, Settings(false));
            live = Grab(camera);
        }
        const EnvironmentVariable replay("QVR_SIM_RECORDING", m_folder.c_str());
        const EnvironmentVariable rate("QVR_SIM_RECORDING_RATE", "0");
        Camera camera(producer, GetParam().model, Settings(true));
        const auto replayed = Grab(camera);
        ASSERT_EQ(live.size(), frameCount);
        EXPECT_GT(live[0].bytes.size(), 0U);
        EXPECT_NE(live[0].bytes, live[1].bytes);
        for (size_t i = 0; i < frameCount; ++i)
        {
            EXPECT_TRUE(live[i].bytes == replayed[i].bytes) << i;
            EXPECT_EQ(live[i].parts, replayed[i].parts) << i;
            EXPECT_EQ(live[i].chunks, replayed[i].chunks) << i;
            EXPECT_EQ(live[i].pixelFormat, replayed[i].pixelFormat) << i;
        }
    }

    const EnvironmentVariable m_wide;
    const fs::path m_folder = fs::temp_directory_path() / ("recordings-" + std::to_string(getpid()));
};

class RecordingsOfTheFamily : public Recordings
{
};

std::string NameOf(const testing::TestParamInfo<CameraCase> &entry)
{
    std::string name = entry.param.model;
    std::erase(name, '-');
    return name;
}

/// The infos that are about the frame, and not about the buffer that it is in.
std::vector<recording::InfoRecord> OfTheFrame(std::vector<recording::InfoRecord> infos)
{
    std::erase_if(infos, [](const auto &info)
                  { return info.command == BUFFER_INFO_SIZE || info.command == BUFFER_INFO_IS_QUEUED; });
    return infos;
}

std::map<uint64_t, std::string> MemoryOf(const recording::DeviceRecord &device)
{
    std::map<uint64_t, std::string> memory;
    for (const auto &[address, bytes] : device.registers.memory)
    {
        memory[address] = bytes;
    }
    return memory;
}

TEST_P(Recordings, SendTheSameFrames)
{
    Record();
    const recording::RecordingReader reader(m_folder);
    const EnvironmentVariable replay("QVR_SIM_RECORDING", m_folder.c_str());
    const EnvironmentVariable rate("QVR_SIM_RECORDING_RATE", "0");
    Camera camera(simulator, GetParam().model, {});
    size_t frame = 0;
    camera.Stream(
        [&](BUFFER_HANDLE buffer)
        {
            const auto sent = DescribeFrame(camera.Calls(), camera.Device().Stream(), buffer,
                                            reader.Device().ticksPerSecond);
            const auto recorded = reader.Record(frame);
            EXPECT_TRUE(OfTheFrame(sent.record.infos) == OfTheFrame(recorded.infos));
            EXPECT_TRUE(sent.record.parts == recorded.parts);
            EXPECT_TRUE(sent.record.chunks == recorded.chunks);
            EXPECT_EQ(sent.record.time, recorded.time);
            std::vector<uint8_t> bytes(reader.PlaceOf(frame).size);
            reader.ReadFrame(frame, bytes);
            EXPECT_TRUE(std::ranges::equal(sent.bytes, bytes));
            ++frame;
        });
    EXPECT_EQ(frame, frameCount);
}

TEST_P(Recordings, ShowTheSameCamera)
{
    Record();
    const auto recorded = recording::RecordingReader(m_folder).Device();
    const EnvironmentVariable replay("QVR_SIM_RECORDING", m_folder.c_str());
    Camera camera(simulator, GetParam().model, {});
    auto shown = DescribeDevice(camera.Of(), camera.Device());
    EXPECT_TRUE(shown.registers.selections == recorded.registers.selections);
    EXPECT_EQ(MemoryOf(shown), MemoryOf(recorded));
    shown.registers = recorded.registers;
    EXPECT_TRUE(shown == recorded);
}

TEST_P(Recordings, GiveTheSameThroughTheProducerForAnyCamera)
{
    ExpectTheSameThrough(anyProducer);
}

TEST_P(RecordingsOfTheFamily, GiveTheSameThroughItsProducer)
{
    ExpectTheSameThrough(proxyProducer);
}

INSTANTIATE_TEST_SUITE_P(Cameras, Recordings, testing::ValuesIn(cameraCases), NameOf);
INSTANTIATE_TEST_SUITE_P(Cameras, RecordingsOfTheFamily,
                         testing::ValuesIn(cameraCases.begin(), cameraCases.begin() + camerasOfTheFamily),
                         NameOf);

} // namespace

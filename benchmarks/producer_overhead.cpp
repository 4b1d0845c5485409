// The cost of a frame until the consumer has read each byte once from its own memory: through each producer
// over the simulator, and directly from the simulator with a memcpy by the consumer. CPU time of the whole
// process per frame, alternating in one run, and the ratio.
//
//   producer_overhead [megabytes per round] [rounds]

#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/frame_cost.h"
#include "consumer/producer.h"
#include "median.h"

#include "utils/log.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace GenTL;
using namespace gentlctl;

struct FrameKind
{
    std::string pixelFormat;
    size_t pixelBytes;
    size_t width;
    size_t height;

    size_t Bytes() const { return width * height * pixelBytes; }
};

const FrameKind smallFrame{"BayerRG8", 1, 64, 64};

/// A camera that delivers as fast as the consumer takes frames, with four queued buffers.
class Stream
{
public:
    static constexpr int buffersQueued = 4;

    Stream(const std::string &file, const FrameKind &frame)
        : m_producer(file), m_device(m_producer, "OVRA-C5"), m_remote(m_device.PortOf("remote")),
          m_calls(m_producer.Calls()), m_stream(m_device.Stream())
    {
        m_remote.Set("PixelFormat", frame.pixelFormat);
        m_remote.Set("TestPattern", "Black");
        m_remote.Set("Width", std::to_string(frame.width));
        m_remote.Set("Height", std::to_string(frame.height));
        m_remote.Set("AcquisitionFrameRate", "0");
        for (int i = 0; i < buffersQueued; ++i)
        {
            BUFFER_HANDLE buffer = nullptr;
            m_calls.DSAllocAndAnnounceBuffer(
                m_stream, static_cast<size_t>(m_remote.GetInteger("PayloadSize")), nullptr, &buffer);
            m_calls.DSQueueBuffer(m_stream, buffer);
        }
        m_calls.GCRegisterEvent(m_stream, EVENT_NEW_BUFFER, &m_event);
        m_calls.DSStartAcquisition(m_stream, ACQ_START_FLAGS_DEFAULT, GENTL_INFINITE);
        m_remote.Execute("AcquisitionStart");
    }
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;
    ~Stream()
    {
        internal::CloseQuietly(
            [this]
            {
                m_remote.Execute("AcquisitionStop");
                m_calls.DSStopAcquisition(m_stream, ACQ_STOP_FLAGS_KILL);
                m_calls.DSFlushQueue(m_stream, ACQ_QUEUE_ALL_DISCARD);
                m_calls.GCUnregisterEvent(m_stream, EVENT_NEW_BUFFER);
            });
    }

    BUFFER_HANDLE Take()
    {
        EVENT_NEW_BUFFER_DATA data{};
        size_t size = sizeof data;
        m_calls.EventGetData(m_event, &data, &size, 5000);
        return data.BufferHandle;
    }

    void Give(BUFFER_HANDLE buffer) { m_calls.DSQueueBuffer(m_stream, buffer); }

    const char *BaseOf(BUFFER_HANDLE buffer)
    {
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        void *base = nullptr;
        size_t size = sizeof base;
        m_calls.DSGetBufferInfo(m_stream, buffer, BUFFER_INFO_BASE, &type, &base, &size);
        return static_cast<const char *>(base);
    }

    /// CPU seconds of one info call of the producer.
    double InfoCall(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command)
    {
        constexpr int calls = 100000;
        const auto begin = CpuSeconds();
        for (int i = 0; i < calls; ++i)
        {
            INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
            uint64_t value = 0;
            size_t size = sizeof value;
            m_calls.DSGetBufferInfo(m_stream, buffer, command, &type, &value, &size);
        }
        return (CpuSeconds() - begin) / calls;
    }

private:
    Producer m_producer;
    OpenDevice m_device;
    Features m_remote;
    internal::IGenTLProxy &m_calls;
    void *m_stream;
    EVENT_HANDLE m_event = nullptr;
};

/// The sum of all bytes; volatile, so that the compiler does not skip the reads.
volatile uint64_t seen = 0;

/// @param take called with the memory of each frame
template <class Take>
double CpuPerFrame(const std::string &file, const FrameKind &frame, int frames, Take take)
{
    Stream stream(file, frame);
    double begin = 0;
    constexpr int first = 32;
    for (int i = -first; i < frames; ++i)
    {
        if (i == 0)
        {
            begin = CpuSeconds();
        }
        auto *const buffer = stream.Take();
        take(stream.BaseOf(buffer));
        stream.Give(buffer);
    }
    return (CpuSeconds() - begin) / frames;
}

struct NamedProducer
{
    std::string name;
    std::string file;
    std::vector<double> seconds{}; ///< per frame, of each round
    std::vector<double> ratio{};   ///< to the lower producer alone
};

void Compare(std::vector<NamedProducer> producers, const std::string &lower, const FrameKind &frame,
             size_t roundBytes, int rounds)
{
    constexpr size_t mostFrames = 10000;
    const auto bytes = frame.Bytes();
    const auto frames = static_cast<int>(std::min(roundBytes / bytes + 1, mostFrames));
    // As many buffers as the producer has for its consumer.
    std::vector<std::vector<char>> own(Stream::buffersQueued, std::vector<char>(bytes));
    size_t next = 0;
    const auto copyAndRead = [&](const char *base)
    {
        auto &target = own[next++ % own.size()];
        std::memcpy(target.data(), base, bytes);
        seen = SumOf(target.data(), bytes);
    };
    std::vector<double> direct;
    for (int round = 0; round < rounds; ++round)
    {
        direct.push_back(CpuPerFrame(lower, frame, frames, copyAndRead));
        // Alternates each round: disturbances of the machine last longer than a round.
        for (auto &producer : producers)
        {
            producer.seconds.push_back(CpuPerFrame(producer.file, frame, frames,
                                                   [&](const char *base) { seen = SumOf(base, bytes); }));
            producer.ratio.push_back(producer.seconds.back() / direct.back());
        }
    }
    for (const auto &producer : producers)
    {
        const auto [least, most] = std::ranges::minmax(producer.ratio);
        fmt::print("{:>8} bytes  direct {:9.2f} us  {:>5} {:9.2f} us  ratio {:.2f} ({:.2f} to {:.2f})\n",
                   bytes, MedianOf(direct) * 1e6, producer.name, MedianOf(producer.seconds) * 1e6,
                   MedianOf(producer.ratio), least, most);
    }
    std::vector<double> difference;
    std::ranges::transform(producers.back().seconds, producers.front().seconds,
                           std::back_inserter(difference), std::minus());
    fmt::print("{:>14}  {} - {} {:.2f} us\n", "", producers.back().name, producers.front().name,
               MedianOf(difference) * 1e6);
}

/// The queries that the acquisition thread makes for each frame.
void CallByCall(const std::string &lower)
{
    Stream stream(lower, smallFrame);
    auto *buffer = stream.Take();
    double sum = 0;
    fmt::print("\nLower info calls for one frame:\n");
    for (const auto &[command, name] : {std::pair{BUFFER_INFO_BASE, "BASE"},
                                        {BUFFER_INFO_SIZE, "SIZE"},
                                        {BUFFER_INFO_PAYLOADTYPE, "PAYLOADTYPE"},
                                        {BUFFER_INFO_PIXELFORMAT, "PIXELFORMAT"},
                                        {BUFFER_INFO_WIDTH, "WIDTH"},
                                        {BUFFER_INFO_HEIGHT, "HEIGHT"},
                                        {BUFFER_INFO_XOFFSET, "XOFFSET"},
                                        {BUFFER_INFO_YOFFSET, "YOFFSET"},
                                        {BUFFER_INFO_CONTAINS_CHUNKDATA, "CONTAINS_CHUNKDATA"},
                                        {BUFFER_INFO_IS_INCOMPLETE, "IS_INCOMPLETE"}})
    {
        const auto seconds = stream.InfoCall(buffer, command);
        sum += seconds;
        fmt::print("    {:<20} {:6.3f} us\n", name, seconds * 1e6);
    }
    fmt::print("    {:<20} {:6.3f} us\n", "together", sum * 1e6);
}

} // namespace

int main(int argc, char **argv)
{
    spdlog::set_level(spdlog::level::off);
    const int megabytes = argc > 1 ? std::atoi(argv[1]) : 500;
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 9;
    if (megabytes <= 0 || rounds <= 0)
    {
        fmt::print(stderr, "usage: producer_overhead [megabytes per round] [rounds]\n");
        return 2;
    }
    const std::vector<NamedProducer> producers{{"proxy", QVR_LIB_DIR "/qvr_proxygentl.cti"},
                                               {"any", QVR_LIB_DIR "/anygentl/qvr_anygentl.cti"}};
    const std::string lower = QVR_LIB_DIR "/producer_registry/qvr_gevgentl.pr_cti";
    try
    {
        fmt::print("CPU time of the process per frame, each byte read once, median of {} rounds:\n", rounds);
        for (const auto &frame :
             {smallFrame, FrameKind{"BayerRG8", 1, 1024, 1024}, FrameKind{"BayerRG8", 1, 2048, 1024},
              FrameKind{"BayerRG8", 1, 2448, 2048}, FrameKind{"RGB8", 3, 2448, 1634}})
        {
            Compare(producers, lower, frame, static_cast<size_t>(megabytes) << 20U, rounds);
        }
        CallByCall(lower);
        return 0;
    }
    catch (const std::exception &exception)
    {
        fmt::print(stderr, "producer_overhead: {}\n", exception.what());
        return 1;
    }
}

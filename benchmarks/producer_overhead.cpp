// What a frame costs through the proxy producer beside the same lower producer used directly: CPU time of
// the whole process per frame, both in one run, and as a ratio to one memcpy of the frame.
//
//   producer_overhead [frames per round] [rounds]

#include "gentlctl/features.h"
#include "gentlctl/producer.h"

#include "utils/log.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <utility>
#include <vector>

namespace
{

using namespace GenTL;
using namespace gentlctl;

double CpuSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

struct FrameSize
{
    std::string width;
    std::string height;
    size_t bytes;
};

/// A camera that delivers as fast as its frames are taken, with four buffers queued.
class Stream
{
public:
    Stream(const std::string &file, const FrameSize &frame)
        : m_producer(file), m_device(m_producer, "OVRA-M5"), m_remote(m_device.PortOf("remote")),
          m_calls(m_producer.Calls()), m_stream(m_device.Stream())
    {
        m_remote.Set("PixelFormat", "Mono8");
        m_remote.Set("TestPattern", "Black");
        m_remote.Set("Width", frame.width);
        m_remote.Set("Height", frame.height);
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

    void Pass(int frames)
    {
        for (int i = 0; i < frames; ++i)
        {
            Give(Take());
        }
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
    static constexpr int buffersQueued = 4;

    Producer m_producer;
    OpenDevice m_device;
    Features m_remote;
    internal::IGenTLProxy &m_calls;
    void *m_stream;
    EVENT_HANDLE m_event = nullptr;
};

double CpuPerFrame(const std::string &file, const FrameSize &frame, int frames)
{
    Stream stream(file, frame);
    stream.Pass(32);
    const auto begin = CpuSeconds();
    stream.Pass(frames);
    return (CpuSeconds() - begin) / frames;
}

/// One copy between buffers in rotation, as between lower and consumer buffers.
double CpuPerCopy(size_t bytes, int copies)
{
    constexpr size_t buffers = 4;
    const std::vector<std::vector<char>> sources(buffers, std::vector<char>(bytes, 'x'));
    std::vector<std::vector<char>> targets(buffers, std::vector<char>(bytes));
    const auto begin = CpuSeconds();
    for (int i = 0; i < copies; ++i)
    {
        const auto slot = static_cast<size_t>(i) % buffers;
        std::memcpy(targets[slot].data(), sources[slot].data(), bytes);
        asm volatile("" : : "r"(targets[slot].data()) : "memory");
    }
    return (CpuSeconds() - begin) / copies;
}

void Compare(const std::string &proxy, const std::string &lower, const FrameSize &frame, int frames,
             int rounds)
{
    std::vector<double> direct;
    std::vector<double> through;
    std::vector<double> copy;
    for (int round = 0; round < rounds; ++round)
    {
        direct.push_back(CpuPerFrame(lower, frame, frames));
        through.push_back(CpuPerFrame(proxy, frame, frames));
        copy.push_back(CpuPerCopy(frame.bytes, frames));
    }
    // Compared round by round: the machine's own ups and downs last longer than a round.
    std::vector<double> added;
    std::vector<double> ratio;
    for (size_t round = 0; round < direct.size(); ++round)
    {
        added.push_back(through[round] - direct[round]);
        ratio.push_back(added.back() / copy[round]);
    }
    fmt::print("{:>4} x {:<4}  direct {:9.2f} us  proxy {:9.2f} us  added {:8.2f} us  memcpy {:8.2f} us  "
               "added/memcpy {:.2f}\n",
               frame.width, frame.height, Median(direct) * 1e6, Median(through) * 1e6, Median(added) * 1e6,
               Median(copy) * 1e6, Median(ratio));
}

/// What the acquisition thread asks the lower producer for each frame.
void CallByCall(const std::string &lower)
{
    Stream stream(lower, {"64", "64", 64 * 64});
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
    const int frames = argc > 1 ? std::atoi(argv[1]) : 200;
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 5;
    const std::string proxy = QVR_LIB_DIR "/qvr_proxygentl.cti";
    const std::string lower = QVR_LIB_DIR "/producer_registry/qvr_gevgentl.pr_cti";
    try
    {
        fmt::print("CPU time of the process per frame, median of {} rounds:\n", rounds);
        Compare(proxy, lower, {"2448", "2048", size_t{2448} * 2048}, frames, rounds);
        Compare(proxy, lower, {"64", "64", size_t{64} * 64}, frames * 50, rounds);
        CallByCall(lower);
        return 0;
    }
    catch (const std::exception &exception)
    {
        fmt::print(stderr, "producer_overhead: {}\n", exception.what());
        return 1;
    }
}

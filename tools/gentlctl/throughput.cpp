#include "gentlctl/throughput.h"

#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/frame_cost.h"
#include "consumer/stream.h"
#include "gentlctl/clock_relation.h"
#include "gentlctl/interrupt.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <set>

namespace gentlctl
{

using namespace GenTL;

namespace
{

using Clock = std::chrono::steady_clock;

/// The measurements of a producer.
struct Samples
{
    std::vector<double> rates;
    std::vector<double> byteRates;
    std::vector<double> cpu;
    std::vector<double> intervals;
    std::vector<double> latencies;
};

/// A round of one producer, in which the device sends frames from construction to destruction.
class Round
{
public:
    Round(const std::string &file, const ThroughputOptions &options, Throughput &result)
        : m_options(options), m_result(result), m_producer(file), m_device(m_producer, options.device)
    {
        options.prepare(m_device);
        m_result.device = m_device.Entry().id;
        m_remote.emplace(m_device.PortOf("remote"));
        m_stream.emplace(m_producer, m_device, *m_remote, [&](size_t) { return options.buffers; });
        m_clock.emplace(*m_remote, TicksPerSecond());
        m_result.noLatency = m_clock->Obstacle();
    }

    void Measure(Samples &samples, const Interrupt &interrupt)
    {
        constexpr uint64_t toWarmUp = 16;
        for (uint64_t i = 0; i < toWarmUp && interrupt.Signal() == 0; ++i)
        {
            Take(nullptr);
        }
        const auto cpu = CpuSeconds();
        const auto begin = Clock::now();
        m_last = begin;
        uint64_t frames = 0;
        for (; frames < m_options.frames && interrupt.Signal() == 0; ++frames)
        {
            Take(&samples);
        }
        const auto seconds = std::chrono::duration<double>(m_last - begin).count();
        if (frames != 0)
        {
            samples.rates.push_back(static_cast<double>(frames) / seconds);
            samples.byteRates.push_back(static_cast<double>(m_bytes) / seconds);
            samples.cpu.push_back((CpuSeconds() - cpu) / static_cast<double>(frames));
        }
    }

private:
    template <typename T>
    std::optional<T> Info(BUFFER_HANDLE buffer, BUFFER_INFO_CMD command)
    {
        T value{};
        size_t size = sizeof value;
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        const auto code =
            m_producer.Calls().TryDSGetBufferInfo(m_device.Stream(), buffer, command, &type, &value, &size);
        return code == GC_ERR_SUCCESS ? std::optional(value) : std::nullopt;
    }

    uint64_t TicksPerSecond()
    {
        constexpr uint64_t nanoseconds = 1'000'000'000;
        uint64_t ticks = nanoseconds;
        size_t size = sizeof ticks;
        INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
        m_producer.Calls().TryDevGetInfo(m_device.DeviceHandle(), DEVICE_INFO_TIMESTAMP_FREQUENCY, &type,
                                         &ticks, &size);
        return ticks == 0 ? nanoseconds : ticks;
    }

    /// @param samples null: the frame is not measured
    void Take(Samples *samples)
    {
        auto *const buffer = m_stream->NextBuffer(m_options.timeoutMs);
        const auto now = Clock::now();
        const auto *const base = Info<const uint8_t *>(buffer, BUFFER_INFO_BASE).value_or(nullptr);
        const auto filled = Info<size_t>(buffer, BUFFER_INFO_SIZE_FILLED);
        const auto size = base == nullptr ? 0
                          : filled        ? *filled
                                          : Info<size_t>(buffer, BUFFER_INFO_SIZE).value_or(0);
        m_seen = SumOf(base, size);
        const auto time = Info<uint64_t>(buffer, BUFFER_INFO_TIMESTAMP);
        m_stream->QueueAgain(buffer);
        if (samples == nullptr)
        {
            return;
        }
        m_bytes += size;
        samples->intervals.push_back(std::chrono::duration<double>(now - m_last).count());
        m_last = now;
        if (!time || *time == 0)
        {
            m_result.noLatency = "The producer gives frames no time stamp";
        }
        else if (const auto age = m_clock->Age(*time, now))
        {
            samples->latencies.push_back(std::chrono::duration<double>(*age).count());
        }
        else
        {
            m_result.noLatency = m_clock->Obstacle(); // which some frames alone reveal
        }
    }

    const ThroughputOptions &m_options;
    Throughput &m_result;
    Producer m_producer;
    OpenDevice m_device;
    std::optional<Features> m_remote;
    std::optional<RunningStream> m_stream;
    std::optional<ClockRelation> m_clock;
    Clock::time_point m_last;
    uint64_t m_bytes = 0;
    volatile uint64_t m_seen = 0;
};

Json JsonOf(const Percentiles &seconds)
{
    constexpr double micro = 1e6;
    return seconds.count == 0 ? Json()
                              : Json{{"p50", seconds.median * micro},
                                     {"p99", seconds.p99 * micro},
                                     {"maximum", seconds.maximum * micro}};
}

std::string TextOf(const Percentiles &seconds)
{
    constexpr double micro = 1e6;
    return seconds.count == 0 ? fmt::format("{:>32}", "-")
                              : fmt::format("{:>10.1f} {:>10.1f} {:>10.1f}", seconds.median * micro,
                                            seconds.p99 * micro, seconds.maximum * micro);
}

/// The file names of the producers; with their folders where two builds of a producer are compared.
std::vector<std::string> NamesOf(const std::vector<Throughput> &results)
{
    std::vector<std::string> names;
    std::vector<std::string> files;
    for (const auto &result : results)
    {
        names.push_back(std::filesystem::path(result.producer).filename().string());
        files.push_back(result.producer);
    }
    const std::set<std::string> different(names.begin(), names.end());
    return different.size() == names.size() ? names : files;
}

} // namespace

std::vector<Throughput> MeasureThroughput(const std::vector<std::string> &producers,
                                          const ThroughputOptions &options, const Interrupt &interrupt)
{
    std::vector<Throughput> results(producers.size());
    std::vector<Samples> samples(producers.size());
    for (uint64_t round = 0; round < options.rounds; ++round)
    {
        for (size_t i = 0; i < producers.size() && interrupt.Signal() == 0; ++i)
        {
            Round(producers[i], options, results[i]).Measure(samples[i], interrupt);
        }
    }
    for (size_t i = 0; i < producers.size(); ++i)
    {
        auto &result = results[i];
        result.producer = producers[i];
        result.framesPerSecond = MedianOf(samples[i].rates);
        result.bytesPerSecond = MedianOf(samples[i].byteRates);
        result.cpuPerFrame = MedianOf(samples[i].cpu);
        result.intervals = PercentilesOf(samples[i].intervals);
        result.latency = PercentilesOf(samples[i].latencies);
    }
    std::erase_if(results, [](const Throughput &result) { return result.intervals.count == 0; });
    return results;
}

std::string ToText(const std::vector<Throughput> &results)
{
    constexpr double giga = 1e9;
    constexpr double micro = 1e6;
    if (results.empty())
    {
        return "";
    }
    const auto names = NamesOf(results);
    constexpr size_t usualWidth = 24;
    const auto width = std::max(usualWidth, std::ranges::max(names, {}, &std::string::size).size());
    auto text = fmt::format("{:<{}} {:>10} {:>8} {:>12} {:>32} {:>32}\n", "", width, "frames/s", "GB/s",
                            "CPU/frame us", "interval us", "latency us");
    text += fmt::format("{:<{}} {:>10} {:>8} {:>12} {:>10} {:>10} {:>10} {:>10} {:>10} {:>10}\n", "", width,
                        "", "", "", "p50", "p99", "maximum", "p50", "p99", "maximum");
    for (size_t i = 0; i < results.size(); ++i)
    {
        const auto &result = results[i];
        text += fmt::format("{:<{}} {:>10.1f} {:>8.3f} {:>12.2f} {} {}\n", names[i], width,
                            result.framesPerSecond, result.bytesPerSecond / giga, result.cpuPerFrame * micro,
                            TextOf(result.intervals), TextOf(result.latency));
    }
    for (size_t i = 1; i < results.size(); ++i)
    {
        text += fmt::format("{} takes {:.2f} times the CPU of {}\n", names[0],
                            results[0].cpuPerFrame / results[i].cpuPerFrame, names[i]);
    }
    return text;
}

Json ToJson(const std::vector<Throughput> &results)
{
    constexpr double micro = 1e6;
    auto json = Json::array();
    for (const auto &result : results)
    {
        json.push_back({{"producer", result.producer},
                        {"device", result.device},
                        {"framesPerSecond", result.framesPerSecond},
                        {"bytesPerSecond", result.bytesPerSecond},
                        {"cpuPerFrameUs", result.cpuPerFrame * micro},
                        {"intervalUs", JsonOf(result.intervals)},
                        {"latencyUs", JsonOf(result.latency)}});
    }
    return json;
}

} // namespace gentlctl

#include "gentlctl/soak.h"

#include "consumer/device.h"
#include "consumer/features.h"
#include "consumer/producer.h"
#include "consumer/stop_orders.h"
#include "gentlctl/interrupt.h"

#include <fmt/format.h>
#include <malloc.h>

#include <optional>
#include <span>
#include <stdexcept>

namespace gentlctl
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr double bytesInMiB = 1 << 20;

/// Rounds before the first reading: they load what stays loaded, and fill the allocator's and the producer's
/// caches.
constexpr uint64_t roundsToWarmUp = 3;

/// Keeps freed memory out of the readings. By itself, the allocator of glibc raises the size from which it
/// maps memory on its own and gives it back at once, up to the size of the frames. Each of its arenas then
/// keeps freed frames, in steps that look like growth. A fixed size stays; smaller free blocks go back before
/// each reading.
void FixAllocator()
{
    constexpr int initialThreshold = 128 << 10;
    mallopt(M_MMAP_THRESHOLD, initialThreshold);
}

class Soaker
{
public:
    Soaker(const SoakOptions &options, const SoakHooks &hooks, const Interrupt &interrupt)
        : m_options(options), m_hooks(hooks), m_interrupt(interrupt), m_lastReport(Clock::now())
    {
        if (options.duration)
        {
            m_until = Clock::now() + std::chrono::duration_cast<Clock::duration>(*options.duration);
        }
    }

    SoakReport Run()
    {
        for (uint64_t round = 1; !IsOver(); ++round)
        {
            Round();
            malloc_trim(0);
            m_report.now = ReadUsage();
            if (round <= roundsToWarmUp)
            {
                m_report.first = m_report.now;
            }
            m_report.isMeasured = round > roundsToWarmUp;
        }
        return m_report;
    }

private:
    bool IsOver() const
    {
        return m_interrupt.Signal() != 0 || (m_until && Clock::now() >= *m_until) ||
               (m_options.cycles != 0 && m_report.cycles >= m_options.cycles) ||
               m_failuresInARow == mostFailures;
    }

    void Round()
    {
        Producer producer(m_options.producer);
        m_device = m_device.empty() ? producer.Choose(m_options.device).id : m_device;
        for (const auto &order : StopOrders())
        {
            if (IsOver())
            {
                return;
            }
            Try(producer, order);
            if (Clock::now() - m_lastReport >= std::chrono::minutes(1))
            {
                m_lastReport = Clock::now();
                m_hooks.eachMinute(m_report);
            }
        }
    }

    void Try(Producer &producer, const StopOrder &order)
    {
        ++m_report.cycles;
        try
        {
            Cycle(producer, order);
            m_failuresInARow = 0;
        }
        catch (const std::exception &failure)
        {
            ++m_report.failures;
            ++m_failuresInARow;
            m_hooks.tell(fmt::format("Cycle {} ({}): {}", m_report.cycles, order.name, failure.what()));
        }
    }

    void Cycle(Producer &producer, const StopOrder &order)
    {
        OpenDevice device(producer, m_device);
        const Features remote(device.PortOf("remote"));
        SteppedStream stream(producer.Calls(), device.DeviceHandle(), remote, buffersOfConsumers);
        TakeAll(stream, order.start);
        for (uint64_t i = 0; i < m_options.frames; ++i)
        {
            stream.TakeFrame(m_options.timeoutMs);
            ++m_report.frames;
        }
        TakeAll(stream, order.stop);
        TakeAll(stream, order.end);
        if (order.closesDeviceFirst)
        {
            device.Close();
        }
    }

    static void TakeAll(SteppedStream &stream, std::span<const StreamStep> steps)
    {
        for (const auto step : steps)
        {
            stream.Take(step);
        }
    }

    /// A device that is gone fails at once, each time.
    static constexpr uint64_t mostFailures = 12;

    const SoakOptions &m_options;
    const SoakHooks &m_hooks;
    const Interrupt &m_interrupt;
    std::optional<Clock::time_point> m_until;
    Clock::time_point m_lastReport;
    std::string m_device;
    uint64_t m_failuresInARow = 0;
    SoakReport m_report;
};

} // namespace

SoakReport Soak(const SoakOptions &options, const SoakHooks &hooks, const Interrupt &interrupt)
{
    FixAllocator();
    return Soaker(options, hooks, interrupt).Run();
}

std::vector<std::string> FaultsIn(const SoakReport &report, const SoakOptions &options)
{
    std::vector<std::string> findings;
    const auto growth = report.Growth();
    if (report.failures != 0)
    {
        findings.push_back(fmt::format("{} of {} cycles failed", report.failures, report.cycles));
    }
    if (report.isMeasured && growth.memory > options.memoryLimit)
    {
        findings.push_back(fmt::format("The memory grew by {:.1f} MiB, more than the limit of {:.1f} MiB",
                                       static_cast<double>(growth.memory) / bytesInMiB,
                                       static_cast<double>(options.memoryLimit) / bytesInMiB));
    }
    if (report.isMeasured && growth.handles > 0)
    {
        findings.push_back(
            fmt::format("{} more file handles are open than after the first rounds", growth.handles));
    }
    if (report.isMeasured && growth.threads > 0)
    {
        findings.push_back(fmt::format("{} more threads run than after the first rounds", growth.threads));
    }
    return findings;
}

std::string ToText(const SoakReport &report)
{
    const auto growth = report.Growth();
    return fmt::format(
        "{} cycles, {} frames, {} failures, memory {:.1f} MiB ({:+.1f}), {} handles ({:+}), "
        "{} threads ({:+}){}",
        report.cycles, report.frames, report.failures, static_cast<double>(report.now.memory) / bytesInMiB,
        static_cast<double>(growth.memory) / bytesInMiB, report.now.handles, growth.handles,
        report.now.threads, growth.threads, report.isMeasured ? "" : "; too few cycles to tell growth");
}

Json ToJson(const SoakReport &report)
{
    const auto growth = report.Growth();
    const auto usage = [](const ProcessUsage &held) {
        return Json{{"memoryBytes", held.memory}, {"handles", held.handles}, {"threads", held.threads}};
    };
    return {{"cycles", report.cycles},         {"frames", report.frames},  {"failures", report.failures},
            {"isMeasured", report.isMeasured}, {"now", usage(report.now)}, {"growth", usage(growth)}};
}

} // namespace gentlctl

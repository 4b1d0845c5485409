#include "gentlctl/stream_run.h"

#include "gentlctl/interrupt.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace gentlctl
{

using namespace GenTL;

StreamRun::StreamRun(Producer &producer, StreamOptions options, StreamHooks hooks)
    : m_producer(producer), m_options(std::move(options)), m_hooks(std::move(hooks))
{
}

StreamTotals StreamRun::Run(const Interrupt &interrupt)
{
    const InterruptWatch watch(interrupt, [this] { End(); });
    if (m_options.duration)
    {
        m_until = Clock::now() + std::chrono::duration_cast<Clock::duration>(*m_options.duration);
    }
    Connect();
    while (!IsOver())
    {
        try
        {
            Stream();
        }
        catch (const DeviceLost &loss)
        {
            Lose(loss);
        }
        catch (const internal::GenTLException &failure)
        {
            Lose(DeviceLost(m_options.device, fmt::format("{} ({})", failure.what(), failure.Code())));
        }
    }
    Disconnect();
    return m_totals;
}

/// Goes on with the device when it is back. A stream that is over has ended its wait itself.
void StreamRun::Lose(const DeviceLost &loss)
{
    if (IsOver())
    {
        return;
    }
    Disconnect();
    if (!m_options.reconnects)
    {
        throw std::runtime_error(
            fmt::format("{}. With --reconnect the stream goes on when it is back", loss.what()));
    }
    m_hooks.tell(loss.what());
    Reconnect();
}

bool StreamRun::IsOver()
{
    const std::lock_guard lock(m_mutex);
    return m_ends || (m_until && Clock::now() >= *m_until) ||
           (m_options.frames != 0 && m_totals.delivered >= m_options.frames);
}

void StreamRun::End()
{
    const std::lock_guard lock(m_mutex);
    m_ends = true;
    m_changed.notify_all();
    if (m_connection)
    {
        m_connection->EndWait();
    }
}

void StreamRun::Connect()
{
    auto connection =
        std::make_unique<StreamConnection>(m_producer, m_options.device, m_options.buffers, m_hooks.prepare);
    // From now on it is this device, also where another one could be opened.
    m_options.device = connection->Entry().id;
    m_period = {};
    m_periodBegan = Clock::now();
    m_underruns = 0;
    {
        const std::lock_guard lock(m_mutex);
        m_connection = std::move(connection);
    }
    m_hooks.tell(fmt::format("{} streams", m_options.device));
}

void StreamRun::Disconnect()
{
    if (m_connection)
    {
        Report();
    }
    std::unique_ptr<StreamConnection> ended;
    {
        const std::lock_guard lock(m_mutex);
        ended.swap(m_connection);
    }
}

void StreamRun::Reconnect()
{
    constexpr std::chrono::milliseconds pause(500);
    m_hooks.tell(fmt::format("Waits until {} is back", m_options.device));
    std::string told;
    while (!IsOver())
    {
        try
        {
            Connect();
            ++m_totals.reconnects;
            return;
        }
        catch (const std::exception &reason)
        {
            if (told != reason.what())
            {
                told = reason.what();
                m_hooks.tell(told);
            }
        }
        std::unique_lock lock(m_mutex);
        m_changed.wait_for(lock, pause, [this] { return m_ends; });
    }
}

void StreamRun::Stream()
{
    // Short waits, so that a report comes.
    constexpr uint64_t longestWait = 250;
    uint64_t silent = 0;
    while (!IsOver())
    {
        const auto wait = std::min(longestWait, m_options.timeoutMs - silent);
        if (auto *const buffer = m_connection->Next(wait))
        {
            silent = 0;
            Count(buffer);
            m_connection->QueueAgain(buffer);
        }
        else if ((silent += wait) >= m_options.timeoutMs)
        {
            throw DeviceLost(m_options.device,
                             fmt::format("no frame came within {} ms", m_options.timeoutMs));
        }
        if (Clock::now() - m_periodBegan >= std::chrono::seconds(1))
        {
            Report();
        }
    }
}

void StreamRun::Count(void *buffer)
{
    const auto incomplete = m_connection->BufferNumber(buffer, BUFFER_INFO_IS_INCOMPLETE);
    m_period.Add({.at = Clock::now().time_since_epoch(),
                  .number = m_connection->BufferNumber(buffer, BUFFER_INFO_FRAMEID),
                  .latency = {},
                  .isIncomplete = incomplete.value_or(0) != 0});
    ++m_totals.delivered;
}

void StreamRun::Report()
{
    const auto underruns = m_connection->LostFrames();
    m_period.SetUnderruns(underruns - std::min(m_underruns, underruns));
    m_underruns = underruns;
    m_totals.incomplete += m_period.Incomplete();
    m_totals.lost += m_period.Lost();
    m_hooks.report(m_options.device, m_period);
    m_period = {};
    m_periodBegan = Clock::now();
}

} // namespace gentlctl

#include "gentlctl/stream_connection.h"

#include "consumer/info_answers.h"
#include "utils/gentl_exception.h"

#include <fmt/format.h>

#include <stdexcept>

namespace gentlctl
{

using namespace GenTL;

StreamConnection::StreamConnection(Producer &producer, const std::string &device, size_t buffers,
                                   const std::function<void(OpenDevice &device)> &prepare)
    : m_calls(producer.Calls()), m_device(producer, device)
{
    prepare(m_device);
    m_remote.emplace(m_device.PortOf("remote"));
    m_handle = m_device.Stream();
    m_stream =
        std::make_unique<RunningStream>(m_calls, m_handle, *m_remote, [buffers](size_t) { return buffers; });
    ListenToErrors();
}

void StreamConnection::ListenToErrors()
{
    const auto take = [this](const FiredEvent &event)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_loss = fmt::format("it reports an error: {} ({})", event.text,
                                 static_cast<int64_t>(event.number.value_or(0)));
        }
        m_stream->EndWait();
    };
    try
    {
        m_errors = std::make_unique<EventListener>(m_calls, m_device.DeviceHandle(), EVENT_ERROR, take,
                                                   [](const std::string &) {});
    }
    catch (const internal::GenTLException &) // NOLINT(bugprone-empty-catch)
    {
        // The calls that fail tell of a loss, too.
    }
}

std::string StreamConnection::Loss()
{
    const std::lock_guard lock(m_mutex);
    return m_loss;
}

std::optional<void *> StreamConnection::Next(uint64_t timeoutMs)
{
    try
    {
        return m_stream->NextBuffer(timeoutMs);
    }
    catch (const internal::GenTLException &failure)
    {
        const auto loss = Loss();
        throw std::runtime_error(loss.empty() ? fmt::format("{} ({})", failure.what(), failure.Code())
                                              : loss);
    }
    catch (const std::runtime_error &)
    {
        return std::nullopt; // no frame in time
    }
}

std::optional<uint64_t> StreamConnection::BufferNumber(void *buffer, BUFFER_INFO_CMD command) const
{
    uint64_t number = 0; // the answers have one byte or eight
    size_t size = sizeof number;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    const auto code = m_calls.TryDSGetBufferInfo(m_handle, buffer, command, &type, &number, &size);
    return code == GC_ERR_SUCCESS ? std::optional(number) : std::nullopt;
}

void StreamConnection::RequireAnswer() const
{
    m_remote->GetInteger("PayloadSize");
}

} // namespace gentlctl

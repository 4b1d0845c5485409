#include "gentlctl/stream_connection.h"

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
        std::make_unique<RunningStream>(producer, m_device, *m_remote, [buffers](size_t) { return buffers; });
}

std::optional<uint64_t> StreamConnection::BufferNumber(void *buffer, BUFFER_INFO_CMD command) const
{
    uint64_t number = 0; // the answers have one byte or eight
    size_t size = sizeof number;
    INFO_DATATYPE type = INFO_DATATYPE_UNKNOWN;
    const auto code = m_calls.TryDSGetBufferInfo(m_handle, buffer, command, &type, &number, &size);
    return code == GC_ERR_SUCCESS ? std::optional(number) : std::nullopt;
}

} // namespace gentlctl

#include "datastream/proxy_buffer.h"

#include "utils/lower_info.h"

#include <utility>

namespace GenTL::internal
{

ProxyBuffer::ProxyBuffer(std::shared_ptr<IGenTLProxy> proxy, DS_HANDLE dataStream, BUFFER_HANDLE handle)
    : ProxyModule(std::move(proxy), handle), m_dataStream(dataStream)
{
    const auto ask = [this](BUFFER_INFO_CMD command)
    {
        return [this, command](INFO_DATATYPE *type, void *buffer, size_t *size)
        { Proxy()->DSGetBufferInfo(m_dataStream, GetLowerHandle(), command, type, buffer, size); };
    };
    m_base = utils::ReadValue<void *>(INFO_DATATYPE_PTR, ask(BUFFER_INFO_BASE));
    m_size = utils::ReadValue<size_t>(INFO_DATATYPE_SIZET, ask(BUFFER_INFO_SIZE));
}

ProxyBuffer::ProxyBuffer(std::shared_ptr<IGenTLProxy> proxy, DS_HANDLE dataStream, BUFFER_HANDLE handle,
                         void *base, size_t size)
    : ProxyModule(std::move(proxy), handle), m_dataStream(dataStream), m_base(base), m_size(size)
{
}

} // namespace GenTL::internal

#pragma once

#include "port/proxy_module.h"

namespace GenTL::internal
{

/// One filled lower buffer, for one pass of the acquisition loop.
///
/// The destructor closes nothing; RequeueBuffer gives the lower buffer back.
class ProxyBuffer final : public ProxyModule
{
public:
    /// Reads base and size of the lower buffer.
    /// @throws GenTLException the lower producer's failure to answer BUFFER_INFO_BASE or BUFFER_INFO_SIZE
    ProxyBuffer(std::shared_ptr<IGenTLProxy> proxy, DS_HANDLE dataStream, BUFFER_HANDLE handle);
    /// Takes base and size as they were when the buffer was announced; null and 0 when they are not known.
    ProxyBuffer(std::shared_ptr<IGenTLProxy> proxy, DS_HANDLE dataStream, BUFFER_HANDLE handle, void *base,
                size_t size);

    ModuleType GetModuleType() const override { return ModuleType::Buffer; }

    /// The lower stream that the buffer belongs to.
    DS_HANDLE DataStream() const { return m_dataStream; }
    void *Base() const { return m_base; }
    /// Bytes of the buffer's whole memory.
    size_t Size() const { return m_size; }
    /// The lower producer, for further queries on this buffer.
    IGenTLProxy &Lower() const { return *Proxy(); }

private:
    DS_HANDLE m_dataStream;
    void *m_base{};
    size_t m_size{};
};

} // namespace GenTL::internal

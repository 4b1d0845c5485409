#pragma once

#include "datastream/i_proxy_datastream.h"
#include "nodemap/nodemap_parser.h"
#include "port/proxy_module.h"
#include "profile/profile.h"
#include "utils/mutex.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace GenTL::internal
{

/// The one lower data stream of a device, with its private buffers and its new-buffer event.
///
/// The lower producer allocates the buffers; they exist while acquisition runs, or with
/// StreamRules::keepsLowerBuffers until the size of a frame changes. With StreamRules::stopAlwaysSucceeds,
/// stop, revoke and destructor only log failures of the lower producer. The acquisition worker owns the
/// object, whose destructor closes the lower stream. WaitForBuffer and RequeueBuffer run on the acquisition
/// thread, StopAcquisition on another thread while the former waits.
class ProxyDataStream final : public ProxyModule, public IProxyDataStream
{
public:
    /// Reads the feature "PayloadSize" of the lower device itself, below all overrides: the bytes of a frame
    /// before processing.
    using DevicePayloadSize = std::function<size_t()>;

    /// Opens the first stream of the lower device.
    /// @param payloadSize asked when the lower stream defines no payload size
    /// @throws std::runtime_error "Failed to get number of data streams" for a device without one
    static std::unique_ptr<ProxyDataStream> Open(std::shared_ptr<IGenTLProxy> proxy, DEV_HANDLE lowerDevice,
                                                 DevicePayloadSize payloadSize,
                                                 const StreamRules &rules = {});

    ProxyDataStream(std::shared_ptr<IGenTLProxy> proxy, DS_HANDLE handle, DevicePayloadSize payloadSize,
                    const StreamRules &rules = {});
    ~ProxyDataStream() override;

    ModuleType GetModuleType() const override { return ModuleType::DataStream; }

    void AnnounceBuffers() override;
    void RevokeBuffers() override;
    void StartAcquisition(uint64_t numToAcquire) override;
    void StopAcquisition() override;
    ProxyBuffer WaitForBuffer(uint64_t timeoutMs) override;
    void RequeueBuffer(const ProxyBuffer &buffer) override;
    size_t GetLowerPayloadSize() override;
    /// None when the lower stream defines no payload size. In bytes.
    std::optional<size_t> GetDefinedPayloadSize();
    std::optional<uint64_t> GetDroppedFrameCount() override;
    /// STREAM_INFO_NUM_CHUNKS_MAX of the lower stream; none when it does not tell.
    std::optional<size_t> GetMaxChunks();

private:
    /// A lower buffer as it was announced.
    struct LowerBuffer
    {
        BUFFER_HANDLE handle = nullptr;
        void *base = nullptr; ///< null when unknown
    };

    void ReadLowerDescription();
    void Close(bool hasEvent) noexcept;
    void CloseWhateverFails() noexcept;
    size_t NumLowerBuffers();
    template <typename Call>
    void CallToStart(std::string_view name, Call call);
    void AllocateBuffers(size_t count) QVR_REQUIRES(m_lowerBuffersMutex);
    void QueueNewBuffer(BUFFER_HANDLE buffer);
    bool QueueKeptBuffers(size_t size) QVR_REQUIRES(m_lowerBuffersMutex);
    void RevokeAll() QVR_REQUIRES(m_lowerBuffersMutex);
    void Revoke(BUFFER_HANDLE buffer);
    void *BaseOf(BUFFER_HANDLE buffer);
    ProxyBuffer TakeLowerBuffer(BUFFER_HANDLE handle);
    std::optional<uint64_t> ReadDroppedFrameCount();
    template <typename T>
    T StreamInfo(STREAM_INFO_CMD command, INFO_DATATYPE type);
    bool DefinesPayloadSize();

    std::unique_ptr<nodemap::NodeMapParser> m_lowerNodeMap;
    DevicePayloadSize m_devicePayloadSize;
    StreamRules m_rules;
    /// A kill may revoke the buffers while the thread, which ends by itself, revokes them too. Held over
    /// calls into the lower producer, which calls no function of this library and so never waits for this
    /// mutex.
    utils::Mutex m_lowerBuffersMutex;
    std::vector<LowerBuffer> m_lowerBuffers QVR_GUARDED_BY(m_lowerBuffersMutex); ///< in order of allocation
    size_t m_lowerBufferSize QVR_GUARDED_BY(m_lowerBuffersMutex) = 0;
    EVENT_HANDLE m_newBufferEvent = nullptr;
};

} // namespace GenTL::internal

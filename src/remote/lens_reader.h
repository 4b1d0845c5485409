#pragma once

#include "genapi/graph_features.h"
#include "utils/mutex.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace GenTL::internal
{

/// What may be done with a device, as it was opened.
enum class DeviceAccess : uint8_t
{
    ReadOnly,
    ReadWrite
};

/// The lens calibration that a device holds in a file. Reading a file writes to the device, so it is read
/// when it is first needed, and kept until something may have changed it.
///
/// Owned by EditedRemote. Any thread may call it: its lock is held while the file is read and while the
/// consumer writes to the device, so that file operations of both take turns.
class LensReader
{
public:
    /// The bytes of the file.
    using File = std::shared_ptr<const std::vector<uint8_t>>;

    /// @param graph of the device's document
    /// @param registers of the device; both must outlive this object
    LensReader(const genapi::NodeGraph &graph, genapi::IRegisterPort &registers, DeviceAccess access);

    /// The device's lens calibration, which can be used. A failure is tried again.
    /// @throws GenTLException why not: GC_ERR_ACCESS_DENIED for a device that is open for reading only,
    /// GC_ERR_BUSY while the consumer has a file open and nothing was read before
    File Get();
    /// Whether there is a lens calibration. A failure counts until the consumer changes something or calls
    /// Get.
    bool IsThere();
    /// Writes for the consumer, and notices what may change the file.
    /// @param write performs the write
    void PassWrite(uint64_t address, size_t size, const std::function<void()> &write);

private:
    void NoticeFileOperation() QVR_REQUIRES(m_lock);
    File Current() QVR_REQUIRES(m_lock);
    File Read() QVR_REQUIRES(m_lock);

    const DeviceAccess m_access;
    utils::Mutex m_lock;
    genapi::GraphFeatures m_features QVR_GUARDED_BY(m_lock);
    File m_file QVR_GUARDED_BY(m_lock);                    ///< null until it was read
    bool m_isKnown QVR_GUARDED_BY(m_lock) = false;         ///< nothing has changed since the last attempt
    bool m_hasConsumerFile QVR_GUARDED_BY(m_lock) = false; ///< the consumer has a file open
};

} // namespace GenTL::internal

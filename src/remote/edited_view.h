#pragma once

#include "genapi/graph_features.h"
#include "remote/edited_description.h"
#include "remote/edited_url.h"
#include "remote/format_choice.h"
#include "remote/i_delivery.h"
#include "remote/register_window.h"
#include "remote/scan3d_features.h"
#include "utils/mutex.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace GenTL::internal
{

class IPort;

/// A device's port as the consumer sees it: the edited description, and the producer's registers that it
/// names. Everything else is the device's.
///
/// Owned by EditedRemote. Any thread may call it: one lock covers the device's features and the producer's
/// registers, also while they read the device. An access outside of the window does not take the lock. What
/// the view refers to must outlive it.
class EditedView
{
public:
    /// @param root of the device's document
    /// @param lowerName the name of the device's document
    /// @param graph of the device's document
    /// @param features of the device itself
    /// @param lower whose ReadRegisters and WriteRegisters reach the device
    EditedView(EditedDescription description, const pugi::xml_node &root, std::string_view lowerName,
               const genapi::NodeGraph &graph, genapi::GraphFeatures &features, IDelivery &delivery,
               IPort &lower);

    /// Whether there is a window. If not, everything is the device's, and so is its URL.
    bool HasWindow() const { return m_description.base != 0; }
    /// Whether the consumer sees depth that the processing calibrates.
    bool HasCalibratedDepth() const { return HasWindow() && m_description.isScan3d; }
    /// Whether an access has a byte in the window.
    bool TouchesWindow(uint64_t address, size_t size) const;
    /// The address of the window.
    uint64_t Base() const { return m_description.base; }

    /// GCReadPort. A request inside the window reads whole registers or a range of the description.
    /// @throws GenTLException null pointers, size 0; GC_ERR_INVALID_ADDRESS for any other request inside the
    /// window; failures of the device
    void ReadPort(uint64_t address, void *buffer, size_t *size);
    /// GCWritePort. Whatever is written, the device's registers are read again afterwards.
    /// @throws as ReadPort; GC_ERR_ACCESS_DENIED for what is read-only, and for formats while acquisition
    /// runs
    void WritePort(uint64_t address, const void *buffer, size_t *size);
    /// Call it before a write outside of the window: it looks at the selected component, which the write may
    /// change.
    void NoticeWrite(uint64_t address, size_t size);
    /// GCGetPortURL.
    void GetPortUrl(char *text, size_t *size) const;
    /// GCGetPortURLInfo of the one URL.
    /// @throws as EditedUrl::Answer; GC_ERR_INVALID_INDEX
    void GetPortUrlInfo(uint32_t index, URL_INFO_CMD command, INFO_DATATYPE *type, void *buffer,
                        size_t *size) const;

    /// What the device says of its frames.
    /// @param streamPayloadSize what the lower stream says, if it defines it
    /// @throws GenTLException the device's format, width or height cannot be read
    DeviceState ReadDeviceState(std::optional<uint64_t> streamPayloadSize);
    /// As IDelivery::Lens.
    std::shared_ptr<const std::vector<uint8_t>> Lens();
    /// How the device encodes its raw depth now.
    Scan3dInfo ReadEncoding();
    /// False while a 3D device has an output mode of its own.
    bool SendsRawDepth();

private:
    void AddRegisters();
    void NoteImages();
    void WriteLiteral(const EditedRegister &entry, int64_t value);
    int64_t ReadNumber(const EditedRegister &entry);
    void WriteNumber(const EditedRegister &entry, int64_t value);

    mutable utils::RecursiveMutex m_lock; ///< recursive: the payload size asks the device's state
    const EditedDescription m_description;
    const EditedUrl m_url;
    genapi::GraphFeatures &m_features;
    IDelivery &m_delivery;
    IPort &m_lower;
    FormatChoice m_formats;
    Scan3dFeatures m_scan3d;
    RegisterWindow m_window;
};

} // namespace GenTL::internal

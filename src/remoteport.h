#pragma once

#include "nodemap/nodemap_parser.h"
#include "port/port_overrides.h"
#include "port/proxy_module.h"
#include "processing/i_processor.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace GenTL::internal
{

/// The remote device port of an opened device: the device's own description, byte for byte, and the
/// registers behind it.
///
/// Made and owned by Device, which closes the lower handle; the RemotePort registry and the stream share it.
/// The description is fetched and read once, in the constructor, and constant afterwards. ReadPort and
/// WritePort are what the consumer sees: the features of a better camera, which an override answers for, and
/// the description out of memory. ReadRegisters and WriteRegisters are the device itself.
///
/// Without a lock: which component is selected, and the availability of pixel formats, follow the consumer's
/// writes on the consumer's thread.
class RemotePort final : public ProxyModule
{
public:
    /// @throws GenTLException "Parser not initialized" when the port's URL names no address and size;
    /// GC_ERR_IO for a bad archive; whatever the lower producer fails with
    RemotePort(const std::shared_ptr<IGenTLProxy> &proxy, PORT_HANDLE handle,
               std::shared_ptr<IProcessor> processor);

    void ReadPort(uint64_t iAddress, void *pBuffer, size_t *piSize) override;
    void WritePort(uint64_t iAddress, const void *pBuffer, size_t *piSize) override;
    ModuleType GetModuleType() const override { return ModuleType::RemoteDevice; }

    /// A node of the device's description.
    /// @throws GenTLException "Parser not initialized"; "Did not find node {}!"
    const nodemap::NodeInfo &FindNode(const std::string &name) const;
    std::optional<nodemap::NodeInfo> TryFindNode(const std::string &name) const;

private:
    using NodeInfo = nodemap::NodeInfo;
    using ReadCallback = std::function<bool(void *buffer, size_t *size)>;
    using WriteCallback = std::function<bool(const void *buffer, size_t *size)>;

    void LoadDescription();
    void ReadFromDevice(uint64_t address, void *buffer, size_t size);
    void WriteToDevice(uint64_t address, const void *buffer, size_t size);
    void ReadGap(uint64_t address, uint8_t *buffer, size_t size);

    void AddReadCallback(const NodeInfo &node, ReadCallback read);
    void AddWriteCallback(const NodeInfo &node, WriteCallback write);
    void AddCallbacks(const NodeInfo &node, ReadCallback read, WriteCallback write);
    void InjectOverrides();
    void OverridePayloadSize();
    void OverridePixelFormat();
    void OverrideComponents();
    void OverrideAvailability();
    void VisitComponent(const NodeInfo &selector, const std::string &name, const std::string &original);
    void UpdatePixelFormatEntries(const NodeInfo &pixelFormat, Component component);
    bool WritePixelFormat(const NodeInfo &node, nodemap::Endianess endianess, const void *buffer,
                          size_t *size);
    bool WriteComponentSelector(const NodeInfo &node, const void *buffer, size_t *size);
    bool ReadAvailability(const NodeInfo &node, void *buffer, size_t *size);

    bool IsUsable(const NodeInfo &node);
    void OverrideScan3d();
    void OverrideUserSetLoad();
    void EnableScan3dOutputModes(const NodeInfo &node);
    void EnableCoordinateSelectorEntries();
    void InjectScan3dOverrides();
    void ForceBits(const NodeInfo &enumeration, std::initializer_list<std::string_view> entries,
                   bool inTheGridOnly);
    bool ReadOutputMode(nodemap::Endianess endianess, void *buffer, const size_t *size);
    bool WriteOutputMode(nodemap::Endianess endianess, const void *buffer, size_t *size);
    bool ReadCoordinate(nodemap::Endianess endianess, void *buffer, const size_t *size);
    bool WriteCoordinate(nodemap::Endianess endianess, const void *buffer, const size_t *size);
    void OverrideConstant(const std::string &feature, int64_t constant);
    void OverrideAxis(const std::string &feature, bool isMaximum);
    void OverrideInvalidDataFlag();
    void AddCalibratedRead(const NodeInfo &node, std::function<void(void *buffer, size_t size)> store);

    void ReadScan3dInfo();
    void ReadOutputModes();
    void ReadLensCalibration();
    bool IsReadable(const NodeInfo &node);
    std::optional<double> ReadOptionalFloat(const std::string &name);
    tarn::common::Metadata ReadMetadata();
    std::pair<uint32_t, uint32_t> ReadFactors(const std::string &prefix);

    const nodemap::NodeMapParser &Parser() const;
    tarn::common::Size ImageSize();
    uint64_t DevicePayloadSize();

    std::shared_ptr<IProcessor> m_processor;
    std::unique_ptr<nodemap::NodeMapParser> m_parser; ///< null when the URL holds no address
    std::vector<uint8_t> m_description;               ///< as read, compressed or not
    std::vector<uint8_t> m_unzippedDescription;       ///< empty for a plain document
    uint64_t m_descriptionAddress = 0;
    PortOverrides m_overrides;
    Component m_currentComponent = Component::Image2D;
    /// Register address to the bits of the formats that are available after processing, by component.
    std::unordered_map<uint64_t, std::unordered_map<Component, uint64_t>> m_pixelFormatMasks;
    /// The modes that the device has, with its values for them.
    std::vector<std::pair<Scan3dOutputMode, uint32_t>> m_outputModes;
    /// The coordinates that the device has, with its values for them.
    std::vector<std::pair<Scan3dCoordinate, int32_t>> m_coordinates;
    Scan3dCoordinate m_currentCoordinate = Scan3dCoordinate::CoordinateA;
};

/// Where a port's URL says that the description is: local:///name;address;size?query, numbers in base 16.
struct DescriptionRange
{
    uint64_t address = 0;
    uint64_t size = 0;
};

/// The range in a URL, none when the URL has no ';'. A URL with one ';' gives the same number for both.
/// @throws std::invalid_argument, std::out_of_range when a field is no number of 64 bits
std::optional<DescriptionRange> ParseDescriptionUrl(std::string_view url);

} // namespace GenTL::internal

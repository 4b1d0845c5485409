#include "remoteport.h"

#include "nodemap/node_access.h"
#include "remote/image_geometry.h"
#include "remote/node_callbacks.h"
#include "remote/scan3d_reader.h"
#include "utils/checks.h"
#include "utils/log.h"

#include <exception>
#include <utility>

namespace GenTL::internal
{

RemotePort::RemotePort(const std::shared_ptr<IGenTLProxy> &proxy, PORT_HANDLE handle,
                       std::shared_ptr<IProcessor> processor)
    : ProxyModule(proxy, handle), m_processor(std::move(processor)), m_description(*this),
      m_features(*this, m_description.Parser()), m_formats(m_features, *m_processor, m_overrides),
      m_scan3dModes(m_features, *m_processor, m_overrides,
                    [this] { m_formats.UpdatePixelFormatEntries(Component::Image3D); }),
      m_scan3dValues(m_features, *m_processor, m_overrides,
                     [this] { return m_scan3dModes.CurrentCoordinate(); })
{
    m_processor->SetImageSizeCallback([this] { return ReadImageSize(m_features); });
    m_processor->SetPayloadSizeCallback([this]
                                        { return nodemap::ReadUnsigned(*this, FindNode("PayloadSize")); });
    // Before the overrides: their set-up asks the processor, which by then must know whether this is a 3D
    // device. A document that is not valid XML is skipped here; InjectOverrides fails for it.
    const auto *parser = m_description.Parser();
    if (parser == nullptr || parser->IsValid())
    {
        ReadScan3dInfo();
    }
    InjectOverrides();
}

void RemotePort::ReadPort(uint64_t iAddress, void *pBuffer, size_t *piSize)
{
    utils::CheckNotNull({{"piSize", piSize}, {"pBuffer", pBuffer}});
    utils::CheckNotZero("*piSize", *piSize);
    const auto readDevice = [this](uint64_t address, void *buffer, size_t size)
    { ReadFromDevice(address, buffer, size); };
    m_overrides.Read(iAddress, pBuffer, *piSize,
                     [&](uint64_t address, void *buffer, size_t size)
                     { m_description.Read(address, static_cast<uint8_t *>(buffer), size, readDevice); });
}

void RemotePort::WritePort(uint64_t iAddress, const void *pBuffer, size_t *piSize)
{
    utils::CheckNotNull({{"piSize", piSize}, {"pBuffer", pBuffer}});
    utils::CheckNotZero("*piSize", *piSize);
    m_overrides.Write(iAddress, pBuffer, *piSize,
                      [this](uint64_t address, const void *buffer, size_t size)
                      { WriteRegisters(address, buffer, &size); });
}

void RemotePort::ReadFromDevice(uint64_t address, void *buffer, size_t size)
{
    if (size != 0)
    {
        ReadRegisters(address, buffer, &size);
    }
}

const nodemap::NodeInfo &RemotePort::FindNode(const std::string &name) const
{
    return m_features.Find(name);
}

std::optional<nodemap::NodeInfo> RemotePort::TryFindNode(const std::string &name) const
{
    return m_features.Parser().TryFindNode(name);
}

void RemotePort::ReadScan3dInfo()
{
    m_processor->SetScan3dInfo(ReadScan3dValues(m_features));
    if (auto modes = ReadOutputModes(m_features))
    {
        m_scan3dModes.SetValues(std::move(*modes));
    }
    ReadLensCalibration();
    m_processor->SetMetadata(ReadMetadata(m_features));
    m_processor->SetMetadataCallback([this] { return ReadMetadata(m_features); });
}

void RemotePort::ReadLensCalibration()
{
    try
    {
        m_processor->SetLensCalibrationData(internal::ReadLensCalibration(m_features));
    }
    catch (const std::exception &exception)
    {
        // Ordinary: most devices have no lens calibration.
        QVR_LOG_ERROR_FOR("RemotePort::ReadScan3dInfo", "{}", exception.what());
    }
}

void RemotePort::InjectOverrides()
{
    m_formats.Install();
    m_scan3dModes.Install();
    m_scan3dValues.InjectScan3dOverrides();
    m_formats.InstallAvailability();
    OverrideUserSetLoad();
}

void RemotePort::OverrideUserSetLoad()
{
    if (const auto *node = m_features.TryFind("UserSetLoad"); HasRegister(node))
    {
        AddWriteCallback(m_overrides, *node,
                         [this, address = node->Address](const void *buffer, size_t *size)
                         {
                             WriteRegisters(address, buffer, size);
                             ReadScan3dInfo();
                             return true;
                         });
    }
}

} // namespace GenTL::internal

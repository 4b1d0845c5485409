#include "remote/overridden_view.h"

#include "nodemap/node_access.h"
#include "remote/image_geometry.h"
#include "remote/node_callbacks.h"
#include "remote/scan3d_reader.h"
#include "utils/log.h"

#include <exception>
#include <utility>

namespace GenTL::internal
{

OverriddenView::OverriddenView(ProxyModule &port, std::shared_ptr<IProcessor> processor)
    : m_port(port), m_processor(std::move(processor)), m_description(port),
      m_features(port, m_description.Parser()), m_formats(m_features, *m_processor, m_overrides),
      m_scan3dModes(m_features, *m_processor, m_overrides,
                    [this] { m_formats.UpdatePixelFormatEntries(Component::Image3D); }),
      m_scan3dValues(m_features, *m_processor, m_overrides,
                     [this] { return m_scan3dModes.CurrentCoordinate(); })
{
    m_processor->SetImageSizeCallback([this] { return ReadImageSize(m_features); });
    m_processor->SetPayloadSizeCallback(
        [this] { return nodemap::ReadUnsigned(m_port, m_features.Find("PayloadSize")); });
    // Before the overrides: their set-up asks the processor, which by then must know whether this is a 3D
    // device. A document that is not valid XML is skipped here; InjectOverrides fails for it.
    const auto *parser = m_description.Parser();
    if (parser == nullptr || parser->IsValid())
    {
        ReadScan3dInfo();
    }
    InjectOverrides();
}

void OverriddenView::Read(uint64_t address, void *buffer, size_t size)
{
    const auto readDevice = [this](uint64_t gap, void *bytes, size_t length)
    { ReadFromDevice(gap, bytes, length); };
    m_overrides.Read(address, buffer, size,
                     [&](uint64_t gap, void *bytes, size_t length)
                     { m_description.Read(gap, static_cast<uint8_t *>(bytes), length, readDevice); });
}

void OverriddenView::Write(uint64_t address, const void *buffer, size_t size)
{
    m_overrides.Write(address, buffer, size,
                      [this](uint64_t gap, const void *bytes, size_t length)
                      { m_port.WriteRegisters(gap, bytes, &length); });
}

void OverriddenView::ReadFromDevice(uint64_t address, void *buffer, size_t size)
{
    if (size != 0)
    {
        m_port.ReadRegisters(address, buffer, &size);
    }
}

void OverriddenView::GetPortURL(char *sURL, size_t *piSize)
{
    m_port.ProxyModule::GetPortURL(sURL, piSize);
}

void OverriddenView::GetNumPortURLs(uint32_t *piNumURLs)
{
    m_port.ProxyModule::GetNumPortURLs(piNumURLs);
}

void OverriddenView::GetPortURLInfo(uint32_t iURLIndex, URL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                    void *pBuffer, size_t *piSize)
{
    m_port.ProxyModule::GetPortURLInfo(iURLIndex, iInfoCmd, piType, pBuffer, piSize);
}

void OverriddenView::ReadScan3dInfo()
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

void OverriddenView::ReadLensCalibration()
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

void OverriddenView::InjectOverrides()
{
    m_formats.Install();
    m_scan3dModes.Install();
    m_scan3dValues.InjectScan3dOverrides();
    m_formats.InstallAvailability();
    OverrideUserSetLoad();
}

void OverriddenView::OverrideUserSetLoad()
{
    if (const auto *node = m_features.TryFind("UserSetLoad"); HasRegister(node))
    {
        AddWriteCallback(m_overrides, *node,
                         [this, address = node->Address](const void *buffer, size_t *size)
                         {
                             m_port.WriteRegisters(address, buffer, size);
                             ReadScan3dInfo();
                             return true;
                         });
    }
}

} // namespace GenTL::internal

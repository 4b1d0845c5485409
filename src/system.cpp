#include "system.h"

#include "instance_manager.h"
#include "interface.h"
#include "modules/system_features.h"
#include "modules/transport_types.h"
#include "nodemap/descriptions.h"
#include "utils/checks.h"
#include "utils/gentl_exception.h"
#include "utils/lower_info.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace GenTL::internal
{

namespace
{

void CheckCallbackSize(size_t size)
{
    if (size != sizeof(uint32_t))
    {
        throw std::runtime_error("Unexpected data size!");
    }
}

/// @throws std::runtime_error for a register that does not exist or is too small
void WriteRegister(nodemap::NodeMap &nodeMap, uint64_t address, std::string_view bytes)
{
    const auto rows = SystemFeatures();
    const auto row = std::ranges::find(rows, address, &nodemap::RegisterDefinition::Address);
    if (row == rows.end())
    {
        throw std::runtime_error(fmt::format("Could not find register with address 0x{:x}", address));
    }
    if (row->Size < bytes.size())
    {
        throw std::runtime_error(
            fmt::format("Register with address 0x{:x} is too small! [Size: {} | Required-Size: {}]", address,
                        row->Size, bytes.size()));
    }
    nodeMap.GetRegisterMap().WriteInternal(address, bytes.data(), bytes.size());
}

std::string_view BytesOf(const uint32_t &number)
{
    return {reinterpret_cast<const char *>(&number), sizeof number};
}

/// The local description gives the byte order of the values that are read through, so the lower one must
/// agree.
/// @throws std::runtime_error "Endianness mismatch detected! [Node: '{}']"
void CheckByteOrder(const nodemap::NodeMapParser &local, const nodemap::NodeMapParser &lower)
{
    for (const std::string feature : readThroughFeatures)
    {
        const auto *node = lower.TryFindFeatureNode(feature);
        if (node != nullptr && node->Endianess != local.FindFeatureNode(feature).Endianess)
        {
            throw std::runtime_error(fmt::format("Endianness mismatch detected! [Node: '{}']", feature));
        }
    }
}

} // namespace

System::System(ILibrary &library, ISystemInformationProvider *infoProvider,
               std::shared_ptr<IProxySystem> proxySystem, const Assembly &assembly)
    : m_library(library), m_assembly(assembly), m_infoProvider(infoProvider),
      m_localDescription(std::make_unique<nodemap::NodeMapParser>(assembly.systemDescription()))
{
    if (!proxySystem)
    {
        throw std::runtime_error("proxySystem argument is invalid!");
    }
    m_proxySystem = std::move(proxySystem);
    m_lowerXml = m_proxySystem->GetXml();
    m_lowerDescription = std::make_unique<nodemap::NodeMapParser>(m_lowerXml);
    if (!m_lowerDescription->IsValid())
    {
        throw std::runtime_error("Invalid proxy system XML file content!");
    }
    m_nodeMap = std::make_shared<nodemap::NodeMap>("TLPort", QueryText(TL_INFO_TLTYPE), ModuleType::System,
                                                   m_assembly.systemDescription(), this, SystemFeatures(),
                                                   m_library.GetProfile().identity);
    FillRegisters();
    CheckByteOrder(*m_localDescription, *m_lowerDescription);
}

System::~System() = default;

void System::TLGetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize)
{
    m_infoProvider->GetInfo(iInfoCmd, piType, pBuffer, piSize);
}

void System::TLUpdateInterfaceList(bool8_t *pbChanged, uint64_t iTimeout)
{
    m_proxySystem->TLUpdateInterfaceList(pbChanged, iTimeout);
}

void System::TLGetNumInterfaces(uint32_t *piNumIfaces)
{
    m_proxySystem->TLGetNumInterfaces(piNumIfaces);
}

void System::TLGetInterfaceID(uint32_t iIndex, char *sID, size_t *piSize)
{
    m_proxySystem->TLGetInterfaceID(iIndex, sID, piSize);
}

void System::TLGetInterfaceInfo(const char *sIfaceID, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                                void *pBuffer, size_t *piSize)
{
    m_proxySystem->TLGetInterfaceInfo(sIfaceID, iInfoCmd, piType, pBuffer, piSize);
}

void System::TLOpenInterface(const char *sIfaceID, IF_HANDLE *phIface)
{
    utils::CheckNotNull("phIface", phIface);
    IF_HANDLE lowerHandle = nullptr;
    m_proxySystem->TLOpenInterface(sIfaceID, &lowerHandle);
    auto &manager = m_library.GetInstanceManager();
    const auto &profile = m_library.GetProfile();
    const auto interface =
        std::make_shared<Interface>(&manager, m_proxySystem->GetProxy(), lowerHandle, m_handle,
                                    !profile.admission.allModels, profile, m_assembly);
    const auto handle = manager.interfaces.Add(interface);
    *phIface = handle;
    interface->SetHandle(handle);
}

void System::RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent)
{
    m_proxySystem->RegisterEvent(iEventID, phEvent);
}

void System::UnregisterEvent(EVENT_TYPE iEventID)
{
    m_proxySystem->UnregisterEvent(iEventID);
}

void System::ReadThrough(const std::string &feature, std::span<uint8_t> data)
{
    size_t size = data.size();
    m_proxySystem->ReadPort(LowerFeature(feature, size).Address, data.data(), &size);
}

void System::WriteThrough(const std::string &feature, std::span<const uint8_t> data)
{
    CheckCallbackSize(data.size());
    size_t size = data.size();
    m_proxySystem->WritePort(LowerFeature(feature, size).Address, data.data(), &size);
}

void System::WriteInterfaceUpdateList(std::span<uint8_t> data)
{
    CheckCallbackSize(data.size());
    uint32_t value = 0;
    std::memcpy(&value, data.data(), sizeof value);
    if (value != 1)
    {
        return;
    }
    uint32_t timeout = 0;
    m_nodeMap->GetRegisterMap().Read(system_registers::interfaceUpdateTimeout, &timeout, sizeof timeout);
    m_proxySystem->TLUpdateInterfaceList(nullptr, timeout);
    std::ranges::fill(data, uint8_t{0});
}

uint32_t System::QueryNumber(TL_INFO_CMD command)
{
    return utils::ReadValue<uint32_t>(INFO_DATATYPE_UINT32,
                                      [&](INFO_DATATYPE *type, void *buffer, size_t *size)
                                      { m_infoProvider->GetInfo(command, type, buffer, size); });
}

std::string System::QueryText(TL_INFO_CMD command)
{
    return utils::ReadText([&](INFO_DATATYPE *type, void *buffer, size_t *size)
                           { m_infoProvider->GetInfo(command, type, buffer, size); });
}

void System::FillRegisters()
{
    using namespace system_registers;
    const auto writeNumber = [this](uint64_t address, uint32_t number)
    { WriteRegister(*m_nodeMap, address, BytesOf(number)); };
    const auto writeText = [this](uint64_t address, const std::string &text)
    { WriteRegister(*m_nodeMap, address, text); };
    writeNumber(genTLSFNCVersionMajor, 1);
    writeNumber(genTLSFNCVersionMinor, 1);
    writeNumber(genTLVersionMajor, QueryNumber(TL_INFO_GENTL_VER_MAJOR));
    writeNumber(genTLVersionMinor, QueryNumber(TL_INFO_GENTL_VER_MINOR));
    writeText(tlDisplayName, QueryText(TL_INFO_DISPLAYNAME));
    writeText(tlFileName, std::filesystem::path(QueryText(TL_INFO_PATHNAME)).filename().string());
    writeText(tlId, QueryText(TL_INFO_ID));
    writeText(tlModelName, QueryText(TL_INFO_MODEL));
    writeText(tlPath, QueryText(TL_INFO_PATHNAME));
    writeNumber(tlType,
                TransportTypeEntry(QueryText(TL_INFO_TLTYPE), m_library.GetProfile().admission.allTypes));
    writeText(tlVendorName, QueryText(TL_INFO_VENDOR));
    writeText(tlVersion, QueryText(TL_INFO_VERSION));
}

const nodemap::NodeInfo &System::LowerFeature(const std::string &feature, size_t size) const
{
    const auto &node = m_lowerDescription->FindFeatureNode(feature);
    if (node.Length != size)
    {
        throw std::runtime_error(fmt::format("Proxy system node '{}' has unexpected length!", feature));
    }
    return node;
}

} // namespace GenTL::internal

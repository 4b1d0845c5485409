#pragma once

#include "assembly.h"
#include "i_proxy_system.h"
#include "nodemap/node_map.h"
#include "nodemap/nodemap_parser.h"
#include "port/i_event_source.h"
#include "port/i_library.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace GenTL::internal
{

/// The object behind a TL_HANDLE: the producer as a whole.
///
/// Its node map is local and describes this producer. Only the features that choose and describe an interface
/// read through to the lower system module. The lists of interfaces come from the lower producer.
///
/// Made by TLOpen, owned by the System registry; interfaces and devices opened through it do not depend on
/// it. Has no lock: constant after SetHandle. Register access is serialised by the node map, callbacks
/// included, so a long interface update holds up every other access to this module's features.
class System final : public IEventSource
{
public:
    /// @throws std::runtime_error when the lower module's description cannot be used, or when the TLType
    /// feature has no entry for its transport layer type
    System(ILibrary &library, ISystemInformationProvider *infoProvider,
           std::shared_ptr<IProxySystem> proxySystem, const Assembly &assembly = {});
    ~System() override;

    void SetHandle(TL_HANDLE handle) { m_handle = handle; }
    const std::shared_ptr<nodemap::NodeMap> &GetNodeMap() const { return m_nodeMap; }

    void TLGetInfo(TL_INFO_CMD iInfoCmd, INFO_DATATYPE *piType, void *pBuffer, size_t *piSize);
    void TLUpdateInterfaceList(bool8_t *pbChanged, uint64_t iTimeout);
    void TLGetNumInterfaces(uint32_t *piNumIfaces);
    void TLGetInterfaceID(uint32_t iIndex, char *sID, size_t *piSize);
    void TLGetInterfaceInfo(const char *sIfaceID, INTERFACE_INFO_CMD iInfoCmd, INFO_DATATYPE *piType,
                            void *pBuffer, size_t *piSize);
    void TLOpenInterface(const char *sIfaceID, IF_HANDLE *phIface);

    void RegisterEvent(EVENT_TYPE iEventID, EVENT_HANDLE *phEvent) override;
    void UnregisterEvent(EVENT_TYPE iEventID) override;

    // Called by the register callbacks.

    /// Reads the lower module's feature of this name.
    /// @throws std::runtime_error when the lower module has no such feature, or one of another length
    void ReadThrough(const std::string &feature, std::span<uint8_t> data);
    void WriteThrough(const std::string &feature, std::span<const uint8_t> data);
    /// Runs the command when the value is 1, and stores 0, so that the command reads back as done.
    void WriteInterfaceUpdateList(std::span<uint8_t> data);

private:
    uint32_t QueryNumber(TL_INFO_CMD command);
    std::string QueryText(TL_INFO_CMD command);
    void FillRegisters();
    const nodemap::NodeInfo &LowerFeature(const std::string &feature, size_t size) const;

    ILibrary &m_library;
    Assembly m_assembly;
    ISystemInformationProvider *m_infoProvider;
    TL_HANDLE m_handle = nullptr;
    // The node map is last, so that it is destroyed before the objects that its callbacks use.
    std::unique_ptr<nodemap::NodeMapParser> m_localDescription;
    std::shared_ptr<IProxySystem> m_proxySystem;
    std::string m_lowerXml;
    std::unique_ptr<nodemap::NodeMapParser> m_lowerDescription;
    std::shared_ptr<nodemap::NodeMap> m_nodeMap;
};

} // namespace GenTL::internal
